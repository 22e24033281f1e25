#pragma once

#include <string>

/// Prints text as UTF-8.
void print(const std::wstring& text);
/// Prints bytes unchanged.
void printBytes(const std::string& bytes);
/// Prints an error message on the standard error stream.
void printError(const std::wstring& message);
/// Makes the standard streams pass bytes unchanged, and the console show UTF-8.
void useUtf8();
