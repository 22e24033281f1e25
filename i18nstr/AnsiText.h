#pragma once

#include <emmintrin.h>

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "i18nstr/SystemConverters.h"

namespace i18nstr {

/// Converts text between a code page of single bytes and UTF-16, by tables that hold the system's
/// result for each character.
///
/// The tables are right only for text that the system converts character by character. Text with
/// accents or other marks that the system might compose with the preceding letter is left to the
/// system. No function allocates.
class AnsiText {
public:
    /// Returns the converter of the ANSI code page. The first call, on any thread, fills its
    /// tables: the ANSI code page never changes until the end of the process.
    static const AnsiText& ofProcess() noexcept;

    /// Fills the tables with results of the system.
    ///
    /// @return false when there can be no tables: the code page has characters of several bytes or
    ///         is not a superset of ASCII, or the system does not report its properties.
    bool fill(const CodePage& codePage) noexcept;

    /// Returns the code page that was passed to fill().
    const CodePage& codePage() const noexcept { return m_codePage; }

    /// Returns the number of units that the result has; 0 when only the system can convert `text`.
    std::size_t convertedLength(std::string_view text) const noexcept;
    std::size_t convertedLength(std::wstring_view text) const noexcept;

    /// Converts a text with a convertedLength() of more than 0 into an output of that length.
    /// @return true.
    bool convert(std::string_view text, std::span<wchar_t> wide) const noexcept;
    bool convert(std::wstring_view text, std::span<char> narrow) const noexcept;

private:
    static constexpr unsigned kCodes = 256;

    /// From this unit on, units may be marks that the system composes with a preceding letter.
    static constexpr unsigned kFirstMark = 0x300;

    bool fillTables() noexcept;
    bool findMarks() noexcept;
    bool findFirstSame() noexcept;
    bool isSame(unsigned code) const noexcept;
    bool allSame(__m128i codes) const noexcept;

    CodePage m_codePage;
    std::array<wchar_t, kCodes> m_wide;
    std::array<char, kFirstMark> m_narrow;
    bool m_hasTables;
    bool m_hasMarks;            // the code page contains marks that the system may compose
    unsigned char m_firstSame;  // this code and all above it equal their units; 0 if none does
};

}  // namespace i18nstr
