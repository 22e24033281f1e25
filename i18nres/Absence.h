#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace i18nres {

/// What is tried to find the satellites of a module.
struct SatelliteSearch {
    std::wstring modulePath;
    std::vector<std::wstring> names;     ///< Of files, without folders.
    std::vector<std::wstring> prefixes;  ///< Each is put before each name.
    bool bySystem = false;               ///< Each name is also left to the system's search.
};

/// That a search has failed, for as long as it is certain that it would fail again. An attempt to
/// load what is not there is by far the most expensive thing that a lookup does.
///
/// It is certain while no file of such a name stands in any folder that the search looks at, and no
/// library of such a name is loaded. Which folders these are is read anew each time. That nothing
/// has come into a folder is told by its times, where the file system keeps them: on a disk of this
/// computer with NTFS or ReFS, and once the folder has rested for longer than a clock's step. What
/// cannot be told is asked each time: whether a library of that name has been loaded, or stands in
/// a folder that AddDllDirectory has added.
class Absence {
public:
    /// To be called before the search, so that what changes meanwhile is noticed.
    /// @return nothing where it could not be certain.
    /// @throws std::bad_alloc.
    static std::optional<Absence> before(SatelliteSearch search);

    /// To be called once, when the search has failed. Takes about as long as the search.
    /// @return whether the absence is certain: not when there are files all the same, which may
    ///         become libraries in place, and not when the times of a folder are not to be relied
    ///         on.
    /// @throws std::bad_alloc.
    bool confirm();

    /// Whether the search for this module would fail again. Needs no memory.
    bool holds(std::wstring_view modulePath) const noexcept;

private:
    struct Times {
        bool exists = false;
        LONGLONG created = 0;
        LONGLONG written = 0;
        LONGLONG changed = 0;

        bool operator==(const Times&) const = default;
    };
    struct Folder {
        std::wstring nativePath;
        Times times;
    };

    static std::optional<Times> timesOf(const std::wstring& nativePath) noexcept;

    // These give false for what cannot be told with certainty.
    bool addFolder(std::wstring_view folder);
    bool addSearchedFolder(std::wstring_view folder);
    bool addSearchedFolders(std::wstring_view list);
    bool addSystemFolders();

    SatelliteSearch m_search;
    std::wstring m_surroundings;
    std::vector<Folder> m_folders;
};

}  // namespace i18nres
