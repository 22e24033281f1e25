#pragma once

#include <cstdio>
#include <string>

/// Prints text in UTF-8, without changing line endings.
void print(FILE* stream, const std::wstring& text);

/// Prints pasted text to standard output, followed by a line feed if the text does not end in a
/// line feed.
void printPasted(const std::wstring& text);

/// Returns a string such as "1 instrument" or "2 instruments".
std::wstring counted(std::size_t count, const std::wstring& noun);
