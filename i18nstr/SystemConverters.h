#pragma once

#include <windows.h>

namespace i18nstr {

/// A code page with the flags that this library passes along.
struct CodePage {
    UINT number;
    DWORD toWideFlags;
    DWORD toNarrowFlags;
};

inline constexpr CodePage kAnsi{CP_ACP, MB_PRECOMPOSED, WC_COMPOSITECHECK | WC_SEPCHARS};
inline constexpr CodePage kUtf8{CP_UTF8, 0, 0};

// The system's converters, under one name for both directions. They answer the units written or,
// for a size of 0, needed, the terminator included where `count` says so; 0 for a refusal.
//
// `count` is that of the text's units; -1 for a text that ends at its terminator, which is
// converted along.

inline int convert(const CodePage& codePage, const char* text, int count, wchar_t* output,
                   int size) noexcept {
    return ::MultiByteToWideChar(codePage.number, codePage.toWideFlags, text, count, output, size);
}

inline int convert(const CodePage& codePage, const wchar_t* text, int count, char* output,
                   int size) noexcept {
    return ::WideCharToMultiByte(codePage.number, codePage.toNarrowFlags, text, count, output, size,
                                 nullptr, nullptr);
}

}  // namespace i18nstr
