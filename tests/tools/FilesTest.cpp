#include "tools/satellites/Files.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "tests/support/PrintedWide.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using namespace satellites;
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

}  // namespace
