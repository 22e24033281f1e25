#pragma once

#include <windows.h>

#include <array>
#include <string_view>
#include <unordered_map>

#include "i18nres/StringTable.h"

namespace i18nres {

/// Finds a string in one library, in place. Returns an empty text when the string is missing or
/// `library` is null. The text is valid as long as the library stays loaded.
std::wstring_view findString(HINSTANCE library, unsigned id) noexcept;

/// The positions of all strings of a satellite. A satellite stays loaded while its strings are
/// looked up, so its string tables are read only once.
///
/// Not for modules: their owner may free them at any time.
class SatelliteStrings {
public:
    /// @param library  Not null. It must outlive this object.
    /// @throws std::bad_alloc.
    explicit SatelliteStrings(HINSTANCE library);

    /// Does what findString() does, in less time.
    std::wstring_view find(unsigned id) const noexcept;

private:
    using Texts = std::array<std::wstring_view, StringTable::kEntries>;

    HINSTANCE m_library;
    std::unordered_map<unsigned, Texts> m_blocks;
    bool m_hasOtherBlocks;  ///< Some blocks depend on the thread, so they are not in the map.
};

}  // namespace i18nres
