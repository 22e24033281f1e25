#include <windows.h>

#include <doctest/doctest.h>

#include <algorithm>
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

// An hour ahead: whatever the test has made stands there for long.
void WINAPI tellLaterTime(FILETIME* time) {
    g_systemTime(time);
    ULARGE_INTEGER later = {{time->dwLowDateTime, time->dwHighDateTime}};
    later.QuadPart += 36'000'000'000;
    *time = {later.LowPart, later.HighPart};
}

LONGLONG lastWriteTime(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    REQUIRE(::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data));
    return static_cast<LONGLONG>(
        ULARGE_INTEGER{{data.ftLastWriteTime.dwLowDateTime, data.ftLastWriteTime.dwHighDateTime}}
            .QuadPart);
}

// A module without satellites, in a process that knows it for long. Its name is this process's own,
// as its satellites come to stand in folders that all processes share.
class LonelyModule {
public:
    LonelyModule()
        : m_name(L"lonely" + std::to_wstring(::GetCurrentProcessId())),
          m_loadLibrary("LoadLibraryW", &countAttempt),
          m_systemTime("GetSystemTimeAsFileTime", &tellLaterTime) {
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

    // Until a change of a folder gets another time than those that were made so far.
    void letTimePass() {
        put(L"clock", "");
        const LONGLONG before = lastWriteTime(file(L"clock"));
        while (lastWriteTime(file(L"clock")) == before) put(L"clock", "");
    }

private:
    SatelliteFolder m_folder;
    std::wstring m_name;
    ReplacedImport<decltype(::LoadLibraryW)> m_loadLibrary;
    ReplacedImport<decltype(::GetSystemTimeAsFileTime)> m_systemTime;
};

bool finds(const LonelyModule& lonely) {
    return ProtectedManager::record(lonely.module().c_str())->hCultureLib != nullptr;
}

int attemptsOfLookup(const LonelyModule& lonely) {
    g_attempts = 0;
    CHECK_FALSE(finds(lonely));
    return g_attempts;
}

// Whether there comes a lookup that tries nothing. Other tests change folders of the system's
// search at the same time.
bool comesToRest(const LonelyModule& lonely) {
    for (int lookup = 0; lookup < 40; ++lookup) {
        if (attemptsOfLookup(lonely) == 0) return true;
    }
    return false;
}

// Behind this, the manager is certain that there is nothing.
void settle(LonelyModule& lonely) {
    CHECK(attemptsOfLookup(lonely) > 0);
    REQUIRE(comesToRest(lonely));
    lonely.letTimePass();
}

// A file, and its folder where that is not there, to the end of the scope.
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

// With one, the current folder is not searched any more.
struct DllDirectory {
    explicit DllDirectory(const wchar_t* folder) { ::SetDllDirectoryW(folder); }
    DllDirectory(const DllDirectory&) = delete;
    DllDirectory& operator=(const DllDirectory&) = delete;
    ~DllDirectory() { ::SetDllDirectoryW(nullptr); }
};

// What is not tried again

TEST_CASE("satellites that are nowhere are tried once") {
    LonelyModule lonely;
    const LoadedModule module(lonely.path());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    CHECK(attemptsOfLookup(lonely) == 8);
    CHECK(comesToRest(lonely));

    manager->useResourcePathOnly(true);
    CHECK(attemptsOfLookup(lonely) == 4);
    CHECK(attemptsOfLookup(lonely) == 0);
}

TEST_CASE("satellites are tried again while a folder has changed just now") {
    LonelyModule lonely;
    const LoadedModule module(lonely.path());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    const ReplacedImport systemTime("GetSystemTimeAsFileTime", g_systemTime);
    manager->useResourcePathOnly(true);
    lonely.put(L"module\\other.txt", "");

    for (int lookup = 0; lookup < 40; ++lookup) CHECK(attemptsOfLookup(lonely) == 4);
}

TEST_CASE("a change of what is asked for tries the satellites again") {
    LonelyModule lonely;
    const LoadedModule module(lonely.path());
    const ManagerSession manager;
    const std::function<void()> changes[] = {
        [&] { manager->setCulture(L"de-DE"); },
        [&] { manager->setDefaultCulture(L"en-GB"); },
        [&] { manager->setCulture(nullptr); },
        [&] { manager->setResourcePath(lonely.file(L"").c_str()); },
        [&] { manager->useResourcePathOnly(true); },
        [&] { manager->useResourcePathOnly(false); },
    };
    for (const auto& change : changes) {
        CHECK(attemptsOfLookup(lonely) > 0);
        REQUIRE(comesToRest(lonely));
        change();
    }
    CHECK(attemptsOfLookup(lonely) > 0);
}

// What is found all the same

TEST_CASE("a satellite that comes to stand anywhere is found by the next lookup") {
    LonelyModule lonely;
    for (const wchar_t* folder : {L"resources", L"current", L"searched", L"added"}) {
        lonely.makeFolder(folder);
    }
    const std::filesystem::path folders[] = {
        lonely.file(L"module"),        lonely.file(L"resources"),   programFolder(),
        windowsFolder() / L"system32", windowsFolder() / L"system", windowsFolder(),
        lonely.file(L"current"),       lonely.file(L"searched"),    lonely.file(L"not there yet"),
        lonely.file(L"added"),
    };
    for (const std::filesystem::path& folder : folders) {
        CAPTURE(folder.string());
        PlacedSatellite satellite(folder / lonely.satellite());
        const LoadedModule module(lonely.path());
        const CurrentFolder current(lonely.file(L"current"));
        const ScopedVariable path(
            L"PATH", (lonely.file(L"searched") + L";" + lonely.file(L"not there yet")).c_str());
        const DllDirectory added(folder.filename() == L"added" ? folder.c_str() : nullptr);
        const ManagerSession manager;
        manager->setResourcePath(lonely.file(L"resources\\").c_str());
        REQUIRE(manager->setCulture(L"fr-CA"));
        settle(lonely);

        satellite.put();

        CHECK(finds(lonely));
    }
}

TEST_CASE("a satellite is found in a folder of PATH that is written with slashes") {
    LonelyModule lonely;
    lonely.makeFolder(L"searched");
    const LoadedModule module(lonely.path());
    std::wstring folder = lonely.file(L"searched/");
    std::replace(folder.begin(), folder.end(), L'\\', L'/');
    const ScopedVariable path(L"PATH", (L";" + folder + L";").c_str());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    settle(lonely);

    lonely.put(L"searched\\" + lonely.satellite(), ResourceLibrary().image());

    CHECK(finds(lonely));
}

TEST_CASE("a satellite that comes with its folder and the folder around that is found") {
    LonelyModule lonely;
    const LoadedModule module(lonely.path());
    const ScopedVariable path(L"PATH", lonely.file(L"not there\\yet").c_str());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    settle(lonely);

    lonely.put(L"not there\\yet\\" + lonely.satellite(), ResourceLibrary().image());

    CHECK(finds(lonely));
}

TEST_CASE("a satellite beside the module is found under useResourcePathOnly too") {
    LonelyModule lonely;
    const LoadedModule module(lonely.path());
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    REQUIRE(manager->setCulture(L"fr-CA"));
    settle(lonely);

    lonely.put(L"module\\" + lonely.satellite(), ResourceLibrary().image());

    CHECK(finds(lonely));
}

TEST_CASE("a satellite behind a resource path that ends within a name is found") {
    LonelyModule lonely;
    const LoadedModule module(lonely.path());
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    manager->setResourcePath(lonely.file(L"res").c_str());
    REQUIRE(manager->setCulture(L"fr-CA"));
    lonely.put(L"clock", "");
    settle(lonely);

    lonely.put(L"res" + lonely.satellite(), ResourceLibrary().image());

    CHECK(finds(lonely));
}

TEST_CASE("a folder whose times are set back does not hide a satellite") {
    LonelyModule lonely;
    const LoadedModule module(lonely.path());
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    REQUIRE(manager->setCulture(L"fr-CA"));
    WIN32_FILE_ATTRIBUTE_DATA before;
    REQUIRE(::GetFileAttributesExW(lonely.file(L"module").c_str(), GetFileExInfoStandard, &before));
    settle(lonely);

    lonely.put(L"module\\" + lonely.satellite(), ResourceLibrary().image());
    const HANDLE folder =
        ::CreateFileW(lonely.file(L"module").c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ,
                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    REQUIRE(folder != INVALID_HANDLE_VALUE);
    CHECK(::SetFileTime(folder, &before.ftCreationTime, &before.ftLastAccessTime,
                        &before.ftLastWriteTime));
    ::CloseHandle(folder);

    CHECK(finds(lonely));
}

TEST_CASE("another folder in the place of a searched one is searched") {
    LonelyModule lonely;
    lonely.makeFolder(L"searched");
    lonely.put(L"other\\" + lonely.satellite(), ResourceLibrary().image());
    const LoadedModule module(lonely.path());
    const ScopedVariable path(L"PATH", lonely.file(L"searched").c_str());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    settle(lonely);

    REQUIRE(::MoveFileW(lonely.file(L"searched").c_str(), lonely.file(L"away").c_str()));
    REQUIRE(::MoveFileW(lonely.file(L"other").c_str(), lonely.file(L"searched").c_str()));

    CHECK(finds(lonely));
}

TEST_CASE("a library of the satellite's name that is loaded from elsewhere serves") {
    LonelyModule lonely;
    lonely.put(L"elsewhere\\" + lonely.satellite(), ResourceLibrary().image());
    const LoadedModule module(lonely.path());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    settle(lonely);

    const LoadedModule elsewhere(lonely.file(L"elsewhere\\" + lonely.satellite()));

    CHECK(finds(lonely));
}

TEST_CASE("a broken file that becomes a library in its place is found") {
    LonelyModule lonely;
    lonely.put(L"module\\" + lonely.satellite(), std::string(4096, ' '));
    const LoadedModule module(lonely.path());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    for (int lookup = 0; lookup < 3; ++lookup) CHECK(attemptsOfLookup(lonely) > 0);
    lonely.letTimePass();

    lonely.put(L"module\\" + lonely.satellite(), ResourceLibrary().image());

    CHECK(finds(lonely));
}

TEST_CASE("a changed PATH or current folder or DLL directory is searched") {
    LonelyModule lonely;
    lonely.put(L"other\\" + lonely.satellite(), ResourceLibrary().image());
    const std::wstring other = lonely.file(L"other");
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
        const LoadedModule module(lonely.path());
        const ScopedVariable path(L"PATH", lonely.file(L"module").c_str());
        const CurrentFolder current(lonely.file(L""));
        const DllDirectory none(nullptr);  // and none behind the change
        const ManagerSession manager;
        REQUIRE(manager->setCulture(L"fr-CA"));
        settle(lonely);

        change();

        CHECK(finds(lonely));
    }
}

TEST_CASE("a module that is loaded anew from another folder has the satellites of that folder") {
    LonelyModule lonely;
    lonely.put(L"other\\" + lonely.module(), ResourceLibrary().image());
    lonely.put(L"other\\" + lonely.satellite(), ResourceLibrary().image());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    {
        const LoadedModule module(lonely.path());
        settle(lonely);
    }

    const LoadedModule module(lonely.file(L"other\\" + lonely.module()));

    CHECK(finds(lonely));
}

// Where it is never certain

TEST_CASE("satellites are tried again where a folder cannot be watched") {
    LonelyModule lonely;
    const LoadedModule module(lonely.path());
    for (const std::wstring& searched :
         {std::wstring(L"\"C:\\windows\""), std::wstring(L"\\\\server\\share"),
          std::wstring(L"C:windows"), std::wstring(L"C:\\what?"), lonely.path()}) {
        CAPTURE(searched);
        const ScopedVariable path(L"PATH", searched.c_str());
        const ManagerSession manager;
        CHECK_FALSE(comesToRest(lonely));
    }
    const std::wstring tooLong = L"C:\\" + std::wstring(300, L'x') + L"\\";
    for (const std::wstring& prefix :
         {std::wstring(L"resources\\"), std::wstring(L"\\\\server\\share\\"), std::wstring(L"res"),
          tooLong}) {
        CAPTURE(prefix);
        const ManagerSession manager;
        manager->useResourcePathOnly(true);
        manager->setResourcePath(prefix.c_str());
        CHECK_FALSE(comesToRest(lonely));
    }
}

TEST_CASE("satellites are tried again where the current folder reads like two of PATH") {
    LonelyModule lonely;
    lonely.makeFolder(L"one;two");
    const LoadedModule module(lonely.path());
    const CurrentFolder current(lonely.file(L"one;two"));
    const ManagerSession manager;

    CHECK_FALSE(comesToRest(lonely));
}

TEST_CASE("satellites are tried again where the folder of SetDllDirectory cannot be watched") {
    LonelyModule lonely;
    const LoadedModule module(lonely.path());
    const DllDirectory added(L"\\\\server\\share");
    const ManagerSession manager;

    CHECK_FALSE(comesToRest(lonely));
}

BOOL WINAPI tellFat(HANDLE, wchar_t*, DWORD, DWORD*, DWORD*, DWORD*, wchar_t* fileSystem, DWORD) {
    ::lstrcpyW(fileSystem, L"FAT32");
    return TRUE;
}
BOOL WINAPI tellNothing(HANDLE, wchar_t*, DWORD, DWORD*, DWORD*, DWORD*, wchar_t*, DWORD) {
    return FALSE;
}
UINT WINAPI tellRemote(const wchar_t*) { return DRIVE_REMOTE; }
BOOL WINAPI tellReFs(HANDLE, wchar_t*, DWORD, DWORD*, DWORD*, DWORD*, wchar_t* fileSystem, DWORD) {
    ::lstrcpyW(fileSystem, L"ReFS");
    return TRUE;
}

TEST_CASE("satellites are tried again on a file system that does not keep the times of folders") {
    LonelyModule lonely;
    const LoadedModule module(lonely.path());
    const ManagerSession manager;
    const ReplacedImport volume("GetVolumeInformationByHandleW", &tellFat);

    CHECK_FALSE(comesToRest(lonely));
}

TEST_CASE("satellites that are nowhere on ReFS are tried once") {
    LonelyModule lonely;
    const LoadedModule module(lonely.path());
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    const ReplacedImport volume("GetVolumeInformationByHandleW", &tellReFs);

    CHECK(comesToRest(lonely));
}

TEST_CASE("satellites are tried again on a file system that does not tell its name") {
    LonelyModule lonely;
    const LoadedModule module(lonely.path());
    const ManagerSession manager;
    const ReplacedImport volume("GetVolumeInformationByHandleW", &tellNothing);

    CHECK_FALSE(comesToRest(lonely));
}

TEST_CASE("satellites are tried again on the disk of another computer") {
    LonelyModule lonely;
    const LoadedModule module(lonely.path());
    const ManagerSession manager;
    const ReplacedImport drive("GetDriveTypeW", &tellRemote);

    CHECK_FALSE(comesToRest(lonely));
}

// Whether the search comes to rest while a function of the system answers otherwise.
template <class Function>
bool restsWith(LonelyModule& lonely, bool bySystem, const char* name, Function* replacement) {
    const LoadedModule module(lonely.path());
    const ManagerSession manager;
    manager->useResourcePathOnly(!bySystem);
    const ReplacedImport replaced(name, replacement);
    return comesToRest(lonely);
}

decltype(&::GetModuleFileNameW) g_moduleFileName;
decltype(&::GetFileAttributesW) g_fileAttributes;

DWORD WINAPI tellNoFolder(HANDLE, wchar_t*, DWORD, DWORD) { return 0; }
DWORD WINAPI tellLongFolder(HANDLE, wchar_t*, DWORD, DWORD) { return MAX_PATH; }
DWORD WINAPI tellOtherFolder(HANDLE, wchar_t* path, DWORD, DWORD) {
    ::lstrcpyW(path, L"\\\\?\\D:\\elsewhere");
    return 16;
}

TEST_CASE("satellites are tried again where the system does not answer") {
    LonelyModule lonely;
    g_moduleFileName = &::GetModuleFileNameW;
    g_fileAttributes = &::GetFileAttributesW;

    CHECK_FALSE(restsWith(
        lonely, false, "GetFullPathNameW",
        +[](const wchar_t*, DWORD, wchar_t*, wchar_t**) -> DWORD { return 0; }));
    CHECK_FALSE(restsWith(
        lonely, false, "GetVolumePathNameW",
        +[](const wchar_t*, wchar_t*, DWORD) -> BOOL { return FALSE; }));
    CHECK_FALSE(restsWith(
        lonely, false, "CreateFileW",
        +[](const wchar_t*, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE) -> HANDLE {
            return INVALID_HANDLE_VALUE;
        }));
    CHECK_FALSE(restsWith(
        lonely, false, "GetFileAttributesW", +[](const wchar_t*) -> DWORD {
            ::SetLastError(ERROR_ACCESS_DENIED);
            return INVALID_FILE_ATTRIBUTES;
        }));
    CHECK_FALSE(restsWith(
        lonely, false, "GetModuleFileNameW", +[](HMODULE module, wchar_t* path, DWORD size) {
            return module ? g_moduleFileName(module, path, size) : 0;
        }));
    CHECK_FALSE(restsWith(
        lonely, false, "GetModuleFileNameW", +[](HMODULE module, wchar_t* path, DWORD size) {
            return module ? g_moduleFileName(module, path, size) : size;
        }));
}

TEST_CASE("satellites are tried again where the system's own folders cannot be watched") {
    LonelyModule lonely;

    CHECK_FALSE(restsWith(
        lonely, true, "GetSystemDirectoryW", +[](wchar_t*, UINT) -> UINT { return 0; }));
    CHECK_FALSE(restsWith(
        lonely, true, "GetSystemDirectoryW", +[](wchar_t*, UINT size) -> UINT { return size; }));
    CHECK_FALSE(restsWith(
        lonely, true, "GetSystemDirectoryW", +[](wchar_t* folder, UINT) -> UINT {
            ::lstrcpyW(folder, L"\\\\server\\share");
            return 14;
        }));
    CHECK_FALSE(restsWith(
        lonely, true, "GetSystemWindowsDirectoryW", +[](wchar_t* folder, UINT) -> UINT {
            ::lstrcpyW(folder, L"\\\\server\\share");
            return 14;
        }));
    CHECK_FALSE(restsWith(
        lonely, true, "GetSystemWindowsDirectoryW", +[](wchar_t* folder, UINT) -> UINT {
            std::fill_n(folder, 255, L'x');
            ::lstrcpyW(folder + 255, L"");
            folder[1] = L':';
            folder[2] = L'\\';
            return 255;  // with "\system" behind it, it is too long
        }));
}

std::size_t g_pathLength;

// Separators alone: to search a PATH of thousands of folders in earnest takes the system minutes.
DWORD WINAPI tellLongPath(const wchar_t*, wchar_t* text, DWORD room) {
    if (room <= g_pathLength) return static_cast<DWORD>(g_pathLength + 1);
    std::fill_n(text, g_pathLength, L';');
    text[g_pathLength] = L'\0';
    return static_cast<DWORD>(g_pathLength);
}

TEST_CASE("satellites are tried again where the folders of the search take too many characters") {
    LonelyModule lonely;
    const CurrentFolder current(lonely.file(L""));
    const std::size_t currentLength = ::GetCurrentDirectoryW(0, nullptr);
    const DllDirectory added(lonely.file(L"").c_str());

    // 4096 characters are kept, terminators included: PATH alone takes more, or all, or leaves room
    // for the current folder but not for that of SetDllDirectory.
    for (const std::size_t length :
         {std::size_t{5000}, std::size_t{4096}, std::size_t{4095}, std::size_t{4090},
          4095 - currentLength, 4090 - currentLength}) {
        CAPTURE(length);
        g_pathLength = length;
        CHECK_FALSE(restsWith(lonely, true, "GetEnvironmentVariableW", &tellLongPath));
    }
    g_pathLength = 3000;
    CHECK(restsWith(lonely, true, "GetEnvironmentVariableW", &tellLongPath));
}

TEST_CASE("satellites are tried again where a folder beside the program may redirect the search") {
    LonelyModule lonely;
    g_fileAttributes = &::GetFileAttributesW;

    CHECK_FALSE(restsWith(
        lonely, false, "GetFileAttributesW", +[](const wchar_t* path) {
            const bool redirects = std::wstring_view(path).ends_with(L".local");
            return redirects ? FILE_ATTRIBUTE_DIRECTORY : g_fileAttributes(path);
        }));
}

TEST_CASE("a folder is watched under its own name where the system tells no other") {
    for (const auto tell : {&tellNoFolder, &tellLongFolder, &tellOtherFolder}) {
        LonelyModule lonely;
        const LoadedModule module(lonely.path());
        const ManagerSession manager;
        manager->useResourcePathOnly(true);
        REQUIRE(manager->setCulture(L"fr-CA"));
        {
            const ReplacedImport finalPath("GetFinalPathNameByHandleW", tell);
            settle(lonely);
        }

        lonely.put(L"module\\" + lonely.satellite(), ResourceLibrary().image());

        CHECK(finds(lonely));
    }
}

TEST_CASE("a lookup for absent satellites that runs out of memory can be made again") {
    LonelyModule lonely;
    const LoadedModule module(lonely.path());
    const ManagerSession manager;
    const std::wstring name = lonely.module();

    const long failures = testsupport::sweepAllocationFailures(
        [&] {
            ProtectedManager::freeAll();
            try {
                ProtectedManager::record(name.c_str());
            } catch (const std::bad_alloc&) {
            }
        },
        [&](long) { CHECK_FALSE(finds(lonely)); });

    CHECK(failures > 0);
    CHECK(comesToRest(lonely));
}

}  // namespace
