#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace i18nres {

/// The language of a culture tag: its text before the first "-".
inline std::wstring languageOf(std::wstring_view tag) {
    return std::wstring(tag.substr(0, tag.find(L'-')));
}

/// Whether a tag consists of ASCII letters, digits and "-" only. Only such a tag becomes a part of
/// a file name or of a query: any other could name another folder, or change the query.
inline bool isPlainTag(std::wstring_view tag) noexcept {
    return std::all_of(tag.begin(), tag.end(), [](wchar_t character) {
        return (character >= L'a' && character <= L'z') ||
               (character >= L'A' && character <= L'Z') ||
               (character >= L'0' && character <= L'9') || character == L'-';
    });
}

}  // namespace i18nres
