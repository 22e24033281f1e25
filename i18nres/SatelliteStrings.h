#pragma once

#include <windows.h>

#include <array>
#include <string_view>
#include <unordered_map>

#include "i18nres/StringTable.h"

namespace i18nres {

/// Returns a view of a string in the memory of a library. The view is empty if the string is
/// missing or `library` is null. It is valid as long as the library stays loaded.
std::wstring_view findString(HINSTANCE library, unsigned id) noexcept;

/// Stores the positions of all strings of a satellite. A satellite stays loaded during the lookups
/// of its strings, so its string tables are read only once.
///
/// Do not use this class for a module, because its owner may free it at any time.
class SatelliteStrings {
public:
    /// @param library  Must not be null, and must stay loaded as long as this object exists.
    /// @throws std::bad_alloc.
    explicit SatelliteStrings(HINSTANCE library);

    /// Does the same as findString() in less time.
    std::wstring_view find(unsigned id) const noexcept;

private:
    using Texts = std::array<std::wstring_view, StringTable::kEntries>;

    HINSTANCE m_library;
    std::unordered_map<unsigned, Texts> m_blocks;
    bool m_hasOtherBlocks;  ///< True if blocks depend on the thread and so are not in the map.
};

}  // namespace i18nres
