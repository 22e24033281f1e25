#pragma once

#include <emmintrin.h>

#include <array>
#include <cstddef>
#include <string_view>

#include "i18nstr/SystemConverters.h"

namespace i18nstr {

/// What the system's converters make of single characters of a code page, for text that they
/// convert character by character.
class SingleByteTables {
public:
    /// Asks the system. Allocates nothing.
    ///
    /// @return false when the tables are of no use: the code page has characters of several bytes,
    ///         is no superset of ASCII, or does not take the flags.
    bool fill(const CodePage& codePage) noexcept;

    /// Whether every code is converted by itself. All text is but that with codes of marks that
    /// take no space, such as Hebrew points, which the system may compose with the letter in front.
    bool isPlain(std::string_view text) const noexcept { return !m_hasMarks || isAscii(text); }

    /// Whether every unit is converted by itself, which is known of those below U+0300, where the
    /// first of the accents stand that the system would compose with the letter in front.
    bool isPlain(std::wstring_view text) const noexcept;

    // Between `count` codes and as many units of a plain text. Pointers, which travel in registers:
    // for a short text it costs more to hand over views than to convert it.
    void toWide(const char* codes, std::size_t count, wchar_t* units) const noexcept;
    void toNarrow(const wchar_t* units, std::size_t count, char* codes) const noexcept;

private:
    static constexpr unsigned kCodes = 256;
    static constexpr unsigned kPlainUnits = 0x300;

    static bool isAscii(std::string_view text) noexcept;
    bool ask(const CodePage& codePage) noexcept;
    bool findMarks() noexcept;
    bool findFirstSame() noexcept;
    bool isSame(unsigned code) const noexcept;
    bool areSame(__m128i codes) const noexcept;

    std::array<wchar_t, kCodes> m_wide;
    std::array<char, kPlainUnits> m_narrow;
    bool m_hasMarks;
    unsigned char m_firstSame;  // of the codes behind ASCII whose rest is as in Unicode; 0 for none
};

}  // namespace i18nstr
