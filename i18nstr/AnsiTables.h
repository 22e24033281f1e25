#pragma once

#include <cstddef>
#include <span>
#include <string_view>

/// Plain text between the ANSI code page and UTF-16: text whose characters the system converts one
/// by one. Where the code page has characters of several bytes, no text is plain. The code page
/// stays for the life of a process; the first call, in whatever thread, looks at it. No function
/// allocates.
namespace i18nstr::ansi {

/// How many units of UTF-16 plain text takes; 0 when `text` is not plain.
std::size_t wideLength(std::string_view text) noexcept;

/// @param text       Plain: wideLength(text) is not 0.
/// @param[out] wide  As many units as that.
/// @return true.
bool toWide(std::string_view text, std::span<wchar_t> wide) noexcept;

/// How many bytes plain text takes; 0 when `text` is not plain.
std::size_t narrowLength(std::wstring_view text) noexcept;

/// @param text         Plain: narrowLength(text) is not 0.
/// @param[out] narrow  As many bytes as that.
/// @return true.
bool toNarrow(std::wstring_view text, std::span<char> narrow) noexcept;

}  // namespace i18nstr::ansi
