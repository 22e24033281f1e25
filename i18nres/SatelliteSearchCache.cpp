#include "i18nres/SatelliteSearchCache.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "platform/ModuleHandle.h"
#include "platform/PathParts.h"
#include "platform/QuietErrorMode.h"
#include "platform/WineAddedFolders.h"

namespace i18nres {

namespace {

using std::wstring_view;

/// A folder's timestamps are trusted only if its last change is at least this old. The unit is 100
/// ns. The value is greater than the timestamp resolution of every file system, so that a later
/// change sets a different timestamp. FAT has the coarsest resolution: two seconds.
constexpr LONGLONG kMinimumAge = 30'000'000;

/// Maximum time in milliseconds for which a failed search stays cached.
constexpr ULONGLONG kLifetime = 3000;

/// Time in milliseconds after which the identities of the folders are checked again. This check
/// takes many times as long as a check of the timestamps.
constexpr ULONGLONG kIdentityInterval = 100;

/// Reads the process settings that determine the system's DLL search order: PATH, the current
/// folder and the folder that SetDllDirectory has set. In text(), a NUL follows each setting.
class SearchEnvironment {
public:
    SearchEnvironment() noexcept {
        m_isComplete =
            append([](wchar_t* text, DWORD size) {
                return ::GetEnvironmentVariableW(L"PATH", text, size);
            }) &&
            append([](wchar_t* text, DWORD size) { return ::GetCurrentDirectoryW(size, text); }) &&
            append([](wchar_t* text, DWORD size) { return ::GetDllDirectoryW(size, text); });
    }

    /// Returns false if the settings do not fit into the buffer.
    bool isComplete() const noexcept { return m_isComplete; }
    wstring_view text() const noexcept { return {m_text, m_length}; }

private:
    template <class Read>
    bool append(Read read) noexcept {
        const auto available = static_cast<DWORD>(std::size(m_text) - m_length);
        if (available == 0) return false;
        const DWORD length = read(m_text + m_length, available);
        if (length >= available) return false;
        m_length += length;
        m_text[m_length++] = L'\0';
        return true;
    }

    wchar_t m_text[4096];
    std::size_t m_length = 0;
    bool m_isComplete = false;
};

/// Removes the text up to and including the first `separator` from `rest`, and returns the text
/// before the separator.
wstring_view takeUpTo(wchar_t separator, wstring_view& rest) noexcept {
    const std::size_t length = std::min(rest.find(separator), rest.size());
    const wstring_view part = rest.substr(0, length);
    rest.remove_prefix(std::min(length + 1, rest.size()));
    return part;
}

bool isSlash(wchar_t character) noexcept { return character == L'\\' || character == L'/'; }

/// Returns true if a path is absolute and starts with a drive, for example "C:\" or "C:\folder".
bool isOnDrive(wstring_view path) noexcept {
    return path.size() >= 3 && path[1] == L':' && isSlash(path[2]);
}

/// Returns true if `name` is a file name without a path.
bool isPlainName(wstring_view name) noexcept {
    return name.find_first_of(L"\\/:*?\"<>|") == wstring_view::npos;
}

wstring_view withoutLastSlash(wstring_view path) noexcept {
    const bool isRoot = path.size() == wstring_view(L"C:\\").size();
    if (!isRoot && path.back() == L'\\') path.remove_suffix(1);
    return path;
}

bool isMissing(const std::wstring& path) noexcept {
    if (::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) return false;
    const DWORD error = ::GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

/// Returns true if a ".local" file or folder may redirect the DLL search of the program.
bool mayBeRedirected() {
    wchar_t program[MAX_PATH];
    const DWORD length = ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return true;
    return !isMissing(std::wstring(program, length) + L".local");
}

bool isInAddedFolders(const std::wstring& name) noexcept {
    return platform::wine::isInAddedFolders(name.c_str());
}

/// Returns true if a library with this name is loaded. In this case, the system's search returns
/// this library, regardless of its folder.
bool isLoaded(const std::wstring& name, bool isInAddedFolders) noexcept {
    if (isInAddedFolders) return ::GetModuleHandleW(name.c_str()) != nullptr;
    // With LOAD_LIBRARY_SEARCH_USER_DIRS, LoadLibraryExW searches only the folders that
    // AddDllDirectory or SetDllDirectory has added. None of these folders contains the file, so
    // LoadLibraryExW returns only a library that is already loaded. GetModuleHandleW is not used
    // here, because under Wine it searches all folders before it returns null, and takes as long as
    // a failing load.
    const platform::ModuleHandle library(
        ::LoadLibraryExW(name.c_str(), nullptr, LOAD_LIBRARY_SEARCH_USER_DIRS));
    return static_cast<bool>(library);
}

/// Returns the current time as a FILETIME value.
LONGLONG systemTime() noexcept {
    FILETIME time;
    ::GetSystemTimeAsFileTime(&time);
    return static_cast<LONGLONG>(static_cast<ULONGLONG>(time.dwHighDateTime) << 32 |
                                 time.dwLowDateTime);
}

}  // namespace

std::optional<SatelliteSearchCache> SatelliteSearchCache::watch(const SatelliteSearch& search) {
    const platform::QuietErrorMode quiet;
    SatelliteSearchCache cache;
    cache.m_watchedSince = cache.m_identitiesCheckedAt = ::GetTickCount64();
    cache.m_modulePath = search.modulePath;
    cache.m_names = search.defaultNames;
    cache.m_names.insert(cache.m_names.end(), search.cultureNames.begin(),
                         search.cultureNames.end());
    if (!std::all_of(cache.m_names.begin(), cache.m_names.end(), isPlainName)) return std::nullopt;
    for (const std::wstring& prefix : search.prefixes) {
        // The system would search for a relative path in every folder of its search order.
        if (!isOnDrive(prefix)) return std::nullopt;
        const platform::PathParts parts = platform::splitPath(prefix);
        if (!cache.addFolder({prefix.data(), parts.drive.size() + parts.directory.size()})) {
            return std::nullopt;
        }
        cache.m_prefixes.push_back(prefix);
    }
    cache.m_bySystem = search.bySystem;
    if (cache.m_bySystem && !cache.addSystemFolders()) return std::nullopt;

    const LONGLONG latestTrustedChange = systemTime() - kMinimumAge;
    for (const WatchedFolder& folder : cache.m_folders) {
        if (folder.changedAfter(latestTrustedChange)) return std::nullopt;
    }
    return cache;
}

bool SatelliteSearchCache::seal() {
    const platform::QuietErrorMode quiet;
    for (const WatchedFolder& folder : m_folders) {
        if (folder.exists() && !folder.hasReliableTimestamps()) return false;
    }
    for (const std::wstring& prefix : m_prefixes) {
        for (const std::wstring& name : m_names) {
            if (!isMissing(prefix + name)) return false;
        }
    }
    return !mayBeRedirected();
}

bool SatelliteSearchCache::stillValid(wstring_view modulePath) noexcept {
    if (m_modulePath != modulePath) return false;
    const ULONGLONG now = ::GetTickCount64();
    if (now - m_watchedSince >= kLifetime) return false;
    const platform::QuietErrorMode quiet;
    if (m_bySystem) {
        const SearchEnvironment environment;
        if (!environment.isComplete() || environment.text() != m_environment) return false;
        for (std::size_t i = 0; i < m_names.size(); ++i) {
            const std::wstring& name = m_names[i];
            const bool isInAdded = isInAddedFolders(name);
            if (isInAdded != m_areInAddedFolders[i] || isLoaded(name, isInAdded)) return false;
        }
    }
    for (const WatchedFolder& folder : m_folders) {
        if (!folder.hasSameTimes()) return false;
    }
    if (now - m_identitiesCheckedAt < kIdentityInterval) return true;
    m_identitiesCheckedAt = now;
    return std::all_of(m_folders.begin(), m_folders.end(),
                       [](const WatchedFolder& folder) { return folder.isSameFolder(); });
}

bool SatelliteSearchCache::addFolder(wstring_view folder) {
    wchar_t path[MAX_PATH];
    const DWORD length = ::GetFullPathNameW(std::wstring(folder).c_str(), MAX_PATH, path, nullptr);
    if (length == 0 || length >= MAX_PATH || !isOnDrive(path)) return false;

    const wstring_view added = withoutLastSlash({path, length});
    for (const WatchedFolder& earlier : m_folders) {
        if (earlier.isAt(added)) return true;
    }
    auto watched = WatchedFolder::at(std::wstring(added));
    if (!watched) return false;
    m_folders.push_back(std::move(*watched));
    return true;
}

/// Adds the folders in a semicolon-separated list such as PATH.
bool SatelliteSearchCache::addSearchedFolders(wstring_view list) {
    // Reject a list that contains quotation marks, or a drive letter that is not followed by a
    // slash. Such a list can be interpreted in more than one way.
    if (list.find(L'"') != wstring_view::npos) return false;
    while (!list.empty()) {
        const wstring_view folder = takeUpTo(L';', list);
        if (folder.find(L':') != wstring_view::npos && !isOnDrive(folder)) return false;
        if (!folder.empty() && !addSearchedFolder(folder)) return false;
    }
    return true;
}

bool SatelliteSearchCache::addSearchedFolder(wstring_view folder) {
    // In a list of folders, the system would split a path that contains a semicolon.
    if (folder.find(L';') != wstring_view::npos) return false;
    std::wstring prefix(folder);
    if (!isSlash(prefix.back())) prefix.push_back(L'\\');
    if (!addFolder(prefix)) return false;
    m_prefixes.push_back(std::move(prefix));
    return true;
}

bool SatelliteSearchCache::addSystemFolders() {
    const SearchEnvironment environment;
    if (!environment.isComplete()) return false;
    m_environment = environment.text();
    wstring_view rest = m_environment;
    const wstring_view searchPath = takeUpTo(L'\0', rest);
    const wstring_view currentFolder = takeUpTo(L'\0', rest);
    const wstring_view dllDirectory = takeUpTo(L'\0', rest);

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
    // Folders that AddDllDirectory has added are not watched, because the system searches them only
    // if the process has called SetDefaultDllDirectories. For these folders, the cache stores only
    // whether they contain files with the names of the satellites.
    for (const std::wstring& name : m_names) {
        m_areInAddedFolders.push_back(isInAddedFolders(name));
    }
    return addSearchedFolders(dllDirectory) && addSearchedFolders(searchPath);
}

}  // namespace i18nres
