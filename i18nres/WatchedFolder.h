#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

namespace i18nres {

/// Stores the times and the identity of a folder, so that a later change of its contents is noticed
/// without reading it. A folder that does not exist is stored as missing.
class WatchedFolder {
public:
    /// @param path  Absolute, on a drive, without a backslash at its end unless it is a drive's
    ///              root. It must not depend on the current folder.
    /// @return nothing if the times cannot be read, or if the path leads to a file or a link.
    static std::optional<WatchedFolder> at(std::wstring path);

    /// Whether this is the folder of a path, which may differ in letter case.
    bool isAt(std::wstring_view path) const noexcept;

    bool exists() const noexcept { return m_times.exists; }

    /// Whether the last change was made after `time`, in units of 100 ns since 1601. False for a
    /// missing folder.
    bool changedAfter(LONGLONG time) const noexcept;

    /// Whether the folder has the stored times. Needs no memory.
    bool hasSameTimes() const noexcept { return timesOf(m_nativePath) == m_times; }

    /// Whether the path still leads to the stored folder, and not to another one with the same
    /// times. Takes many times as long as hasSameTimes(). Needs no memory.
    bool isSameFolder() const noexcept;

    /// Whether the file system changes the time of the folder with every file that is added, at
    /// once: on a disk of this computer with NTFS or ReFS.
    bool keepsTimes() const noexcept;

private:
    const wchar_t* path() const noexcept;

    struct Times {
        bool exists = false;
        LONGLONG created = 0;
        LONGLONG written = 0;
        LONGLONG changed = 0;

        bool operator==(const Times&) const = default;
    };

    /// The volume and the number of the folder on it. No other folder has both at the same time.
    struct Identity {
        DWORD volume = 0;
        DWORD numberHigh = 0;
        DWORD numberLow = 0;

        bool operator==(const Identity&) const = default;
    };

    static Identity identityOf(HANDLE folder) noexcept;
    static std::optional<Times> timesOf(const std::wstring& nativePath) noexcept;

    std::wstring m_nativePath;
    Times m_times;
    Identity m_identity;  // zeros for a missing folder
};

}  // namespace i18nres
