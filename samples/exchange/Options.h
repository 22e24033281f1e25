#pragma once

#include <string>

enum class Verb { copy, paste, list, show, save, watch };
enum class Kind { text, code, rtf, csv, xml, portfolio };

/// The command line.
struct Options {
    Verb verb = Verb::list;
    Kind kind = Kind::text;    ///< for copy and paste
    std::wstring argument;     ///< for copy: text, code or name of the file; for save: the file
    std::wstring format;       ///< for show and save: name or number
    bool all = false;          ///< --all, for show
    bool json = false;         ///< --json, for list and show
    std::wstring type = L"S";  ///< --type, for copy code: one character
};

/// Reads the command line.
/// @throws Failure with kUsageError when it is wrong.
Options parseOptions(int argc, wchar_t** argv);

extern const wchar_t* const kUsage;
