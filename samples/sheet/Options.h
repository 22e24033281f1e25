#pragma once

#include <string>

#include <I18nResource.h>

enum class Verb { write, read, copy, paste };

/// The command line.
struct Options {
    Verb verb = Verb::paste;
    std::wstring csvFile;                                  ///< of write and copy
    std::wstring workbook;                                 ///< of write and read: the file's name
    OrvexClipboard::FormatXML4Spdsheet::Reading reading =  ///< of read and paste
        OrvexClipboard::FormatXML4Spdsheet::Reading::asSpreadsheets;
};

/// Reads the command line.
/// @throws Failure with kUsageError when it is wrong.
Options parseOptions(int argc, wchar_t** argv);

extern const wchar_t* const kUsage;
