#include "tools/satellites/Files.h"

#include <windows.h>

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/SatelliteFolder.h"
#include "tools/satellites/Failure.h"

namespace {

using namespace satellites;
using testsupport::ReplacedImport;
using testsupport::SatelliteFolder;

TEST_CASE("satelliteNamesIn skips files with other extensions whose short names end in .dll") {
    SatelliteFolder folder;
    for (const wchar_t* name : {L"app.dll", L"app_fr.dll", L"app_fr.dll_old", L"app_fr.dll~",
                                L"app_de.dll.backup", L"application_fr.dll"}) {
        folder.put(name, std::string("x"));
    }

    const auto names = satelliteNamesIn(folder.path(), folder.file(L"app.dll"));

    CHECK((names == std::vector<std::wstring>{L"app_fr.dll"}));
}

TEST_CASE("satelliteNamesIn ignores the case of names and sorts them") {
    SatelliteFolder folder;
    for (const wchar_t* name : {L"app_fr.DLL", L"APP_de-DE.dll", L"app_sv.dll"}) {
        folder.put(name, std::string("x"));
    }

    const auto names = satelliteNamesIn(folder.path(), folder.file(L"App.dll"));

    CHECK((names == std::vector<std::wstring>{L"APP_de-DE.dll", L"app_fr.DLL", L"app_sv.dll"}));
}

TEST_CASE("satelliteNamesIn reports a folder that cannot be searched") {
    SatelliteFolder folder;

    CHECK_THROWS_AS(satelliteNamesIn(folder.file(L"nosuch\\"), L"app.dll"), Failure);
}

// Replaces FindNextFileW. Simulates a network connection that is lost during the search.
BOOL WINAPI loseConnection(HANDLE, WIN32_FIND_DATAW*) {
    ::SetLastError(ERROR_NETNAME_DELETED);
    return FALSE;
}

TEST_CASE("satelliteNamesIn reports a search that fails before its end") {
    SatelliteFolder folder;
    folder.put(L"app_fr.dll", std::string("x"));
    const ReplacedImport<decltype(FindNextFileW)> lost("FindNextFileW", &loseConnection,
                                                       ::GetModuleHandleW(nullptr));

    CHECK_THROWS_AS(satelliteNamesIn(folder.path(), L"app.dll"), Failure);
}

// Replaces GetFileAttributesW. Simulates a file that the user is not allowed to access.
DWORD WINAPI denyAccess(LPCWSTR) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_FILE_ATTRIBUTES;
}

TEST_CASE("exists reports a file that may exist but cannot be accessed") {
    SatelliteFolder folder;
    folder.put(L"app_fr.dll", std::string("x"));
    const ReplacedImport<decltype(GetFileAttributesW)> denied("GetFileAttributesW", &denyAccess,
                                                              ::GetModuleHandleW(nullptr));

    CHECK_THROWS_AS(exists(folder.file(L"app_fr.dll")), Failure);
}

TEST_CASE("exists returns false for a missing file and for a file in a missing folder") {
    SatelliteFolder folder;

    CHECK_FALSE(exists(folder.file(L"app_fr.dll")));
    CHECK_FALSE(exists(folder.file(L"nosuch\\app_fr.dll")));
}

}  // namespace
