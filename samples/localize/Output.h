#pragma once

#include <string>

/// Prints text as UTF-8.
void print(const std::wstring& text);
/// Prints bytes as they are.
void printBytes(const std::string& bytes);
/// Prints a line of complaint on the standard error stream.
void printError(const std::wstring& message);
/// Makes the standard streams carry bytes unchanged, UTF-8 on a console.
void useUtf8();
