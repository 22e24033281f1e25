#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

namespace i18nres {

/// Stores the timestamps and the identity of a folder, so that a later change to its contents can
/// be detected without reading the folder. The object can also represent a missing folder.
class WatchedFolder {
public:
    /// @param path  An absolute path that begins with a drive, such as "C:\folder". The path must
    ///              not end with a backslash, unless it is the root of a drive.
    /// @return std::nullopt if the timestamps cannot be read, or if the path refers to a file or a
    ///         link.
    static std::optional<WatchedFolder> at(std::wstring path);

    /// Returns true if `path` is the path of this folder. The comparison ignores case.
    bool isAt(std::wstring_view path) const noexcept;

    bool exists() const noexcept { return m_times.exists; }

    /// Returns true if the change time of the folder is later than `time`, a FILETIME value.
    /// Returns false for a missing folder.
    bool changedAfter(LONGLONG time) const noexcept;

    /// Returns true if the folder still has the stored timestamps. Allocates no memory.
    bool hasSameTimes() const noexcept { return timesOf(m_nativePath) == m_times; }

    /// Returns true if the path still refers to the same folder, and not to another folder with the
    /// same timestamps. The call takes many times as long as hasSameTimes(). Allocates no memory.
    bool isSameFolder() const noexcept;

    /// Returns true if the folder is on a local disk with NTFS or ReFS. These file systems update
    /// the folder's timestamps as soon as a file is added.
    bool hasReliableTimestamps() const noexcept;

private:
    const wchar_t* path() const noexcept;

    struct Times {
        bool exists = false;
        LONGLONG created = 0;
        LONGLONG written = 0;
        LONGLONG changed = 0;

        bool operator==(const Times&) const = default;
    };

    /// The serial number of the volume and the file index of the folder. No other folder has the
    /// same identity at the same time.
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
    Identity m_identity;  // all zeros if the folder cannot be opened
};

}  // namespace i18nres
