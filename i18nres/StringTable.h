#pragma once

#include <cstddef>
#include <string_view>

namespace i18nres {

/// Reads one block of a string table in place: 16 entries, each a 16-bit count followed by that
/// many UTF-16 code units, without terminators. The counts are checked: an entry is returned only
/// if all of it is in the block.
class StringTable {
public:
    static constexpr unsigned kEntries = 16;

    /// Returns the number, counted from 1, of the block that holds a string.
    static constexpr unsigned blockOf(unsigned id) noexcept { return (id >> 4) + 1; }
    static constexpr unsigned positionOf(unsigned id) noexcept { return id & (kEntries - 1); }

    /// @param block  Must outlive the texts that entry() returns. A block at an odd address has no
    ///               entries, because code units cannot be read there.
    /// @param size   In bytes.
    StringTable(const void* block, std::size_t size) noexcept;

    /// Returns the text at a position below 16, in place. Empty when it is missing or incomplete.
    std::wstring_view entry(unsigned position) const noexcept;

private:
    std::wstring_view m_units;
};

}  // namespace i18nres
