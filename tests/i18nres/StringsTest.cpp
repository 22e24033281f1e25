#include <windows.h>

#include <doctest/doctest.h>

#include <string>

#include "i18nres/i18nres.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;
using testsupport::Switches;

TEST_CASE("loadStringW finds a string in the current-culture satellite first") {
    SatelliteFolder folder;
    folder.put(L"charts.dll", ResourceLibrary().string(7, L"Open"));
    folder.put(L"charts_en-US.dll", ResourceLibrary().string(7, L"Open US"));
    folder.put(L"charts_fr-CA.dll", ResourceLibrary().string(7, L"Ouvrir"));
    const LoadedModule module(folder.file(L"charts.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    wchar_t text[16];

    CHECK(manager->loadStringW(L"charts.dll", 7, text, 16) == 6);

    CHECK(std::wstring(text) == L"Ouvrir");
}

}  // namespace
