#pragma once

#include <cstddef>
#include <string_view>

namespace i18nres {

/// One block of a string table as it lies in a library: 16 entries, each a 16-bit count followed by
/// that many UTF-16 code units, without terminators. Nothing that a block says is trusted: an entry
/// is only given when all of it lies in the block.
class StringTable {
public:
    static constexpr unsigned kEntries = 16;

    /// The number of the block, counted from 1, that holds a string.
    static constexpr unsigned blockOf(unsigned id) noexcept { return (id >> 4) + 1; }
    static constexpr unsigned positionOf(unsigned id) noexcept { return id & (kEntries - 1); }

    /// @param block  Must outlive the texts that entry() gives. A block at an odd address holds
    ///               nothing: code units cannot lie there.
    /// @param size   In bytes.
    StringTable(const void* block, std::size_t size) noexcept;

    /// The text at a position below 16, in place. Empty when it is absent or not all there.
    std::wstring_view entry(unsigned position) const noexcept;

private:
    std::wstring_view m_units;
};

}  // namespace i18nres
