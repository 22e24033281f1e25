#pragma once

#include <optional>
#include <string>
#include <vector>

/// What the command line asks for.
struct Options {
    std::wstring module;
    std::optional<std::wstring> culture;         ///< --culture
    std::optional<std::wstring> defaultCulture;  ///< --default
    std::optional<unsigned> id;                  ///< --id; without it all strings are shown
    std::vector<std::wstring> inserts;           ///< --format: what %1, %2 ... stand for
    bool formatted = false;                      ///< --format was given
};

/// Reads the command line. Nothing: it makes no sense, and `error` says why.
std::optional<Options> parseOptions(int argc, wchar_t** argv, std::wstring& error);

extern const wchar_t* const kUsage;
