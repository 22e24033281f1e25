#pragma once

#include <windows.h>

#include <array>
#include <string_view>
#include <unordered_map>

#include "i18nres/StringTable.h"

namespace i18nres {

/// Returns a view of a string in the memory of a library. The view is empty if the string is
/// missing or if `library` is null. The view is valid as long as the library stays loaded.
std::wstring_view findString(HINSTANCE library, unsigned id) noexcept;

/// Holds a view of each string that a satellite contains. The constructor reads the string tables,
/// so that find() usually does not have to search for them.
///
/// Do not use this class for a module, because the owner of the module may free it at any time.
class SatelliteStrings {
public:
    /// @param library  Must not be null, and must stay loaded as long as this object exists.
    /// @throws std::bad_alloc if memory runs out.
    explicit SatelliteStrings(HINSTANCE library);

    /// Returns the same view as findString(), but takes less time.
    std::wstring_view find(unsigned id) const noexcept;

private:
    using Texts = std::array<std::wstring_view, StringTable::kEntries>;

    HINSTANCE m_library;
    std::unordered_map<unsigned, Texts> m_blocks;
    /// True if m_blocks may be incomplete (see ResourceDirectory::Result::dependsOnThread).
    bool m_mayBeIncomplete;
};

}  // namespace i18nres
