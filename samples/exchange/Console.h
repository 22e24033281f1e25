#pragma once

#include <cstdio>
#include <string>

/// Sets standard output and standard error to binary mode, so that line endings do not change. Call
/// this function before the first output.
void useBinaryStreams();

/// Prints text. A file or a pipe receives UTF-8. A console shows all characters, regardless of its
/// output code page.
void print(FILE* stream, const std::wstring& text);

/// Prints UTF-8 text. A file or a pipe receives the bytes unchanged. On a console, malformed
/// sequences are shown as U+FFFD.
void printUtf8(FILE* stream, const std::string& utf8);

/// Prints pasted text to standard output, followed by a line feed if the text does not end in a
/// line feed.
void printPasted(const std::wstring& text);

/// Returns a string such as "1 instrument" or "2 instruments".
std::wstring counted(std::size_t count, const std::wstring& noun);
