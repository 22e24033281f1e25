#pragma once

#include <cstddef>
#include <string_view>

namespace i18nres {

/// Reads one block of a string table without copying it. A block has 16 entries. Each entry
/// consists of a 16-bit length and this number of UTF-16 code units, without a terminator. The
/// lengths are checked: an entry is returned only if it is entirely within the block.
class StringTable {
public:
    static constexpr unsigned kEntries = 16;

    /// Returns the one-based number of the block that contains a string.
    static constexpr unsigned blockOf(unsigned id) noexcept { return (id >> 4) + 1; }
    static constexpr unsigned positionOf(unsigned id) noexcept { return id & (kEntries - 1); }

    /// @param block  Must stay valid while this object or any view returned by entry() is in use. A
    ///               block at an odd address is treated as empty, because its code units are not
    ///               aligned.
    /// @param size   Size of the block in bytes.
    StringTable(const void* block, std::size_t size) noexcept;

    /// Returns a view of the string at the zero-based `position`, which must be below 16. The view
    /// is empty if the string is missing or incomplete.
    std::wstring_view entry(unsigned position) const noexcept;

private:
    std::wstring_view m_units;
};

}  // namespace i18nres
