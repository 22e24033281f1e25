#include "i18nres/WatchedFolder.h"

#include <winternl.h>

#include <atomic>
#include <utility>

#include "platform/UniqueHandle.h"

namespace i18nres {

namespace {

/// The prefix of a drive in the namespace of the Windows object manager. CreateFileW adds this
/// prefix automatically, but NtQueryFullAttributesFile does not.
constexpr std::wstring_view kNativePrefix = L"\\??\\";

/// The value of OBJ_CASE_INSENSITIVE. Not every SDK defines this macro in winternl.h.
constexpr ULONG kIgnoreCase = 0x40;

// STATUS_OBJECT_NAME_NOT_FOUND and STATUS_OBJECT_PATH_NOT_FOUND.
constexpr auto kNameNotFound = static_cast<NTSTATUS>(0xC0000034);
constexpr auto kPathNotFound = static_cast<NTSTATUS>(0xC000003A);

/// The same structure as FILE_NETWORK_OPEN_INFORMATION, which only the driver headers define.
struct OpenInformation {
    LARGE_INTEGER created, accessed, written, changed, allocated, size;
    ULONG attributes;
};
using QueryFullAttributesFile = NTSTATUS(NTAPI*)(OBJECT_ATTRIBUTES*, OpenInformation*);

/// Returns NtQueryFullAttributesFile, or null if the system does not export it. The function is
/// documented and does not open the folder. Unlike GetFileAttributesExW, it returns the change
/// time.
/// Programs that extract archives may set the last-write time of a folder to an earlier time, but
/// usually do not set its change time.
QueryFullAttributesFile queryFunction() noexcept {
    // The variable is not initialized with a function call, because the initialization guard of
    // such a variable may allocate memory. If several threads look up the function at the same
    // time, they all store the same address.
    static constinit std::atomic<QueryFullAttributesFile> s_query{nullptr};
    QueryFullAttributesFile query = s_query.load(std::memory_order_relaxed);
    if (!query) {
        query = reinterpret_cast<QueryFullAttributesFile>(reinterpret_cast<void*>(
            ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQueryFullAttributesFile")));
        s_query.store(query, std::memory_order_relaxed);
    }
    return query;
}

/// Opens a folder so that its properties can be queried. Returns an empty handle if the folder
/// cannot be opened.
platform::KernelHandle openFolder(const wchar_t* path) noexcept {
    const HANDLE folder = ::CreateFileW(
        path, FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (folder == INVALID_HANDLE_VALUE) return {};
    return platform::KernelHandle(folder);
}

bool equalIgnoringCase(std::wstring_view a, std::wstring_view b) noexcept {
    return ::CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                                  static_cast<int>(b.size()), TRUE) == CSTR_EQUAL;
}

/// Returns `path` with the letter case that is stored on the disk. If a path has a different letter
/// case, Wine reads the whole parent folder whenever the timestamps are queried. The query then
/// takes a hundred times as long.
std::wstring withStoredCase(HANDLE folder, std::wstring path) {
    constexpr std::wstring_view kPrefix = L"\\\\?\\";
    wchar_t found[MAX_PATH];
    const DWORD length = ::GetFinalPathNameByHandleW(folder, found, MAX_PATH, FILE_NAME_NORMALIZED);
    if (length <= kPrefix.size() || length >= MAX_PATH) return path;
    // The path on the disk may differ from `path` in more than its letter case, for example if
    // `path` contains a link. In this case, keep `path`, because the target of the link may change.
    const std::wstring_view onDisk(found + kPrefix.size(), length - kPrefix.size());
    if (equalIgnoringCase(path, onDisk)) path = onDisk;
    return path;
}

}  // namespace

std::optional<WatchedFolder> WatchedFolder::at(std::wstring path) {
    const platform::KernelHandle open = openFolder(path.c_str());
    WatchedFolder folder;
    folder.m_identity = identityOf(open.get());
    folder.m_nativePath.append(kNativePrefix).append(withStoredCase(open.get(), std::move(path)));
    const auto times = timesOf(folder.m_nativePath);
    if (!times) return std::nullopt;
    folder.m_times = *times;
    return folder;
}

const wchar_t* WatchedFolder::path() const noexcept {
    return m_nativePath.c_str() + kNativePrefix.size();
}

bool WatchedFolder::isAt(std::wstring_view other) const noexcept {
    return equalIgnoringCase(path(), other);
}

bool WatchedFolder::changedAfter(LONGLONG time) const noexcept {
    return m_times.exists && m_times.changed > time;
}

bool WatchedFolder::isSameFolder() const noexcept {
    return identityOf(openFolder(path()).get()) == m_identity;
}

bool WatchedFolder::hasReliableTimestamps() const noexcept {
    wchar_t volume[MAX_PATH];
    if (!::GetVolumePathNameW(path(), volume, MAX_PATH) || ::GetDriveTypeW(volume) != DRIVE_FIXED) {
        return false;
    }
    const platform::KernelHandle folder = openFolder(path());
    wchar_t fileSystem[MAX_PATH + 1];
    if (!::GetVolumeInformationByHandleW(folder.get(), nullptr, 0, nullptr, nullptr, nullptr,
                                         fileSystem, MAX_PATH + 1)) {
        return false;
    }
    const std::wstring_view name(fileSystem);
    return name == L"NTFS" || name == L"ReFS";
}

WatchedFolder::Identity WatchedFolder::identityOf(HANDLE folder) noexcept {
    BY_HANDLE_FILE_INFORMATION found;
    if (!::GetFileInformationByHandle(folder, &found)) return {};
    return {found.dwVolumeSerialNumber, found.nFileIndexHigh, found.nFileIndexLow};
}

std::optional<WatchedFolder::Times> WatchedFolder::timesOf(
    const std::wstring& nativePath) noexcept {
    const QueryFullAttributesFile query = queryFunction();
    if (!query) return std::nullopt;

    UNICODE_STRING name;
    name.Buffer = const_cast<wchar_t*>(nativePath.c_str());
    name.Length = static_cast<USHORT>(nativePath.size() * sizeof(wchar_t));
    name.MaximumLength = name.Length;
    OBJECT_ATTRIBUTES attributes = {};
    attributes.Length = sizeof(attributes);
    attributes.ObjectName = &name;
    attributes.Attributes = kIgnoreCase;
    OpenInformation found = {};
    const NTSTATUS status = query(&attributes, &found);
    if (status == kNameNotFound || status == kPathNotFound) return Times{};
    // The timestamps of a link are not the timestamps of its target folder.
    const ULONG kind = found.attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
    if (status < 0 || kind != FILE_ATTRIBUTE_DIRECTORY) return std::nullopt;
    return Times{true, found.created.QuadPart, found.written.QuadPart, found.changed.QuadPart};
}

}  // namespace i18nres
