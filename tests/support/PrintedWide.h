#pragma once

#include <doctest/doctest.h>

#include <cstdio>
#include <string>

namespace doctest {

/// Shows wide text in the report of a failed check. Printable ASCII characters are unchanged, and
/// other UTF-16 code units are shown as \uXXXX.
template <>
struct StringMaker<std::wstring> {
    static String convert(const std::wstring& text) {
        std::string shown = "\"";
        for (const wchar_t unit : text) {
            if (unit >= L' ' && unit <= L'~') {
                shown.push_back(static_cast<char>(unit));
            } else {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(unit));
                shown += escaped;
            }
        }
        return (shown + '"').c_str();
    }
};

}  // namespace doctest
