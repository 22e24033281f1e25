#include "i18nres/Absence.h"

#include <winternl.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <utility>

#include "platform/PathParts.h"
#include "platform/QuietErrorMode.h"

namespace i18nres {

namespace {

using std::wstring_view;

constexpr wstring_view kNativePrefix = L"\\??\\";

/// For which a folder must have rested, in units of 100 ns: what changes it later gives it another
/// time. Longer than a step of any file system's clock: FAT counts two seconds.
constexpr LONGLONG kRest = 30'000'000;

/// What the folders of the system's search are derived from, as it stands now: PATH, the current
/// folder and the folder of SetDllDirectory, each with a terminator.
class Surroundings {
public:
    Surroundings() noexcept {
        m_isWhole = add([](wchar_t* text, DWORD room) {
            return ::GetEnvironmentVariableW(L"PATH", text, room);
        });
        m_isWhole = m_isWhole && add([](wchar_t* text, DWORD room) {
                        return ::GetCurrentDirectoryW(room, text);
                    });
        m_isWhole = m_isWhole &&
                    add([](wchar_t* text, DWORD room) { return ::GetDllDirectoryW(room, text); });
    }

    /// Whether all of them fit.
    bool isWhole() const noexcept { return m_isWhole; }
    wstring_view text() const noexcept { return {m_text, m_length}; }

private:
    template <class Read>
    bool add(Read read) noexcept {
        const auto room = static_cast<DWORD>(std::size(m_text) - m_length);
        if (room == 0) return false;
        const DWORD length = read(m_text + m_length, room);
        if (length >= room) return false;
        m_length += length;
        m_text[m_length++] = L'\0';
        return true;
    }

    wchar_t m_text[4096];
    std::size_t m_length = 0;
    bool m_isWhole = false;
};

wstring_view takeTo(wchar_t end, wstring_view& rest) noexcept {
    const std::size_t length = std::min(rest.find(end), rest.size());
    const wstring_view part = rest.substr(0, length);
    rest.remove_prefix(std::min(length + 1, rest.size()));
    return part;
}

bool isSlash(wchar_t character) noexcept { return character == L'\\' || character == L'/'; }

/// "C:\" and what stands below it.
bool isOnDrive(wstring_view path) noexcept {
    return path.size() >= 3 && path[1] == L':' && isSlash(path[2]);
}

/// Whether a name is one for a file in any folder, rather than a way out of it.
bool isPlainName(wstring_view name) noexcept {
    return name.find_first_of(L"\\/:*?\"<>|") == wstring_view::npos;
}

/// Owns the handle of a folder, opened to be asked about.
class OpenFolder {
public:
    explicit OpenFolder(const std::wstring& path) noexcept
        : m_handle(::CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                 FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                 OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)) {}
    OpenFolder(const OpenFolder&) = delete;
    OpenFolder& operator=(const OpenFolder&) = delete;
    ~OpenFolder() {
        if (m_handle != INVALID_HANDLE_VALUE) ::CloseHandle(m_handle);
    }
    HANDLE get() const noexcept { return m_handle; }

private:
    HANDLE m_handle;
};

/// A path in the letter case that its folders have on the disk: a file system that tells cases
/// apart finds it sooner.
std::wstring asOnDisk(const std::wstring& path) {
    const OpenFolder folder(path);
    constexpr wstring_view kPrefix = L"\\\\?\\";
    wchar_t found[MAX_PATH];
    const DWORD length =
        ::GetFinalPathNameByHandleW(folder.get(), found, MAX_PATH, FILE_NAME_NORMALIZED);
    if (length <= kPrefix.size() || length >= MAX_PATH) return path;
    const wchar_t* const onDisk = found + kPrefix.size();
    // Where links lead does not count: they may come to lead elsewhere.
    const int order = ::CompareStringOrdinal(path.c_str(), -1, onDisk, -1, TRUE);
    if (order != CSTR_EQUAL) return path;
    return onDisk;
}

std::wstring withoutLastSlash(std::wstring path) {
    const bool isRoot = path.size() == std::size(L"C:\\") - 1;
    if (!isRoot && path.back() == L'\\') path.pop_back();
    return path;
}

bool isMissing(const std::wstring& path) noexcept {
    if (::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) return false;
    const DWORD error = ::GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

/// Whether a folder changes its times with everything that comes into it, and at once.
bool keepsTimes(const std::wstring& path) noexcept {
    wchar_t volume[MAX_PATH];
    if (!::GetVolumePathNameW(path.c_str(), volume, MAX_PATH) ||
        ::GetDriveTypeW(volume) != DRIVE_FIXED) {
        return false;
    }
    const OpenFolder folder(path);
    wchar_t fileSystem[MAX_PATH + 1];
    if (!::GetVolumeInformationByHandleW(folder.get(), nullptr, 0, nullptr, nullptr, nullptr,
                                         fileSystem, MAX_PATH + 1)) {
        return false;
    }
    return wstring_view(fileSystem) == L"NTFS" || wstring_view(fileSystem) == L"ReFS";
}

/// Whether there may be a library of this name that needs no file in a folder of the search: one
/// that is loaded, or one that stands in a folder that AddDllDirectory has added.
bool mayComeFromElsewhere(const std::wstring& name) noexcept {
    if (const HMODULE library =
            ::LoadLibraryExW(name.c_str(), nullptr, LOAD_LIBRARY_SEARCH_USER_DIRS)) {
        ::FreeLibrary(library);
        return true;
    }
    return ::GetLastError() != ERROR_MOD_NOT_FOUND;
}

LONGLONG now() noexcept {
    FILETIME time;
    ::GetSystemTimeAsFileTime(&time);
    return static_cast<LONGLONG>(static_cast<ULONGLONG>(time.dwHighDateTime) << 32 |
                                 time.dwLowDateTime);
}

/// FILE_NETWORK_OPEN_INFORMATION, which only the headers for drivers have.
struct OpenInformation {
    LARGE_INTEGER created, accessed, written, changed, allocated, size;
    ULONG attributes;
};
using QueryFullAttributesFile = NTSTATUS(NTAPI*)(OBJECT_ATTRIBUTES*, OpenInformation*);

}  // namespace

std::optional<Absence> Absence::before(SatelliteSearch search) {
    if (search.names.empty() ||
        !std::all_of(search.names.begin(), search.names.end(), isPlainName)) {
        return std::nullopt;
    }
    const platform::QuietErrorMode quiet;
    Absence absence;
    for (const std::wstring& prefix : search.prefixes) {
        // A relative prefix is searched for along the system's folders.
        if (!isOnDrive(prefix)) return std::nullopt;
        const platform::PathParts parts = platform::splitPath(prefix);
        if (!absence.addFolder({prefix.data(), parts.drive.size() + parts.directory.size()})) {
            return std::nullopt;
        }
    }
    absence.m_search = std::move(search);
    if (absence.m_search.bySystem && !absence.addSystemFolders()) return std::nullopt;

    const LONGLONG rested = now() - kRest;
    for (const Folder& folder : absence.m_folders) {
        if (folder.times.exists && folder.times.changed > rested) return std::nullopt;
    }
    return absence;
}

bool Absence::confirm() {
    const platform::QuietErrorMode quiet;
    for (Folder& folder : m_folders) {
        if (!folder.times.exists) continue;
        const std::wstring path = folder.nativePath.substr(kNativePrefix.size());
        if (!keepsTimes(path)) return false;
        folder.nativePath = std::wstring(kNativePrefix) + asOnDisk(path);
    }
    for (const std::wstring& prefix : m_search.prefixes) {
        for (const std::wstring& name : m_search.names) {
            if (!isMissing(prefix + name)) return false;
        }
    }
    // With such a file or folder, paths do not always lead where they say.
    wchar_t program[MAX_PATH];
    const DWORD length = ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return false;
    return isMissing(std::wstring(program, length) + L".local");
}

bool Absence::holds(wstring_view modulePath) const noexcept {
    if (m_search.modulePath != modulePath) return false;
    const platform::QuietErrorMode quiet;
    if (m_search.bySystem) {
        const Surroundings surroundings;
        if (!surroundings.isWhole() || surroundings.text() != m_surroundings) return false;
        for (const std::wstring& name : m_search.names) {
            if (mayComeFromElsewhere(name)) return false;
        }
    }
    for (const Folder& folder : m_folders) {
        if (timesOf(folder.nativePath) != folder.times) return false;
    }
    return true;
}

std::optional<Absence::Times> Absence::timesOf(const std::wstring& nativePath) noexcept {
    // The documented call that tells the time of the last change, too: programs that unpack files
    // set back the time of the last writing, but not that one. GetFileAttributesExW leaves it out,
    // and opening the folder takes twenty times as long.
    // Found by whoever comes first, and by all who come at the same time: no guard, which may need
    // memory.
    static constinit std::atomic<QueryFullAttributesFile> s_query{nullptr};
    QueryFullAttributesFile query = s_query.load(std::memory_order_relaxed);
    if (!query) {
        query = reinterpret_cast<QueryFullAttributesFile>(reinterpret_cast<void*>(
            ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQueryFullAttributesFile")));
        if (!query) return std::nullopt;
        s_query.store(query, std::memory_order_relaxed);
    }

    UNICODE_STRING name;
    name.Buffer = const_cast<wchar_t*>(nativePath.c_str());
    name.Length = static_cast<USHORT>(nativePath.size() * sizeof(wchar_t));
    name.MaximumLength = name.Length;
    OBJECT_ATTRIBUTES attributes;
    InitializeObjectAttributes(&attributes, &name, OBJ_CASE_INSENSITIVE, nullptr, nullptr);
    OpenInformation found = {};
    constexpr auto kNameNotFound = static_cast<NTSTATUS>(0xC0000034);
    constexpr auto kPathNotFound = static_cast<NTSTATUS>(0xC000003A);
    const NTSTATUS status = query(&attributes, &found);
    if (status == kNameNotFound || status == kPathNotFound) return Times{};
    // The times of a link are not those of the folder that it leads to.
    const ULONG kind = found.attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
    if (status < 0 || kind != FILE_ATTRIBUTE_DIRECTORY) return std::nullopt;
    return Times{true, found.created.QuadPart, found.written.QuadPart, found.changed.QuadPart};
}

bool Absence::addFolder(wstring_view folder) {
    wchar_t path[MAX_PATH];
    const DWORD length = ::GetFullPathNameW(std::wstring(folder).c_str(), MAX_PATH, path, nullptr);
    if (length == 0 || length >= MAX_PATH || !isOnDrive(path)) return false;

    std::wstring nativePath = std::wstring(kNativePrefix) + withoutLastSlash(path);
    for (const Folder& earlier : m_folders) {
        if (earlier.nativePath == nativePath) return true;
    }
    const auto times = timesOf(nativePath);
    if (!times) return false;
    m_folders.push_back({std::move(nativePath), *times});
    return true;
}

/// Adds the folders of a list like PATH.
bool Absence::addSearchedFolders(wstring_view list) {
    // What stands in quotes, or begins with a drive and no slash, is read in more than one way.
    if (list.find(L'"') != wstring_view::npos) return false;
    while (!list.empty()) {
        const wstring_view folder = takeTo(L';', list);
        if (folder.find(L':') != wstring_view::npos && !isOnDrive(folder)) return false;
        if (!folder.empty() && !addSearchedFolder(folder)) return false;
    }
    return true;
}

bool Absence::addSearchedFolder(wstring_view folder) {
    if (folder.find(L';') != wstring_view::npos) return false;  // more than one for the system
    std::wstring prefix(folder);
    if (!isSlash(prefix.back())) prefix.push_back(L'\\');
    if (!addFolder(prefix)) return false;
    m_search.prefixes.push_back(std::move(prefix));
    return true;
}

bool Absence::addSystemFolders() {
    const Surroundings surroundings;
    if (!surroundings.isWhole()) return false;
    m_surroundings = surroundings.text();
    wstring_view rest = m_surroundings;
    const wstring_view searchPath = takeTo(L'\0', rest);
    const wstring_view currentFolder = takeTo(L'\0', rest);
    const wstring_view addedFolders = takeTo(L'\0', rest);

    wchar_t program[MAX_PATH], system[MAX_PATH], windows[MAX_PATH];
    const UINT programLength = ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    const UINT systemLength = ::GetSystemDirectoryW(system, MAX_PATH);
    const UINT windowsLength = ::GetSystemWindowsDirectoryW(windows, MAX_PATH);
    for (const UINT length : {programLength, systemLength, windowsLength}) {
        if (length == 0 || length >= MAX_PATH) return false;
    }
    const platform::PathParts parts = platform::splitPath({program, programLength});
    const std::wstring system16 = std::wstring(windows) + L"\\system";
    const wstring_view folders[] = {{program, parts.drive.size() + parts.directory.size()},
                                    {system, systemLength},
                                    {windows, windowsLength},
                                    system16,
                                    currentFolder};
    for (const wstring_view folder : folders) {
        if (!addSearchedFolder(folder)) return false;
    }
    return addSearchedFolders(addedFolders) && addSearchedFolders(searchPath);
}

}  // namespace i18nres
