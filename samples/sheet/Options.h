#pragma once

#include <string>

enum class Verb { write, read, copy, paste };

/// What the command line asks for.
struct Options {
    Verb verb = Verb::paste;
    std::wstring csvFile;   ///< of write and copy
    std::wstring workbook;  ///< of write and read: the file's name
};

/// Reads the command line.
/// @throws Failure with kUsageError when it makes no sense.
Options parseOptions(int argc, wchar_t** argv);

extern const wchar_t* const kUsage;
