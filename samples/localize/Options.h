#pragma once

#include <optional>
#include <string>
#include <vector>

/// What of the module is to be shown.
enum class Subject { kStrings, kHtml, kXml, kIcon, kMenu, kSettings };

/// What the command line asks for.
struct Options {
    Subject subject = Subject::kStrings;
    std::wstring module;                         ///< empty for kSettings only
    std::optional<std::wstring> culture;         ///< --culture
    std::optional<std::wstring> defaultCulture;  ///< --default
    std::optional<unsigned> id;  ///< of the string or resource; without it all strings are shown
    std::optional<std::wstring> node;   ///< --node: the localized value of this element
    std::vector<std::wstring> inserts;  ///< --format: what %1, %2 ... stand for
    bool formatted = false;             ///< --format was given
};

/// Reads the command line. Nothing: it makes no sense, and `error` says why.
std::optional<Options> parseOptions(int argc, wchar_t** argv, std::wstring& error);

extern const wchar_t* const kUsage;
