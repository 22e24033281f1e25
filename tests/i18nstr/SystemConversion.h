#pragma once

#include <windows.h>

#include <cstddef>
#include <string>
#include <string_view>

/// A code page with the flags for its conversions.
struct SystemCodePage {
    UINT number;
    DWORD toWideFlags;
    DWORD toNarrowFlags;
};

/// Returns a code page with the flags that the library uses for the ANSI code page.
constexpr SystemCodePage asAnsi(UINT number) {
    return {number, MB_PRECOMPOSED, WC_COMPOSITECHECK | WC_SEPCHARS};
}

inline int convertBySystem(const SystemCodePage& codePage, std::string_view text, wchar_t* output,
                           int size) {
    return ::MultiByteToWideChar(codePage.number, codePage.toWideFlags, text.data(),
                                 static_cast<int>(text.size()), output, size);
}

inline int convertBySystem(const SystemCodePage& codePage, std::wstring_view text, char* output,
                           int size) {
    return ::WideCharToMultiByte(codePage.number, codePage.toNarrowFlags, text.data(),
                                 static_cast<int>(text.size()), output, size, nullptr, nullptr);
}

/// Returns the system's result for `text`, which must not be empty.
template <class To, class From>
std::basic_string<To> bySystem(const SystemCodePage& codePage, std::basic_string_view<From> text) {
    const int size = convertBySystem(codePage, text, nullptr, 0);
    std::basic_string<To> result(static_cast<std::size_t>(size), To());
    convertBySystem(codePage, text, result.data(), size);
    return result;
}
