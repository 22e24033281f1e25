#pragma once

#include <windows.h>

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "i18nres/StringTable.h"

namespace i18nres {

/// Where the strings of a satellite lie, so that each block of its string table is looked for and
/// checked once. What this knows holds as long as the satellite stays loaded.
///
/// Not for libraries that their owner may free at any time. Not thread-safe, as finding remembers.
class SatelliteStrings {
public:
    SatelliteStrings() = default;  ///< Of no library: has no strings.

    /// Finds out which blocks there are. Null is no library.
    /// @throws std::bad_alloc.
    explicit SatelliteStrings(HINSTANCE library);

    /// The text in place; empty when it is missing. Needs no memory.
    std::wstring_view find(unsigned id) noexcept;

private:
    using SlotNumber = std::uint16_t;  // blocks have 16-bit numbers, so these suffice
    static constexpr SlotNumber kNoSlot = 0xFFFF;

    struct Block {
        enum class State : unsigned char { notAsked, known, askEachTime };

        State state = State::notAsked;
        std::array<std::wstring_view, StringTable::kEntries> texts;
    };

    void read(Block& block, unsigned number) noexcept;

    HINSTANCE m_library = nullptr;
    bool m_asksEachTime = false;      // the system does not tell which blocks there are
    std::vector<SlotNumber> m_slots;  // by number of the block
    std::vector<Block> m_blocks;
};

/// A string of a library, asked for by itself: the text in place, empty when it is missing.
std::wstring_view findString(HINSTANCE library, unsigned id) noexcept;

}  // namespace i18nres
