#pragma once

#include <windows.h>

namespace i18nstr {

/// A code page with the flags that this library passes to the system's conversion functions.
struct CodePage {
    UINT number;
    DWORD toWideFlags;
    DWORD toNarrowFlags;
};

inline constexpr CodePage kAnsi{CP_ACP, MB_PRECOMPOSED, WC_COMPOSITECHECK | WC_SEPCHARS};
inline constexpr CodePage kUtf8{CP_UTF8, 0, 0};

/// Calls `convertWith(flags)`. Some code pages, such as UTF-8 when it is the ANSI code page, do not
/// accept any flags. For these code pages, the call fails with ERROR_INVALID_FLAGS and is repeated
/// without flags.
template <class ConvertWith>
int convertWithAcceptedFlags(DWORD flags, ConvertWith convertWith) noexcept {
    const int converted = convertWith(flags);
    if (converted != 0 || ::GetLastError() != ERROR_INVALID_FLAGS) return converted;
    return convertWith(0);
}

// The following overloads call MultiByteToWideChar or WideCharToMultiByte. `count` is the number of
// code units in `text`. If `count` is -1, the text ends at its terminator, which is also converted.
// The overloads return the number of code units written to `output`, or 0 if the system cannot
// convert the text. If `size` is 0, the overloads write nothing and return the required size of
// `output` in code units.
//
// The lpDefaultChar and lpUsedDefaultChar arguments are null, because WideCharToMultiByte does not
// support them for UTF-8.

inline int convert(const CodePage& codePage, const char* text, int count, wchar_t* output,
                   int size) noexcept {
    return convertWithAcceptedFlags(codePage.toWideFlags, [&](DWORD flags) {
        return ::MultiByteToWideChar(codePage.number, flags, text, count, output, size);
    });
}

inline int convert(const CodePage& codePage, const wchar_t* text, int count, char* output,
                   int size) noexcept {
    return convertWithAcceptedFlags(codePage.toNarrowFlags, [&](DWORD flags) {
        return ::WideCharToMultiByte(codePage.number, flags, text, count, output, size, nullptr,
                                     nullptr);
    });
}

}  // namespace i18nstr
