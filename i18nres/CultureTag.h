#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace i18nres {

/// Returns the language of a culture tag, which is the text before the first "-".
inline std::wstring languageOf(std::wstring_view tag) {
    return std::wstring(tag.substr(0, tag.find(L'-')));
}

/// Returns true if a tag consists only of ASCII letters, digits and "-". Other tags are not used in
/// file names or queries. Their characters could make a file name refer to another folder or change
/// the meaning of a query.
inline bool isPlainTag(std::wstring_view tag) noexcept {
    return std::all_of(tag.begin(), tag.end(), [](wchar_t character) {
        return (character >= L'a' && character <= L'z') ||
               (character >= L'A' && character <= L'Z') ||
               (character >= L'0' && character <= L'9') || character == L'-';
    });
}

}  // namespace i18nres
