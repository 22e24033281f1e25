#pragma once

#include <optional>
#include <string>
#include <vector>

/// The part of the module that is printed.
enum class Subject { kStrings, kHtml, kXml, kIcon, kMenu, kSettings };

/// The command line.
struct Options {
    Subject subject = Subject::kStrings;
    std::wstring module;                         ///< empty for kSettings only
    std::optional<std::wstring> culture;         ///< --culture
    std::optional<std::wstring> defaultCulture;  ///< --default
    std::optional<unsigned> id;  ///< of the string or resource; without it all strings are printed
    std::optional<std::wstring> node;   ///< --node: the localized value of this element
    std::vector<std::wstring> inserts;  ///< --format: the values of %1, %2 ...
    bool formatted = false;             ///< --format was given
};

/// Reads the command line. Nothing if it is wrong; `error` is then the reason.
std::optional<Options> parseOptions(int argc, wchar_t** argv, std::wstring& error);

extern const wchar_t* const kUsage;
