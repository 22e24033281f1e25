#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "i18nres/WatchedFolder.h"

namespace i18nres {

/// Describes one search for the satellites of a module. For each culture, the search tries the file
/// names in order and loads the first library that it finds.
struct SatelliteSearch {
    std::wstring modulePath;
    std::vector<std::wstring> defaultNames;  ///< File names for the default culture.
    std::vector<std::wstring> cultureNames;  ///< File names for the current culture.
    std::vector<std::wstring> prefixes;      ///< Paths to which each file name is appended.
    /// True if the search also uses the system's DLL search order.
    bool bySystem = false;

    bool operator==(const SatelliteSearch&) const = default;
};

/// Caches the failure of a search for the satellites of a module, because a failing search is by
/// far the slowest part of a lookup.
///
/// The failure stays cached for a few seconds at most, to limit the effect of file systems that
/// report wrong timestamps. As long as the failure is cached, stillValid() returns true if these
/// conditions are met:
/// - The settings that determine the folders of the search are the same as before the search.
/// - The timestamps of these folders have not changed. The timestamps of a folder change if a file
///   is added to it.
/// - No folder has been replaced with another folder that has the same timestamps. This check is
///   slow, so it is made less often than the other checks.
/// - No library with one of the file names is loaded.
/// - In the folders that AddDllDirectory has added, no file with one of the file names has been
///   added or removed.
///
/// With one exception, the checks do not run code in libraries. If a library with one of the file
/// names is copied, during a check, to a folder that AddDllDirectory has added, the check may run
/// code in this library.
class SatelliteSearchCache {
public:
    /// Returns an object that can cache the failure of `search`. Call watch() before the search, so
    /// that a change during the search is detected.
    /// @return std::nullopt if a change to a folder could go undetected, for example because the
    ///         folder is on a network share or has changed in the last few seconds.
    /// @throws std::bad_alloc if memory runs out.
    static std::optional<SatelliteSearchCache> watch(const SatelliteSearch& search);

    /// Checks whether this object can detect every change that could affect the outcome of the
    /// search. Call seal() once, after the search has failed. The call takes about as
    /// long as the search. If the result is false, discard the object.
    /// @return false in the following cases, because a change could go undetected:
    ///         - A file with one of the names exists. It could later be overwritten with a library.
    ///         - The timestamps of a folder are not reliable, for example on a network drive.
    ///         - A ".local" file or folder may redirect the search.
    /// @throws std::bad_alloc if memory runs out.
    bool seal();

    /// Returns true if `modulePath` is the path of the module, and the search for its satellites
    /// would fail again. Allocates no memory.
    bool stillValid(std::wstring_view modulePath) noexcept;

private:
    // Each of the following functions returns false if a change to a folder could go undetected.
    bool addFolder(std::wstring_view folder);
    bool addSearchedFolder(std::wstring_view folder);
    bool addSearchedFolders(std::wstring_view list);
    bool addSystemFolders();

    std::wstring m_modulePath;
    std::vector<std::wstring> m_names;
    std::vector<std::wstring> m_prefixes;
    bool m_bySystem = false;
    std::wstring m_environment;  // a copy of SearchEnvironment::text()
    std::vector<WatchedFolder> m_folders;
    std::vector<bool> m_areInAddedFolders;  // one element per name; used only if m_bySystem is true
    // Times in milliseconds since the system was started, from GetTickCount64.
    ULONGLONG m_watchedSince = 0;
    ULONGLONG m_identitiesCheckedAt = 0;
};

}  // namespace i18nres
