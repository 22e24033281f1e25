#pragma once

#include <string>
#include <string_view>

namespace i18nres {

/// The marks before and after a string from the satellite of the default culture (see
/// Manager::Init()).
inline constexpr std::wstring_view kMarkBefore = L"\u65b9\u672c";
inline constexpr std::wstring_view kMarkAfter = L"\u6587\u65b9";

/// Contains the origin of a string, for example "charts.dll(7):".
class StringOrigin {
public:
    StringOrigin(const wchar_t* module, unsigned id) noexcept;
    StringOrigin(const StringOrigin&) = delete;  // a copy's text() would refer to the original
    StringOrigin& operator=(const StringOrigin&) = delete;

    /// Returns the origin, or the empty string if the origin has 255 characters or more, not
    /// counting the terminator.
    std::wstring_view text() const noexcept { return m_text; }

private:
    wchar_t m_room[255];
    std::wstring_view m_text;
};

/// Doubles every "%" in the origin of a format string for FormatMessageW or printf, so that the
/// formatted text contains the origin unchanged. The origin is at the beginning of the format
/// string or, if the string has marks, after `kMarkBefore`. Does nothing if origins are disabled.
/// @param pattern  A result of loadStdStringW or loadDefaultStdStringW. May be empty.
void escapeOrigin(std::wstring& pattern, const wchar_t* module, unsigned id);

}  // namespace i18nres
