#pragma once

#include <cstdio>
#include <string>

/// Prints in UTF-8 with unchanged line ends.
void print(FILE* stream, const std::wstring& text);

/// Prints pasted text on standard output and ends its last line.
void printPasted(const std::wstring& text);

/// "1 instrument", "2 instruments".
std::wstring counted(std::size_t count, const std::wstring& noun);
