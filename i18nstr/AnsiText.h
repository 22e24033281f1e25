#pragma once

#include <emmintrin.h>

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "i18nstr/SystemConverters.h"

namespace i18nstr {

/// Converts text between a single-byte code page and UTF-16. The conversion uses tables that
/// contain the system's result for each character.
///
/// The tables cannot be used for text with combining characters, because the system may replace
/// such a character and the preceding letter with one character. For this text, convertedLength()
/// returns 0. The member functions do not allocate memory.
class AnsiText {
public:
    /// Returns the converter for the ANSI code page. The first call, on any thread, fills the
    /// tables. The tables are filled only once, because the ANSI code page does not change while
    /// the process runs.
    static const AnsiText& ofProcess() noexcept;

    /// Fills the tables with the results of the system's conversions for `codePage`.
    ///
    /// @return true if the tables can be used; false in the following cases:
    ///         - The code page has multibyte characters.
    ///         - The code page is not a superset of ASCII.
    ///         - A system function fails, for example because it does not support the code page.
    bool fill(const CodePage& codePage) noexcept;

    /// Returns the code page that was passed to fill().
    const CodePage& codePage() const noexcept { return m_codePage; }

    /// Returns the length of the converted text in UTF-16 code units or in bytes. Returns 0 if
    /// `text` is empty or cannot be converted with the tables.
    std::size_t convertedLength(std::string_view text) const noexcept;
    std::size_t convertedLength(std::wstring_view text) const noexcept;

    /// Converts `text`. The length of the output must be convertedLength(text), and must not be 0.
    ///
    /// @return Always true. Unlike Utf8::convert(), this function cannot fail.
    bool convert(std::string_view text, std::span<wchar_t> wide) const noexcept;
    bool convert(std::wstring_view text, std::span<char> narrow) const noexcept;

private:
    static constexpr unsigned kCodes = 256;

    /// The lowest UTF-16 code unit that may be a combining character.
    static constexpr unsigned kFirstCombining = 0x300;

    bool fillTables() noexcept;
    bool findCombiningCharacters() noexcept;
    bool findIdentityStart() noexcept;
    bool isIdentityMapped(unsigned code) const noexcept;
    bool areIdentityMapped(__m128i codes) const noexcept;

    CodePage m_codePage;
    std::array<wchar_t, kCodes> m_wide;
    std::array<char, kFirstCombining> m_narrow;
    bool m_hasTables;
    bool m_hasCombiningCharacters;  // true if the code page has combining characters
    /// The lowest code above 127 such that this code and all higher codes are equal to their UTF-16
    /// code units. The value is 0 if code 255 is not equal to its UTF-16 code unit.
    unsigned char m_identityStart;
};

}  // namespace i18nstr
