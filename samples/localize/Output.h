#pragma once

#include <string>

/// Prints text in UTF-8.
void print(const std::wstring& text);
/// Prints bytes unchanged.
void printBytes(const std::string& bytes);
/// Prints an error message to standard error.
void printError(const std::wstring& message);
/// Sets the output code page of the console to UTF-8, and the output streams to binary mode.
void useUtf8();
