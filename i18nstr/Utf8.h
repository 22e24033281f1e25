#pragma once

#include <cstddef>
#include <span>
#include <string_view>

/// Well-formed text between UTF-8 and UTF-16. What ill-formed text becomes is not decided here: a
/// conversion gives up where it meets some, for its caller to ask the system. No function
/// allocates.
namespace i18nstr::utf8 {

/// How many units of UTF-16 well-formed UTF-8 takes.
std::size_t wideLength(std::string_view utf8) noexcept;

/// @param[out] wide  As many units as wideLength(utf8) tells. No other is written to, whatever the
///                   text.
/// @return false, with any contents in `wide`, when the text is ill-formed.
bool toWide(std::string_view utf8, std::span<wchar_t> wide) noexcept;

/// How many bytes of UTF-8 well-formed UTF-16 takes.
std::size_t narrowLength(std::wstring_view wide) noexcept;

/// @param[out] utf8  As many bytes as narrowLength(wide) tells. No other is written to, whatever
///                   the text.
/// @return false, with any contents in `utf8`, when a surrogate stands alone.
bool toNarrow(std::wstring_view wide, std::span<char> utf8) noexcept;

}  // namespace i18nstr::utf8
