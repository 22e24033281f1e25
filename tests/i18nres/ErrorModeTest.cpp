#include <windows.h>

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "i18nres/Manager.h"
#include "tests/i18nres/ProtectedManager.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using testsupport::CurrentFolder;
using testsupport::ManagerSession;
using testsupport::ReplacedImport;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;

constexpr DWORD kNoMessageBoxes = SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX;

int g_calls, g_callsWithMessageBoxes;

void recordErrorMode() {
    ++g_calls;
    g_callsWithMessageBoxes += (::GetThreadErrorMode() & kNoMessageBoxes) != kNoMessageBoxes;
}

// Replaces a system function with a function that checks the error mode of the thread and then
// calls the original function. Two functions with the same signature cannot be replaced at the same
// time, because they would share `s_original`.
template <class Signature>
class WatchedImport;
template <class Result, class... Arguments>
class WatchedImport<Result(WINAPI*)(Arguments...)> {
public:
    explicit WatchedImport(const char* name) : m_import(name, &watch) {
        s_original = m_import.original();
    }

private:
    static Result WINAPI watch(Arguments... arguments) {
        recordErrorMode();
        return s_original(arguments...);
    }
    static inline Result(WINAPI* s_original)(Arguments...);
    ReplacedImport<Result WINAPI(Arguments...)> m_import;
};

// Sets the error mode of the thread. The destructor checks that this mode has been restored, that a
// replaced function has been called, and that message boxes were disabled during each call.
class WatchedErrorMode {
public:
    WatchedErrorMode() {
        g_calls = g_callsWithMessageBoxes = 0;
        ::SetThreadErrorMode(SEM_NOGPFAULTERRORBOX, nullptr);
    }
    WatchedErrorMode(const WatchedErrorMode&) = delete;
    WatchedErrorMode& operator=(const WatchedErrorMode&) = delete;
    ~WatchedErrorMode() {
        CHECK(::GetThreadErrorMode() == SEM_NOGPFAULTERRORBOX);
        CHECK(g_calls > 0);
        CHECK(g_callsWithMessageBoxes == 0);
        ::SetThreadErrorMode(0, nullptr);
    }
};

TEST_CASE("The module and its satellites are loaded without system message boxes") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    const WatchedImport<decltype(&::LoadLibraryW)> load("LoadLibraryW");
    const WatchedErrorMode watched;

    CHECK(ProtectedManager::record(L"ledger.dll")->hCultureLib != nullptr);
}

TEST_CASE("A search that finds no satellite shows no system message boxes") {
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    const WatchedImport<decltype(&::LoadLibraryW)> load("LoadLibraryW");
    const WatchedImport<decltype(&::LoadLibraryExW)> probe("LoadLibraryExW");
    const WatchedImport<decltype(&::CreateFileW)> open("CreateFileW");
    const WatchedImport<decltype(&::GetFileAttributesW)> attributes("GetFileAttributesW");
    const WatchedImport<decltype(&::GetVolumePathNameW)> volume("GetVolumePathNameW");
    const WatchedErrorMode watched;

    for (int lookup = 0; lookup < 3; ++lookup) {
        CHECK(ProtectedManager::record(L"kernel32.dll")->hCultureLib == nullptr);
    }
}

TEST_CASE("Localized files are searched without system message boxes") {
    const ManagerSession manager;
    const WatchedImport<decltype(&::GetFileAttributesW)> attributes("GetFileAttributesW");
    const WatchedErrorMode watched;
    std::wstring file;

    CHECK_FALSE(manager->getLocaleFileName(L"a:\\guide.chm", file, nullptr));
}

TEST_CASE("An image is loaded from a file without system message boxes") {
    const ManagerSession manager;
    const WatchedImport<decltype(&::LoadImageW)> load("LoadImageW");
    const WatchedErrorMode watched;

    CHECK(manager->loadImageIcon(L"kernel32.dll", L"a:\\guide.ico", 0, 0, LR_LOADFROMFILE) ==
          nullptr);
}

}  // namespace
