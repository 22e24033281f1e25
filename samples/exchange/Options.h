#pragma once

#include <string>

enum class Verb { copy, paste, list, show, save, watch };
enum class Kind { text, code, rtf, csv, xml, portfolio };

/// The command line.
struct Options {
    Verb verb = Verb::list;
    Kind kind = Kind::text;  ///< of copy and paste
    std::wstring argument;   ///< of copy: the text, the code or the file's name; of save: the file
    std::wstring format;     ///< of show and save: name or number
    bool all = false;        ///< --all, of show
    bool json = false;       ///< --json, of list and show
    std::wstring type = L"S";  ///< --type, of copy code: one character
};

/// Reads the command line.
/// @throws Failure with kUsageError when it is wrong.
Options parseOptions(int argc, wchar_t** argv);

extern const wchar_t* const kUsage;
