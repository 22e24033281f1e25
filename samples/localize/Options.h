#pragma once

#include <optional>
#include <string>
#include <vector>

/// The kind of data that the program prints.
enum class Subject { kStrings, kHtml, kXml, kIcon, kMenu, kSettings };

/// The parsed command line.
struct Options {
    Subject subject = Subject::kStrings;
    std::wstring module;                         ///< file name or path; may be empty for kSettings
    std::optional<std::wstring> culture;         ///< --culture
    std::optional<std::wstring> defaultCulture;  ///< --default
    std::optional<unsigned> id;                  ///< resource id; if not set, prints all strings
    std::optional<std::wstring> node;            ///< --node: the element whose value is printed
    std::vector<std::wstring> inserts;           ///< --format: values for %1, %2 ...
    bool formatted = false;                      ///< --format was given
};

/// Parses the command line. If the command line is invalid, returns std::nullopt and stores the
/// reason in `error`.
std::optional<Options> parseOptions(int argc, wchar_t** argv, std::wstring& error);

extern const wchar_t* const kUsage;
