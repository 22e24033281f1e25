#include <windows.h>

#include <doctest/doctest.h>

#include <new>
#include <string>
#include <vector>

#include "i18nres/Manager.h"
#include "tests/i18nres/ProtectedManager.h"
#include "tests/i18nres/SatelliteFiles.h"
#include "tests/i18nsys/ScriptedMultiLanguage.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Apartment.h"
#include "tests/support/InterfaceIds.h"
#include "tests/support/OtherThread.h"
#include "tests/support/SatelliteFolder.h"
#include "tests/support/ScriptedClass.h"

namespace {

using i18nres::Manager;
using testsupport::CurrentFolder;
using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::otherThreadFinishes;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;
using testsupport::ScopedVariable;

// The file names of the two satellites that the manager has loaded for ledger.dll.
struct UsedSatellites {
    std::wstring culture, defaultCulture;
    bool operator==(const UsedSatellites&) const = default;
};
doctest::String toString(const UsedSatellites& used) {
    return doctest::toString(std::string(used.culture.begin(), used.culture.end()) + " and " +
                             std::string(used.defaultCulture.begin(), used.defaultCulture.end()));
}

UsedSatellites satellitesUsedFor(const wchar_t* culture, const wchar_t* defaultCulture,
                                 const std::vector<std::wstring>& files) {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    for (const std::wstring& file : files) folder.put(file, ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.dll"));
    const ManagerSession manager;
    manager->setCulture(culture);
    REQUIRE(manager->setDefaultCulture(defaultCulture));
    const auto* const record = ProtectedManager::record(L"ledger.dll");
    return {fileOf(record->hCultureLib, folder), fileOf(record->hDefaultLib, folder)};
}

// Choice of satellites

TEST_CASE("A module has the satellites of both cultures") {
    CHECK(satellitesUsedFor(
              L"fr-CA", L"en-US",
              {L"ledger_fr-CA.dll", L"ledger_fr.dll", L"ledger_en-US.dll", L"ledger_en.dll"}) ==
          UsedSatellites{L"ledger_fr-CA.dll", L"ledger_en-US.dll"});
}

TEST_CASE("The satellite of the language is used if the culture has no satellite") {
    CHECK(satellitesUsedFor(L"fr-CA", L"en-US", {L"ledger_fr.dll", L"ledger_en.dll"}) ==
          UsedSatellites{L"ledger_fr.dll", L"ledger_en.dll"});
}

TEST_CASE("The culture and the default culture fall back to their languages independently") {
    CHECK(satellitesUsedFor(L"fr-CA", L"en-US", {L"ledger_fr.dll", L"ledger_en-US.dll"}) ==
          UsedSatellites{L"ledger_fr.dll", L"ledger_en-US.dll"});
}

TEST_CASE("A culture that equals the default culture has no satellite of its own") {
    CHECK(satellitesUsedFor(L"en-US", L"en-US", {L"ledger_en-US.dll", L"ledger_en.dll"}) ==
          UsedSatellites{L"none", L"ledger_en-US.dll"});
}

TEST_CASE("The default language's satellite is not used for another culture of that language") {
    CHECK(satellitesUsedFor(L"en-GB", L"en-US", {L"ledger_en.dll"}) ==
          UsedSatellites{L"none", L"ledger_en.dll"});
    CHECK(satellitesUsedFor(L"en-GB", L"en-US", {L"ledger_en.dll", L"ledger_en-US.dll"}) ==
          UsedSatellites{L"none", L"ledger_en-US.dll"});
}

TEST_CASE("A culture of the default language uses its own satellite") {
    CHECK(satellitesUsedFor(L"en-GB", L"en-US", {L"ledger_en-GB.dll", L"ledger_en.dll"}) ==
          UsedSatellites{L"ledger_en-GB.dll", L"ledger_en.dll"});
}

TEST_CASE(
    "A language that is set as culture uses its satellite even if it is the default language") {
    CHECK(satellitesUsedFor(L"en", L"en-US", {L"ledger_en.dll"}) ==
          UsedSatellites{L"ledger_en.dll", L"ledger_en.dll"});
}

TEST_CASE("Only the satellite of the default culture is used if there is no culture") {
    CHECK(satellitesUsedFor(nullptr, L"fr-CA", {L"ledger_fr.dll", L"ledger_en-US.dll"}) ==
          UsedSatellites{L"none", L"ledger_fr.dll"});
}

TEST_CASE("A default culture that is a language uses the satellite of that language") {
    CHECK(satellitesUsedFor(L"fr-CA", L"en", {L"ledger_en.dll", L"ledger_fr-CA.dll"}) ==
          UsedSatellites{L"ledger_fr-CA.dll", L"ledger_en.dll"});
}

TEST_CASE("A module without satellites still has a record") {
    CHECK(satellitesUsedFor(L"fr-CA", L"en-US", {}) == UsedSatellites{L"none", L"none"});
}

TEST_CASE("A satellite that is not a library is skipped") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"ledger_fr-CA.dll", "not a library");
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    CHECK(fileOf(ProtectedManager::record(L"ledger.dll")->hCultureLib, folder) == L"ledger_fr.dll");
}

TEST_CASE("The file name extension of satellites is dll for every module") {
    SatelliteFolder folder;
    folder.put(L"ledger.ocx", ResourceLibrary());
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    folder.put(L"ledger_fr.ocx", ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.ocx"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    CHECK(fileOf(ProtectedManager::record(L"ledger.ocx")->hCultureLib, folder) == L"ledger_fr.dll");
}

// Locations of satellites

TEST_CASE(
    "Satellites are searched beside the module, on the resource path and then by the system") {
    SatelliteFolder folder;
    for (const wchar_t* place : {L"module\\", L"resources\\", L"current\\"}) {
        folder.put(std::wstring(place) + L"ledger_fr.dll", ResourceLibrary());
    }
    const CurrentFolder current(folder.file(L"current"));
    const ManagerSession manager;
    manager->setResourcePath(folder.file(L"resources\\").c_str());
    const std::wstring module = folder.file(L"module\\ledger.dll");

    for (const wchar_t* file :
         {L"module\\ledger_fr.dll", L"resources\\ledger_fr.dll", L"current\\ledger_fr.dll"}) {
        CHECK(satelliteOf(module, L"fr", folder) == file);
        REQUIRE(::DeleteFileW(folder.file(file).c_str()));
    }
    CHECK(satelliteOf(module, L"fr", folder) == L"none");
}

TEST_CASE("loadLibrary without a tag searches for the module name with the extension dll") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    const ManagerSession manager;

    CHECK(satelliteOf(folder.file(L"ledger.exe"), L"", folder) == L"ledger.dll");
}

TEST_CASE("The system search finds satellites in the folders of PATH") {
    SatelliteFolder folder;
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const ScopedVariable path(L"PATH", folder.path().c_str());
    const ManagerSession manager;

    CHECK(satelliteOf(L"ledger.dll", L"fr", folder) == L"ledger_fr.dll");
}

TEST_CASE("The module's folder is not searched if the module path is relative") {
    SatelliteFolder folder;
    folder.put(L"module\\ledger_fr.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    const ManagerSession manager;

    CHECK(satelliteOf(L"module\\ledger.dll", L"fr", folder) == L"none");
    CHECK(satelliteOf(folder.file(L"module\\ledger.dll"), L"fr", folder) ==
          L"module\\ledger_fr.dll");
}

TEST_CASE("The resource path is a prefix of the file name") {
    SatelliteFolder folder;
    folder.put(L"resledger_fr.dll", ResourceLibrary());
    folder.put(L"res\\ledger_fr.dll", ResourceLibrary());
    const ManagerSession manager;
    manager->setResourcePath(folder.file(L"res").c_str());

    CHECK(satelliteOf(L"ledger.dll", L"fr", folder) == L"resledger_fr.dll");
}

TEST_CASE("setResourcePath with null keeps the path") {
    SatelliteFolder folder;
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const ManagerSession manager;
    manager->setResourcePath(folder.path().c_str());
    manager->setResourcePath(nullptr);

    CHECK(satelliteOf(L"ledger.dll", L"fr", folder) == L"ledger_fr.dll");
}

TEST_CASE("setResourcePath with an empty string removes the path") {
    SatelliteFolder folder;
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const ManagerSession manager;
    manager->setResourcePath(folder.path().c_str());
    manager->setResourcePath(L"");

    CHECK(satelliteOf(L"ledger.dll", L"fr", folder) == L"none");
}

TEST_CASE("setResourcePath does not free loaded satellites") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    const HINSTANCE satellite = ProtectedManager::record(L"ledger.dll")->hCultureLib;

    manager->setResourcePath(folder.file(L"elsewhere\\").c_str());

    CHECK(isLoaded(L"ledger_fr.dll"));
    CHECK(ProtectedManager::record(L"ledger.dll")->hCultureLib == satellite);
}

TEST_CASE("useResourcePathOnly disables the system search") {
    SatelliteFolder folder;
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    const ManagerSession manager;

    manager->useResourcePathOnly(true);
    CHECK(satelliteOf(L"ledger.dll", L"fr", folder) == L"none");

    manager->useResourcePathOnly(false);
    CHECK(satelliteOf(L"ledger.dll", L"fr", folder) == L"ledger_fr.dll");
}

TEST_CASE("useResourcePathOnly does not disable the module's folder and the resource path") {
    SatelliteFolder folder;
    folder.put(L"module\\ledger_fr.dll", ResourceLibrary());
    folder.put(L"resources\\ledger_de.dll", ResourceLibrary());
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    manager->setResourcePath(folder.file(L"resources\\").c_str());
    const std::wstring module = folder.file(L"module\\ledger.dll");

    CHECK(satelliteOf(module, L"fr", folder) == L"module\\ledger_fr.dll");
    CHECK(satelliteOf(module, L"de", folder) == L"resources\\ledger_de.dll");
}

// Unusual tags. In these tests, the multi-language service accepts every string as a culture tag.

TEST_CASE("A satellite with an empty tag in its file name is never used") {
    const testsupport::Apartment apartment;
    i18nsystests::ScriptedMultiLanguage service;
    const testsupport::ScriptedClass scripted(testsupport::kMultiLanguageClass, service);

    CHECK(satellitesUsedFor(L"-CA", L"-US", {L"ledger_-CA.dll", L"ledger_-US.dll"}) ==
          UsedSatellites{L"ledger_-CA.dll", L"ledger_-US.dll"});
    CHECK(satellitesUsedFor(L"-CA", L"-US", {L"ledger_.dll"}) == UsedSatellites{L"none", L"none"});
    CHECK(satellitesUsedFor(L"fr-CA", L"", {L"ledger_fr.dll", L"ledger_.dll"}) ==
          UsedSatellites{L"ledger_fr.dll", L"none"});
}

TEST_CASE("A culture that is a path does not refer to a file in another folder") {
    const testsupport::Apartment apartment;
    i18nsystests::ScriptedMultiLanguage service;
    const testsupport::ScriptedClass scripted(testsupport::kMultiLanguageClass, service);
    SatelliteFolder folder;
    folder.put(L"module\\ledger.dll", ResourceLibrary());
    folder.put(L"module\\ledger_fr-x\\empty.txt", "");
    folder.put(L"module\\ledger_x\\empty.txt", "");
    folder.put(L"planted.dll", ResourceLibrary());
    const std::wstring module = folder.file(L"module\\ledger.dll");
    const ManagerSession manager;
    for (const wchar_t* tag :
         {L"fr-x\\..\\..\\planted", L"fr-x/../../planted", L"x\\..\\..\\planted"}) {
        CAPTURE(tag);
        REQUIRE(manager->setCulture(tag));
        CHECK(satelliteOf(module, tag, folder) == L"none");
        CHECK(ProtectedManager::record(module.c_str())->hCultureLib == nullptr);
        std::wstring file = L"before";
        CHECK_FALSE(manager->getLocaleFileName(module, file, nullptr));
        CHECK(file == L"before");
    }
}

// Memory and locks

TEST_CASE("A lookup leaks no library and releases the lock when memory runs out") {
    SatelliteFolder folder;
    folder.put(L"a name that is long enough for the heap.dll", ResourceLibrary());
    folder.put(L"a name that is long enough for the heap_fr.dll", ResourceLibrary());
    folder.put(L"a name that is long enough for the heap_en.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    const long failures = testsupport::sweepAllocationFailures(
        [&] {
            ProtectedManager::freeAll();
            try {
                ProtectedManager::record(L"a name that is long enough for the heap.dll");
            } catch (const std::bad_alloc&) {
            }
        },
        [&](long failure) {
            CAPTURE(failure);
            CHECK(otherThreadFinishes([&] { manager->setResourcePath(L""); }));
            const auto* const record =
                ProtectedManager::record(L"a name that is long enough for the heap.dll");
            CHECK(record->hCultureLib != nullptr);
            CHECK(record->hDefaultLib != nullptr);
        });

    CHECK(failures >= 5);
    ProtectedManager::freeAll();
    CHECK_FALSE(isLoaded(L"a name that is long enough for the heap.dll"));
    CHECK_FALSE(isLoaded(L"a name that is long enough for the heap_fr.dll"));
    CHECK_FALSE(isLoaded(L"a name that is long enough for the heap_en.dll"));
}

}  // namespace
