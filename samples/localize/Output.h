#pragma once

#include <string>

/// Prints text to standard output.
void print(const std::wstring& text);
/// Prints an error message to standard error.
void printError(const std::wstring& message);
