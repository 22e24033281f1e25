#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "i18nres/WatchedFolder.h"

namespace i18nres {

/// Describes one search for the satellites of a module.
struct SatelliteSearch {
    std::wstring modulePath;
    std::vector<std::wstring> defaultNames;  ///< File names: the first that loads is taken.
    std::vector<std::wstring> cultureNames;  ///< The same for the current culture.
    std::vector<std::wstring> prefixes;      ///< Each is put before each name.
    bool bySystem = false;  ///< The system's search is tried for each name after the prefixes.

    bool operator==(const SatelliteSearch&) const = default;
};

/// Remembers that the search for the satellites of a module has failed, until something that could
/// change the outcome changes, and for a few seconds at most. A failing search is by far the most
/// expensive part of a lookup.
///
/// A failed search would fail again as long as no file of one of the names appears in a searched
/// folder, and no library of such a name is loaded. Each check derives the searched folders from
/// the current environment. The times of a folder show new files in it. The identity of a folder,
/// which is checked less often, shows that another folder with the same times has replaced it. Each
/// check also tests whether a library of such a name is loaded, or is in a folder of
/// AddDllDirectory. No check runs code of a library. The time limit is for file systems that report
/// wrong times.
class SatelliteSearchCache {
public:
    /// Stores the state of everything that the outcome depends on. Call it before the search, so
    /// that changes during the search are noticed.
    /// @return nothing if a change could go unnoticed, for example in a folder of a network.
    /// @throws std::bad_alloc.
    static std::optional<SatelliteSearchCache> watch(const SatelliteSearch& search);

    /// Checks that the search would fail again. Call it once, after the search has failed. It takes
    /// about as long as the search.
    /// @return false if a change could go unnoticed: a file of such a name exists, which may
    ///         become a library in place, or the times of a folder are not reliable. Discard the
    ///         object then.
    /// @throws std::bad_alloc.
    bool seal();

    /// Whether the search for this module would fail again. Needs no memory.
    bool stillValid(std::wstring_view modulePath) noexcept;

private:
    // Each returns false if a change could go unnoticed.
    bool addFolder(std::wstring_view folder);
    bool addSearchedFolder(std::wstring_view folder);
    bool addSearchedFolders(std::wstring_view list);
    bool addSystemFolders();

    std::wstring m_modulePath;
    std::vector<std::wstring> m_names;
    std::vector<std::wstring> m_prefixes;
    bool m_bySystem = false;
    std::wstring m_environment;  // see SearchEnvironment
    std::vector<WatchedFolder> m_folders;
    std::vector<bool> m_areInAddedFolders;  // by name; used if the system searches
    // In milliseconds since the system was started.
    ULONGLONG m_watchedSince = 0;
    ULONGLONG m_identitiesCheckedAt = 0;
};

}  // namespace i18nres
