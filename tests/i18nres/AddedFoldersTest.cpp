// These tests are a separate program, because a process cannot undo a call to
// SetDefaultDllDirectories.
#include <windows.h>

#include <doctest/doctest.h>

#include <string>

#include "tests/i18nres/ProtectedManager.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::ReplacedImport;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;

decltype(&::GetSystemTimeAsFileTime) g_systemTime;

void WINAPI returnLaterTime(FILETIME* time) {
    g_systemTime(time);
    ULARGE_INTEGER later = {{time->dwLowDateTime, time->dwHighDateTime}};
    later.QuadPart += 36'000'000'000;
    *time = {later.LowPart, later.HighPart};
}

bool finds() { return ProtectedManager::record(L"ledger.dll")->hCultureLib != nullptr; }

TEST_CASE("A satellite in a folder of AddDllDirectory is found by the next lookup") {
    SatelliteFolder folder;
    folder.put(L"module\\ledger.dll", ResourceLibrary());
    folder.put(L"added\\other.txt", std::string());
    folder.put(L"filled\\ledger_fr.dll", ResourceLibrary());
    const ReplacedImport systemTime("GetSystemTimeAsFileTime", &returnLaterTime);
    g_systemTime = systemTime.original();
    REQUIRE(::SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_DEFAULT_DIRS));
    const LoadedModule module(folder.file(L"module\\ledger.dll"));

    SUBCASE("a folder that is added after the first lookup") {
        const ManagerSession manager;
        REQUIRE(manager->setCulture(L"fr-CA"));
        for (int lookup = 0; lookup < 3; ++lookup) CHECK_FALSE(finds());
        const auto cookie = ::AddDllDirectory(folder.file(L"filled").c_str());
        CHECK(finds());
        ::RemoveDllDirectory(cookie);
    }
    SUBCASE("a folder that was added before") {
        const auto cookie = ::AddDllDirectory(folder.file(L"added").c_str());
        {
            const ManagerSession manager;
            REQUIRE(manager->setCulture(L"fr-CA"));
            for (int lookup = 0; lookup < 3; ++lookup) CHECK_FALSE(finds());
            folder.put(L"added\\ledger_fr.dll", ResourceLibrary());
            CHECK(finds());
        }
        ::RemoveDllDirectory(cookie);
    }
}

}  // namespace
