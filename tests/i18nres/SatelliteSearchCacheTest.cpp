#include <windows.h>

#include <winternl.h>

#include <doctest/doctest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <new>
#include <string>
#include <string_view>

#include "i18nres/Manager.h"
#include "tests/i18nres/ProtectedManager.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using testsupport::CurrentFolder;
using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::ReplacedImport;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;
using testsupport::ScopedVariable;

int g_attempts;
decltype(&::LoadLibraryW) g_loadLibrary;

HMODULE WINAPI countAttempt(const wchar_t* name) {
    ++g_attempts;
    return g_loadLibrary(name);
}

decltype(&::GetSystemTimeAsFileTime) g_systemTime;

// Reports a time that is one hour ahead of the system time. With this time, the files and
// folders of the test are old enough for a failed search to be cached.
void WINAPI reportLaterTime(FILETIME* time) {
    g_systemTime(time);
    ULARGE_INTEGER later = {{time->dwLowDateTime, time->dwHighDateTime}};
    later.QuadPart += 36'000'000'000;
    *time = {later.LowPart, later.HighPart};
}

// The time in milliseconds that GetTickCount64 reports. The value changes only when a test sets it.
ULONGLONG g_ticks = 0;
ULONGLONG WINAPI reportTicks() { return g_ticks; }

LONGLONG lastWriteTime(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    REQUIRE(::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data));
    return static_cast<LONGLONG>(
        ULARGE_INTEGER{{data.ftLastWriteTime.dwLowDateTime, data.ftLastWriteTime.dwHighDateTime}}
            .QuadPart);
}

// Creates a folder with a module that has no satellites. Replaces LoadLibraryW,
// GetSystemTimeAsFileTime and GetTickCount64 in the DLL. The name of the module is unique to this
// process, because some tests put its satellites into folders that all processes share.
class ModuleWithoutSatellites {
public:
    ModuleWithoutSatellites()
        : m_name(L"cached" + std::to_wstring(::GetCurrentProcessId())),
          m_loadLibrary("LoadLibraryW", &countAttempt),
          m_systemTime("GetSystemTimeAsFileTime", &reportLaterTime),
          m_ticks("GetTickCount64", &reportTicks) {
        g_loadLibrary = m_loadLibrary.original();
        g_systemTime = m_systemTime.original();
        m_folder.put(L"module\\" + module(), ResourceLibrary());
    }

    std::wstring module() const { return m_name + L".dll"; }
    std::wstring satellite() const { return m_name + L"_fr.dll"; }
    std::wstring file(const std::wstring& name) const { return m_folder.file(name); }
    std::wstring path() const { return file(L"module\\" + module()); }

    void put(const std::wstring& name, const std::string& bytes) { m_folder.put(name, bytes); }
    void makeFolder(const std::wstring& name) { std::filesystem::create_directories(file(name)); }

    // Waits until the clock of the file system advances, so that the next change to a folder gives
    // the folder a different timestamp.
    void waitForNextTime() {
        put(L"clock", "");
        const LONGLONG before = lastWriteTime(file(L"clock"));
        for (int tries = 0; tries < 100'000; ++tries) {
            put(L"clock", "");
            if (lastWriteTime(file(L"clock")) != before) return;
        }
        FAIL("the clock of the file system does not go on");
    }

private:
    SatelliteFolder m_folder;
    std::wstring m_name;
    ReplacedImport<decltype(::LoadLibraryW)> m_loadLibrary;
    ReplacedImport<decltype(::GetSystemTimeAsFileTime)> m_systemTime;
    ReplacedImport<decltype(::GetTickCount64)> m_ticks;
};

bool finds(const ModuleWithoutSatellites& tested) {
    return ProtectedManager::record(tested.module().c_str())->hCultureLib != nullptr;
}

int attemptsOfLookup(const ModuleWithoutSatellites& tested) {
    g_attempts = 0;
    CHECK_FALSE(finds(tested));
    return g_attempts;
}

// Repeats a lookup until the manager does not search for satellites. Returns false if the manager
// searches in each of 40 lookups. More than one lookup may be needed, because other tests may
// change folders in which the system searches for DLLs.
bool isRemembered(const ModuleWithoutSatellites& tested) {
    for (int lookup = 0; lookup < 40; ++lookup) {
        if (attemptsOfLookup(tested) == 0) return true;
    }
    return false;
}

// Repeats a lookup until the manager has cached the failure of the search for satellites.
void cacheFailure(ModuleWithoutSatellites& tested) {
    CHECK(attemptsOfLookup(tested) > 0);
    REQUIRE(isRemembered(tested));
    tested.waitForNextTime();
}

// Creates a satellite, and its folder if necessary. The destructor deletes the satellite, and also
// the folder if this object has created it.
class PlacedSatellite {
public:
    explicit PlacedSatellite(std::filesystem::path path) : m_path(std::move(path)) {}
    PlacedSatellite(const PlacedSatellite&) = delete;
    PlacedSatellite& operator=(const PlacedSatellite&) = delete;
    ~PlacedSatellite() {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
        if (m_madeFolder) std::filesystem::remove(m_path.parent_path(), ignored);
    }

    void put() {
        m_madeFolder = std::filesystem::create_directory(m_path.parent_path());
        std::ofstream stream(m_path, std::ios::binary);
        const std::string image = ResourceLibrary().image();
        stream.write(image.data(), static_cast<std::streamsize>(image.size()));
        REQUIRE(stream.good());
    }

private:
    std::filesystem::path m_path;
    bool m_madeFolder = false;
};

std::filesystem::path programFolder() {
    wchar_t program[MAX_PATH];
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    return std::filesystem::path(program).parent_path();
}

std::filesystem::path windowsFolder() {
    wchar_t folder[MAX_PATH];
    ::GetSystemWindowsDirectoryW(folder, MAX_PATH);
    return folder;
}

// Sets a folder with SetDllDirectory until the end of the scope. While a folder is set, the system
// does not search the current folder for DLLs.
struct DllDirectory {
    explicit DllDirectory(const wchar_t* folder) { ::SetDllDirectoryW(folder); }
    DllDirectory(const DllDirectory&) = delete;
    DllDirectory& operator=(const DllDirectory&) = delete;
    ~DllDirectory() { ::SetDllDirectoryW(nullptr); }
};

// Failed searches that are cached

TEST_CASE("A failed search for satellites is not repeated") {
    ModuleWithoutSatellites tested;
    const LoadedModule module(tested.path());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    CHECK(attemptsOfLookup(tested) == 8);
    CHECK(isRemembered(tested));

    manager->useResourcePathOnly(true);
    CHECK(attemptsOfLookup(tested) == 4);
    CHECK(attemptsOfLookup(tested) == 0);
}

TEST_CASE("A failed search is repeated while the last change of a searched folder is recent") {
    ModuleWithoutSatellites tested;
    const LoadedModule module(tested.path());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    const ReplacedImport systemTime("GetSystemTimeAsFileTime", g_systemTime);
    manager->useResourcePathOnly(true);
    tested.put(L"module\\other.txt", "");

    for (int lookup = 0; lookup < 40; ++lookup) CHECK(attemptsOfLookup(tested) == 4);
}

TEST_CASE("A failed search is repeated after three seconds") {
    ModuleWithoutSatellites tested;
    const LoadedModule module(tested.path());
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    CHECK(attemptsOfLookup(tested) > 0);

    for (int period = 0; period < 3; ++period) {
        g_ticks += 2999;
        CHECK(attemptsOfLookup(tested) == 0);
        g_ticks += 1;
        CHECK(attemptsOfLookup(tested) > 0);
    }
}

TEST_CASE("A failed search is repeated after the culture or the search settings change") {
    ModuleWithoutSatellites tested;
    const LoadedModule module(tested.path());
    const ManagerSession manager;
    const std::function<void()> changes[] = {
        [&] { manager->setCulture(L"de-DE"); },
        [&] { manager->setDefaultCulture(L"en-GB"); },
        [&] { manager->setCulture(nullptr); },
        [&] { manager->setResourcePath(tested.file(L"").c_str()); },
        [&] { manager->useResourcePathOnly(true); },
        [&] { manager->useResourcePathOnly(false); },
    };
    for (const auto& change : changes) {
        CHECK(attemptsOfLookup(tested) > 0);
        REQUIRE(isRemembered(tested));
        change();
    }
    CHECK(attemptsOfLookup(tested) > 0);
}

// Changes that are detected

TEST_CASE("A satellite that appears in any searched folder is found by the next lookup") {
    ModuleWithoutSatellites tested;
    for (const wchar_t* folder : {L"resources", L"current", L"searched", L"added"}) {
        tested.makeFolder(folder);
    }
    const std::filesystem::path folders[] = {
        tested.file(L"module"),        tested.file(L"resources"),   programFolder(),
        windowsFolder() / L"system32", windowsFolder() / L"system", windowsFolder(),
        tested.file(L"current"),       tested.file(L"searched"),    tested.file(L"not there yet"),
        tested.file(L"added"),
    };
    for (const std::filesystem::path& folder : folders) {
        CAPTURE(folder.string());
        PlacedSatellite satellite(folder / tested.satellite());
        const LoadedModule module(tested.path());
        const CurrentFolder current(tested.file(L"current"));
        const ScopedVariable path(
            L"PATH", (tested.file(L"searched") + L";" + tested.file(L"not there yet")).c_str());
        const DllDirectory added(folder.filename() == L"added" ? folder.c_str() : nullptr);
        const ManagerSession manager;
        manager->setResourcePath(tested.file(L"resources\\").c_str());
        REQUIRE(manager->setCulture(L"fr-CA"));
        cacheFailure(tested);

        satellite.put();

        CHECK(finds(tested));
    }
}

TEST_CASE("A satellite is found in a folder of PATH that is written with slashes") {
    ModuleWithoutSatellites tested;
    tested.makeFolder(L"searched");
    const LoadedModule module(tested.path());
    std::wstring folder = tested.file(L"searched/");
    std::replace(folder.begin(), folder.end(), L'\\', L'/');
    const ScopedVariable path(L"PATH", (L";" + folder + L";").c_str());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    cacheFailure(tested);

    tested.put(L"searched\\" + tested.satellite(), ResourceLibrary().image());

    CHECK(finds(tested));
}

TEST_CASE("A satellite that appears together with its folder and the parent folder is found") {
    ModuleWithoutSatellites tested;
    const LoadedModule module(tested.path());
    const ScopedVariable path(L"PATH", tested.file(L"not there\\yet").c_str());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    cacheFailure(tested);

    tested.put(L"not there\\yet\\" + tested.satellite(), ResourceLibrary().image());

    CHECK(finds(tested));
}

TEST_CASE("A satellite that appears beside the module is found with useResourcePathOnly") {
    ModuleWithoutSatellites tested;
    const LoadedModule module(tested.path());
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    REQUIRE(manager->setCulture(L"fr-CA"));
    cacheFailure(tested);

    tested.put(L"module\\" + tested.satellite(), ResourceLibrary().image());

    CHECK(finds(tested));
}

TEST_CASE("A satellite is found for a resource path that ends with part of a file name") {
    ModuleWithoutSatellites tested;
    const LoadedModule module(tested.path());
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    manager->setResourcePath(tested.file(L"res").c_str());
    REQUIRE(manager->setCulture(L"fr-CA"));
    tested.put(L"clock", "");
    cacheFailure(tested);

    tested.put(L"res" + tested.satellite(), ResourceLibrary().image());

    CHECK(finds(tested));
}

TEST_CASE("A satellite that appears is found even if the timestamps of its folder are set back") {
    ModuleWithoutSatellites tested;
    const LoadedModule module(tested.path());
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    REQUIRE(manager->setCulture(L"fr-CA"));
    WIN32_FILE_ATTRIBUTE_DATA before;
    REQUIRE(::GetFileAttributesExW(tested.file(L"module").c_str(), GetFileExInfoStandard, &before));
    cacheFailure(tested);

    tested.put(L"module\\" + tested.satellite(), ResourceLibrary().image());
    const HANDLE folder =
        ::CreateFileW(tested.file(L"module").c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ,
                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    REQUIRE(folder != INVALID_HANDLE_VALUE);
    CHECK(::SetFileTime(folder, &before.ftCreationTime, &before.ftLastAccessTime,
                        &before.ftLastWriteTime));
    ::CloseHandle(folder);

    CHECK(finds(tested));
}

TEST_CASE("A folder that replaces a searched folder is searched") {
    ModuleWithoutSatellites tested;
    tested.makeFolder(L"searched");
    tested.put(L"other\\" + tested.satellite(), ResourceLibrary().image());
    const LoadedModule module(tested.path());
    const ScopedVariable path(L"PATH", tested.file(L"searched").c_str());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    cacheFailure(tested);

    REQUIRE(::MoveFileW(tested.file(L"searched").c_str(), tested.file(L"away").c_str()));
    REQUIRE(::MoveFileW(tested.file(L"other").c_str(), tested.file(L"searched").c_str()));

    CHECK(finds(tested));
}

// Until the end of the scope, all calls to NtQueryFullAttributesFile in this process are redirected
// to a function that reports the same timestamps for every folder. The library may already have the
// address of the original function, so the first bytes of that function are overwritten with a
// jump.
class EqualTimes {
public:
    EqualTimes()
        : m_code(reinterpret_cast<BYTE*>(reinterpret_cast<void*>(
              ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQueryFullAttributesFile")))) {
        REQUIRE(m_code);
        BYTE jump[] = {0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xE0};  // mov rax, ...; jmp rax
        const auto target = reinterpret_cast<ULONG_PTR>(&report);
        std::memcpy(jump + 2, &target, sizeof(target));
        std::memcpy(m_before, m_code, sizeof(m_before));
        overwrite(jump);
    }
    EqualTimes(const EqualTimes&) = delete;
    EqualTimes& operator=(const EqualTimes&) = delete;
    ~EqualTimes() { overwrite(m_before); }

private:
    struct OpenInformation {
        LARGE_INTEGER created, accessed, written, changed, allocated, size;
        ULONG attributes;
    };

    static NTSTATUS NTAPI report(const OBJECT_ATTRIBUTES* file, OpenInformation* information) {
        const UNICODE_STRING& name = *file->ObjectName;
        const std::wstring path(name.Buffer + 4, name.Length / sizeof(wchar_t) - 4);  // "\\??\\"
        *information = {};
        information->attributes = ::GetFileAttributesW(path.c_str());
        const bool exists = information->attributes != INVALID_FILE_ATTRIBUTES;
        return exists ? 0 : static_cast<NTSTATUS>(0xC0000034);  // STATUS_OBJECT_NAME_NOT_FOUND
    }

    void overwrite(const BYTE (&bytes)[12]) {
        DWORD protection;
        ::VirtualProtect(m_code, sizeof(bytes), PAGE_EXECUTE_READWRITE, &protection);
        std::memcpy(m_code, bytes, sizeof(bytes));
        ::VirtualProtect(m_code, sizeof(bytes), protection, &protection);
        ::FlushInstructionCache(::GetCurrentProcess(), m_code, sizeof(bytes));
    }

    BYTE* m_code;
    BYTE m_before[12];
};

TEST_CASE(
    "A folder that replaces a searched folder with the same timestamps is searched after 100 ms") {
    ModuleWithoutSatellites tested;
    tested.makeFolder(L"searched");
    tested.put(L"other\\" + tested.satellite(), ResourceLibrary().image());
    const LoadedModule module(tested.path());
    const ScopedVariable path(L"PATH", tested.file(L"searched").c_str());
    const EqualTimes equalTimes;
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    REQUIRE(isRemembered(tested));

    REQUIRE(::MoveFileW(tested.file(L"searched").c_str(), tested.file(L"away").c_str()));
    REQUIRE(::MoveFileW(tested.file(L"other").c_str(), tested.file(L"searched").c_str()));
    g_ticks += 99;
    CHECK(attemptsOfLookup(tested) == 0);
    g_ticks += 1;
    CHECK(finds(tested));
}

TEST_CASE("A library with the satellite's name that is loaded from another folder is used") {
    ModuleWithoutSatellites tested;
    tested.put(L"elsewhere\\" + tested.satellite(), ResourceLibrary().image());
    const LoadedModule module(tested.path());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    cacheFailure(tested);

    const LoadedModule elsewhere(tested.file(L"elsewhere\\" + tested.satellite()));

    CHECK(finds(tested));
}

TEST_CASE("A damaged file that is overwritten with a library is found") {
    ModuleWithoutSatellites tested;
    tested.put(L"module\\" + tested.satellite(), std::string(4096, ' '));
    const LoadedModule module(tested.path());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    for (int lookup = 0; lookup < 3; ++lookup) CHECK(attemptsOfLookup(tested) > 0);
    tested.waitForNextTime();

    tested.put(L"module\\" + tested.satellite(), ResourceLibrary().image());

    CHECK(finds(tested));
}

// Adds a folder to the DLL search path with AddDllDirectory, and removes the folder from the path
// at the end of the scope.
class AddedFolder {
public:
    explicit AddedFolder(const std::wstring& path) : m_cookie(::AddDllDirectory(path.c_str())) {
        REQUIRE(m_cookie);
    }
    AddedFolder(const AddedFolder&) = delete;
    AddedFolder& operator=(const AddedFolder&) = delete;
    ~AddedFolder() { ::RemoveDllDirectory(m_cookie); }

private:
    DLL_DIRECTORY_COOKIE m_cookie;
};

int g_codeLoads;
decltype(&::LoadLibraryExW) g_loadLibraryEx;

// Counts libraries that are loaded as executable modules. The handle of a library that is loaded as
// a data file has at least one of its two lowest bits set.
HMODULE WINAPI countCodeLoad(const wchar_t* name, HANDLE file, DWORD flags) {
    const HMODULE library = g_loadLibraryEx(name, file, flags);
    g_codeLoads += library && (reinterpret_cast<ULONG_PTR>(library) & 3) == 0;
    return library;
}

// If the process has not called SetDefaultDllDirectories, the system's DLL search ignores folders
// that were added with AddDllDirectory.
TEST_CASE("A search does not run a library in an AddDllDirectory folder and is not repeated") {
    ModuleWithoutSatellites tested;
    tested.makeFolder(L"added");
    const LoadedModule module(tested.path());
    const AddedFolder added(tested.file(L"added"));
    const ReplacedImport loadLibraryEx("LoadLibraryExW", &countCodeLoad);
    g_loadLibraryEx = loadLibraryEx.original();
    g_codeLoads = 0;
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    cacheFailure(tested);

    tested.put(L"added\\" + tested.satellite(), ResourceLibrary().image());

    CHECK(attemptsOfLookup(tested) > 0);
    CHECK(isRemembered(tested));
    CHECK(g_codeLoads == 0);
    const LoadedModule loaded(tested.file(L"added\\" + tested.satellite()));
    CHECK(finds(tested));
}

TEST_CASE("A satellite is found after PATH, the current folder or the DLL directory is changed") {
    ModuleWithoutSatellites tested;
    tested.put(L"other\\" + tested.satellite(), ResourceLibrary().image());
    const std::wstring other = tested.file(L"other");
    const std::function<void()> changes[] = {
        [&] { ::SetEnvironmentVariableW(L"PATH", other.c_str()); },
        [&] { ::SetEnvironmentVariableW(L"PATH", (L"\"" + other + L"\";" + other).c_str()); },
        [&] { REQUIRE(::SetCurrentDirectoryW(other.c_str())); },
        [&] { ::SetDllDirectoryW(other.c_str()); },
        [&] {
            const std::wstring many = other + std::wstring(4096, L'\\') + L"..\\other";
            ::SetEnvironmentVariableW(L"PATH", (other + L";" + many).c_str());
        },
    };
    for (const auto& change : changes) {
        const LoadedModule module(tested.path());
        const ScopedVariable path(L"PATH", tested.file(L"module").c_str());
        const CurrentFolder current(tested.file(L""));
        // One of the `changes` calls SetDllDirectoryW. The destructor of this object undoes that
        // call.
        const DllDirectory none(nullptr);
        const ManagerSession manager;
        REQUIRE(manager->setCulture(L"fr-CA"));
        cacheFailure(tested);

        change();

        CHECK(finds(tested));
    }
}

TEST_CASE("A module that is loaded again from another folder has that folder's satellites") {
    ModuleWithoutSatellites tested;
    tested.put(L"other\\" + tested.module(), ResourceLibrary().image());
    tested.put(L"other\\" + tested.satellite(), ResourceLibrary().image());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    {
        const LoadedModule module(tested.path());
        cacheFailure(tested);
    }

    const LoadedModule module(tested.file(L"other\\" + tested.module()));

    CHECK(finds(tested));
}

// Failed searches that are not cached

TEST_CASE("A failed search is repeated if a folder cannot be observed") {
    ModuleWithoutSatellites tested;
    const LoadedModule module(tested.path());
    for (const std::wstring& searched :
         {std::wstring(L"\"C:\\windows\""), std::wstring(L"\\\\server\\share"),
          std::wstring(L"C:windows"), std::wstring(L"C:\\what?"), tested.path()}) {
        CAPTURE(searched);
        const ScopedVariable path(L"PATH", searched.c_str());
        const ManagerSession manager;
        CHECK_FALSE(isRemembered(tested));
    }
    const std::wstring tooLong = L"C:\\" + std::wstring(300, L'x') + L"\\";
    for (const std::wstring& prefix :
         {std::wstring(L"resources\\"), std::wstring(L"\\\\server\\share\\"), std::wstring(L"res"),
          tooLong}) {
        CAPTURE(prefix);
        const ManagerSession manager;
        manager->useResourcePathOnly(true);
        manager->setResourcePath(prefix.c_str());
        CHECK_FALSE(isRemembered(tested));
    }
}

TEST_CASE("A failed search is repeated if the name of the current folder contains a semicolon") {
    ModuleWithoutSatellites tested;
    tested.makeFolder(L"one;two");
    const LoadedModule module(tested.path());
    const CurrentFolder current(tested.file(L"one;two"));
    const ManagerSession manager;

    CHECK_FALSE(isRemembered(tested));
}

TEST_CASE("A failed search is repeated if the folder of SetDllDirectory cannot be observed") {
    ModuleWithoutSatellites tested;
    const LoadedModule module(tested.path());
    const DllDirectory added(L"\\\\server\\share");
    const ManagerSession manager;

    CHECK_FALSE(isRemembered(tested));
}

BOOL WINAPI reportFat(HANDLE, wchar_t*, DWORD, DWORD*, DWORD*, DWORD*, wchar_t* fileSystem, DWORD) {
    ::lstrcpyW(fileSystem, L"FAT32");
    return TRUE;
}
BOOL WINAPI reportNothing(HANDLE, wchar_t*, DWORD, DWORD*, DWORD*, DWORD*, wchar_t*, DWORD) {
    return FALSE;
}
UINT WINAPI reportRemote(const wchar_t*) { return DRIVE_REMOTE; }
BOOL WINAPI reportReFs(HANDLE, wchar_t*, DWORD, DWORD*, DWORD*, DWORD*, wchar_t* fileSystem,
                       DWORD) {
    ::lstrcpyW(fileSystem, L"ReFS");
    return TRUE;
}

TEST_CASE("A failed search is repeated on a file system that does not store folder timestamps") {
    ModuleWithoutSatellites tested;
    const LoadedModule module(tested.path());
    const ManagerSession manager;
    const ReplacedImport volume("GetVolumeInformationByHandleW", &reportFat);

    CHECK_FALSE(isRemembered(tested));
}

TEST_CASE("A failed search on ReFS is not repeated") {
    ModuleWithoutSatellites tested;
    const LoadedModule module(tested.path());
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    const ReplacedImport volume("GetVolumeInformationByHandleW", &reportReFs);

    CHECK(isRemembered(tested));
}

TEST_CASE("A failed search is repeated on a file system without a name") {
    ModuleWithoutSatellites tested;
    const LoadedModule module(tested.path());
    const ManagerSession manager;
    const ReplacedImport volume("GetVolumeInformationByHandleW", &reportNothing);

    CHECK_FALSE(isRemembered(tested));
}

TEST_CASE("A failed search is repeated on a network drive") {
    ModuleWithoutSatellites tested;
    const LoadedModule module(tested.path());
    const ManagerSession manager;
    const ReplacedImport drive("GetDriveTypeW", &reportRemote);

    CHECK_FALSE(isRemembered(tested));
}

DWORD WINAPI reportNoPath(HANDLE, wchar_t*, DWORD, DWORD) { return 0; }
DWORD WINAPI reportLongFinalPath(HANDLE, wchar_t*, DWORD, DWORD) { return MAX_PATH; }
DWORD WINAPI reportOtherPath(HANDLE, wchar_t* path, DWORD, DWORD) {
    ::lstrcpyW(path, L"\\\\?\\D:\\elsewhere");
    return 16;
}

TEST_CASE("A folder is observed by the given path if its final path is unavailable or different") {
    for (const auto report : {&reportNoPath, &reportLongFinalPath, &reportOtherPath}) {
        ModuleWithoutSatellites tested;
        const LoadedModule module(tested.path());
        const ManagerSession manager;
        manager->useResourcePathOnly(true);
        REQUIRE(manager->setCulture(L"fr-CA"));
        {
            const ReplacedImport finalPath("GetFinalPathNameByHandleW", report);
            cacheFailure(tested);
        }

        tested.put(L"module\\" + tested.satellite(), ResourceLibrary().image());

        CHECK(finds(tested));
    }
}

// Returns true if the manager caches a failed search while a system function is replaced.
template <class Function>
bool isRememberedWith(ModuleWithoutSatellites& tested, bool bySystem, const char* name,
                      Function* replacement) {
    const LoadedModule module(tested.path());
    const ManagerSession manager;
    manager->useResourcePathOnly(!bySystem);
    const ReplacedImport replaced(name, replacement);
    return isRemembered(tested);
}

decltype(&::GetModuleFileNameW) g_moduleFileName;
decltype(&::GetFileAttributesW) g_fileAttributes;

TEST_CASE("A failed search is repeated if a system function fails") {
    ModuleWithoutSatellites tested;
    g_moduleFileName = &::GetModuleFileNameW;
    g_fileAttributes = &::GetFileAttributesW;

    CHECK_FALSE(isRememberedWith(
        tested, false, "GetFullPathNameW",
        +[](const wchar_t*, DWORD, wchar_t*, wchar_t**) -> DWORD { return 0; }));
    CHECK_FALSE(isRememberedWith(
        tested, false, "GetVolumePathNameW",
        +[](const wchar_t*, wchar_t*, DWORD) -> BOOL { return FALSE; }));
    CHECK_FALSE(isRememberedWith(
        tested, false, "CreateFileW",
        +[](const wchar_t*, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE) -> HANDLE {
            return INVALID_HANDLE_VALUE;
        }));
    CHECK_FALSE(isRememberedWith(
        tested, false, "GetFileAttributesW", +[](const wchar_t*) -> DWORD {
            ::SetLastError(ERROR_ACCESS_DENIED);
            return INVALID_FILE_ATTRIBUTES;
        }));
    CHECK_FALSE(isRememberedWith(
        tested, false, "GetModuleFileNameW", +[](HMODULE module, wchar_t* path, DWORD size) {
            return module ? g_moduleFileName(module, path, size) : 0;
        }));
    CHECK_FALSE(isRememberedWith(
        tested, false, "GetModuleFileNameW", +[](HMODULE module, wchar_t* path, DWORD size) {
            return module ? g_moduleFileName(module, path, size) : size;
        }));
}

TEST_CASE("A failed search is repeated if the system folders cannot be observed") {
    ModuleWithoutSatellites tested;

    CHECK_FALSE(isRememberedWith(
        tested, true, "GetSystemDirectoryW", +[](wchar_t*, UINT) -> UINT { return 0; }));
    CHECK_FALSE(isRememberedWith(
        tested, true, "GetSystemDirectoryW", +[](wchar_t*, UINT size) -> UINT { return size; }));
    CHECK_FALSE(isRememberedWith(
        tested, true, "GetSystemDirectoryW", +[](wchar_t* folder, UINT) -> UINT {
            ::lstrcpyW(folder, L"\\\\server\\share");
            return 14;
        }));
    CHECK_FALSE(isRememberedWith(
        tested, true, "GetSystemWindowsDirectoryW", +[](wchar_t* folder, UINT) -> UINT {
            ::lstrcpyW(folder, L"\\\\server\\share");
            return 14;
        }));
    CHECK_FALSE(isRememberedWith(
        tested, true, "GetSystemWindowsDirectoryW", +[](wchar_t* folder, UINT) -> UINT {
            std::fill_n(folder, 255, L'x');
            ::lstrcpyW(folder + 255, L"");
            folder[1] = L':';
            folder[2] = L'\\';
            return 255;  // the path is too long when "\system" is appended
        }));
}

std::size_t g_pathLength;

// Reports a PATH of g_pathLength semicolons. PATH contains no folders, because a search in
// thousands of folders would take minutes.
DWORD WINAPI reportLongPath(const wchar_t*, wchar_t* text, DWORD bufferSize) {
    if (bufferSize <= g_pathLength) return static_cast<DWORD>(g_pathLength + 1);
    std::fill_n(text, g_pathLength, L';');
    text[g_pathLength] = L'\0';
    return static_cast<DWORD>(g_pathLength);
}

TEST_CASE("A failed search is repeated if the folders of the search take too many characters") {
    ModuleWithoutSatellites tested;
    const CurrentFolder current(tested.file(L""));
    const std::size_t currentLength = ::GetCurrentDirectoryW(0, nullptr);
    const DllDirectory added(tested.file(L"").c_str());

    // The manager caches a failed search only if the search settings (PATH, the current folder and
    // the SetDllDirectory folder) fit into 4096 characters, including terminators. With the first
    // four values of `length`, PATH leaves no room for the current folder. With the last two
    // values, there is room for the current folder, but not for the folder that SetDllDirectory
    // sets.
    for (const std::size_t length :
         {std::size_t{5000}, std::size_t{4096}, std::size_t{4095}, std::size_t{4090},
          4095 - currentLength, 4090 - currentLength}) {
        CAPTURE(length);
        g_pathLength = length;
        CHECK_FALSE(isRememberedWith(tested, true, "GetEnvironmentVariableW", &reportLongPath));
    }
    g_pathLength = 3000;
    CHECK(isRememberedWith(tested, true, "GetEnvironmentVariableW", &reportLongPath));
}

TEST_CASE("A failed search is repeated if a folder beside the program may redirect the search") {
    ModuleWithoutSatellites tested;
    g_fileAttributes = &::GetFileAttributesW;

    CHECK_FALSE(isRememberedWith(
        tested, false, "GetFileAttributesW", +[](const wchar_t* path) {
            const bool redirects = std::wstring_view(path).ends_with(L".local");
            return redirects ? FILE_ATTRIBUTE_DIRECTORY : g_fileAttributes(path);
        }));
}

TEST_CASE("A lookup for missing satellites can be repeated after memory ran out") {
    ModuleWithoutSatellites tested;
    const LoadedModule module(tested.path());
    const ManagerSession manager;
    const std::wstring name = tested.module();

    const long failures = testsupport::sweepAllocationFailures(
        [&] {
            ProtectedManager::freeAll();
            try {
                ProtectedManager::record(name.c_str());
            } catch (const std::bad_alloc&) {
            }
        },
        [&](long) { CHECK_FALSE(finds(tested)); });

    CHECK(failures > 0);
    CHECK(isRemembered(tested));
}

}  // namespace
