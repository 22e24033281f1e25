#pragma once

#include <string>

enum class Command { copy, paste, list, show, save, watch };
enum class Kind { text, code, rtf, csv, xml, portfolio };

/// The parsed command line.
struct Options {
    Command command = Command::list;
    Kind kind = Kind::text;    ///< for copy and paste
    std::wstring argument;     ///< for copy: text, code or a path; for save: a path
    std::wstring format;       ///< for show and save: name or number of the format
    bool all = false;          ///< --all, for show
    bool json = false;         ///< --json, for list and show
    std::wstring type = L"S";  ///< --type, for "copy code": one character
};

/// Parses the command line.
/// @throws Failure with kUsageError if the command line is invalid.
Options parseOptions(int argc, wchar_t** argv);

extern const wchar_t* const kUsage;
