#pragma once

#include <span>
#include <string>
#include <string_view>

namespace i18nres {

/// The marks that are added before and after each string from the satellite of the default culture,
/// if marks are enabled (see Manager::Init()).
inline constexpr std::wstring_view kMarkBefore = L"\u65b9\u672c";
inline constexpr std::wstring_view kMarkAfter = L"\u6587\u65b9";

/// Writes the origin of a string, for example "charts.dll(7):", and returns it as a view of
/// `buffer`. The view is empty if the origin has 255 characters or more, not counting the
/// terminator.
std::wstring_view writeOrigin(std::span<wchar_t, 255> buffer, const wchar_t* module,
                              unsigned id) noexcept;

/// Doubles every "%" in the origin of a format string for FormatMessageW or printf, so that the
/// formatted text contains the origin unchanged. The origin is at the beginning of the format
/// string or, if the string has marks, after `kMarkBefore`. Does nothing if origins are disabled.
/// @param pattern  A result of loadStdStringW or loadDefaultStdStringW. May be empty.
void escapeOrigin(std::wstring& pattern, const wchar_t* module, unsigned id);

}  // namespace i18nres
