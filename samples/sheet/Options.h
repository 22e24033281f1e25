#pragma once

#include <string>

#include <I18nResource.h>

enum class Command { write, read, copy, paste };

/// The parsed command line.
struct Options {
    Command command = Command::paste;
    std::wstring csvFile;                                  ///< for write and copy
    std::wstring workbook;                                 ///< for write and read: the file name
    OrvexClipboard::FormatXML4Spdsheet::Reading reading =  ///< for read and paste
        OrvexClipboard::FormatXML4Spdsheet::Reading::asSpreadsheets;
};

/// Parses the command line.
/// @throws Failure with kUsageError if the command line is invalid.
Options parseOptions(int argc, wchar_t** argv);

extern const wchar_t* const kUsage;
