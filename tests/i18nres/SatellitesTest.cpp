#include <windows.h>

#include <doctest/doctest.h>

#include <new>
#include <string>
#include <vector>

#include "i18nres/Manager.h"
#include "tests/i18nres/ProtectedManager.h"
#include "tests/i18nsys/ScriptedMultiLanguage.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Apartment.h"
#include "tests/support/InterfaceIds.h"
#include "tests/support/LeakListener.h"
#include "tests/support/OtherThread.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/SatelliteFolder.h"
#include "tests/support/ScriptedClass.h"

namespace {

using i18nres::Manager;
using testsupport::CurrentFolder;
using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::otherThreadFinishes;
using testsupport::ReplacedImport;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;
using testsupport::ScopedVariable;

// The file that a handle was loaded from, relative to a folder; "none" for null.
std::wstring fileOf(HINSTANCE library, const SatelliteFolder& folder) {
    if (!library) return L"none";
    wchar_t path[2 * MAX_PATH];
    ::GetModuleFileNameW(library, path, 2 * MAX_PATH);
    const std::wstring text = path;
    return text.rfind(folder.path(), 0) == 0 ? text.substr(folder.path().size()) : text;
}

bool isLoaded(const wchar_t* name) { return ::GetModuleHandleW(name) != nullptr; }

// The file that loadLibrary loads, relative to a folder; "none" when it loads none. The test frees
// what it was given, so the spy on the manager's library references sees only the loading.
std::wstring satelliteOf(const std::wstring& modulePath, const wchar_t* tag,
                         const SatelliteFolder& folder) {
    const HINSTANCE library = ProtectedManager::satellite(modulePath, tag);
    const std::wstring file = fileOf(library, folder);
    if (library) ::FreeLibrary(library);
    testsupport::forgiveLeaks();
    return file;
}

// How many references the process holds to a library: they are given back one after the other.
int dropReferences(const std::wstring& path) {
    int references = 0;
    while (HINSTANCE library = ::GetModuleHandleW(path.c_str())) {
        ::FreeLibrary(library);
        ++references;
    }
    return references;
}

// Which satellites serve ledger.dll under a culture and a default culture when these files exist.
struct Served {
    std::wstring culture, defaultCulture;
    bool operator==(const Served&) const = default;
};
doctest::String toString(const Served& served) {
    return doctest::toString(
        std::string(served.culture.begin(), served.culture.end()) + " and " +
        std::string(served.defaultCulture.begin(), served.defaultCulture.end()));
}

Served servedBy(const wchar_t* culture, const wchar_t* defaultCulture,
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

// Which satellites are taken

TEST_CASE("a module is served by the satellites of both cultures") {
    CHECK(servedBy(L"fr-CA", L"en-US",
                   {L"ledger_fr-CA.dll", L"ledger_fr.dll", L"ledger_en-US.dll",
                    L"ledger_en.dll"}) == Served{L"ledger_fr-CA.dll", L"ledger_en-US.dll"});
}

TEST_CASE("the language stands in where there is no satellite of the culture") {
    CHECK(servedBy(L"fr-CA", L"en-US", {L"ledger_fr.dll", L"ledger_en.dll"}) ==
          Served{L"ledger_fr.dll", L"ledger_en.dll"});
}

TEST_CASE("culture and default culture fall back to their languages apart from each other") {
    CHECK(servedBy(L"fr-CA", L"en-US", {L"ledger_fr.dll", L"ledger_en-US.dll"}) ==
          Served{L"ledger_fr.dll", L"ledger_en-US.dll"});
}

TEST_CASE("a culture that is the default culture has no satellite of its own") {
    CHECK(servedBy(L"en-US", L"en-US", {L"ledger_en-US.dll", L"ledger_en.dll"}) ==
          Served{L"none", L"ledger_en-US.dll"});
}

TEST_CASE("the language of the default culture never serves another culture of that language") {
    CHECK(servedBy(L"en-GB", L"en-US", {L"ledger_en.dll"}) == Served{L"none", L"ledger_en.dll"});
    CHECK(servedBy(L"en-GB", L"en-US", {L"ledger_en.dll", L"ledger_en-US.dll"}) ==
          Served{L"none", L"ledger_en-US.dll"});
}

TEST_CASE("a culture of the default language is served by its own satellite") {
    CHECK(servedBy(L"en-GB", L"en-US", {L"ledger_en-GB.dll", L"ledger_en.dll"}) ==
          Served{L"ledger_en-GB.dll", L"ledger_en.dll"});
}

TEST_CASE("a language that is the culture serves although it is the default culture's") {
    CHECK(servedBy(L"en", L"en-US", {L"ledger_en.dll"}) ==
          Served{L"ledger_en.dll", L"ledger_en.dll"});
}

TEST_CASE("without a culture only the default culture serves") {
    CHECK(servedBy(nullptr, L"fr-CA", {L"ledger_fr.dll", L"ledger_en-US.dll"}) ==
          Served{L"none", L"ledger_fr.dll"});
}

TEST_CASE("a default culture that is a language is tried once") {
    CHECK(servedBy(L"fr-CA", L"en", {L"ledger_en.dll", L"ledger_fr-CA.dll"}) ==
          Served{L"ledger_fr-CA.dll", L"ledger_en.dll"});
}

TEST_CASE("a module without satellites has a record all the same") {
    CHECK(servedBy(L"fr-CA", L"en-US", {}) == Served{L"none", L"none"});
}

TEST_CASE("a satellite that is no library is passed over") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"ledger_fr-CA.dll", "not a library");
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    CHECK(fileOf(ProtectedManager::record(L"ledger.dll")->hCultureLib, folder) == L"ledger_fr.dll");
}

TEST_CASE("satellites end in dll whatever the module ends in") {
    SatelliteFolder folder;
    folder.put(L"ledger.ocx", ResourceLibrary());
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    folder.put(L"ledger_fr.ocx", ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.ocx"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    CHECK(fileOf(ProtectedManager::record(L"ledger.ocx")->hCultureLib, folder) == L"ledger_fr.dll");
}

// Where satellites are looked for

TEST_CASE("satellites are looked for beside the module then on the resource path then elsewhere") {
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

TEST_CASE("loadLibrary without a tag looks for the plain name with the ending dll") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    const ManagerSession manager;

    CHECK(satelliteOf(folder.file(L"ledger.exe"), L"", folder) == L"ledger.dll");
}

TEST_CASE("the system search finds satellites in the folders of PATH") {
    SatelliteFolder folder;
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const ScopedVariable path(L"PATH", folder.path().c_str());
    const ManagerSession manager;

    CHECK(satelliteOf(L"ledger.dll", L"fr", folder) == L"ledger_fr.dll");
}

TEST_CASE("a relative module path skips the module's folder") {
    SatelliteFolder folder;
    folder.put(L"module\\ledger_fr.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    const ManagerSession manager;

    CHECK(satelliteOf(L"module\\ledger.dll", L"fr", folder) == L"none");
    CHECK(satelliteOf(folder.file(L"module\\ledger.dll"), L"fr", folder) ==
          L"module\\ledger_fr.dll");
}

TEST_CASE("the resource path is a plain prefix of the file name") {
    SatelliteFolder folder;
    folder.put(L"resledger_fr.dll", ResourceLibrary());
    folder.put(L"res\\ledger_fr.dll", ResourceLibrary());
    const ManagerSession manager;
    manager->setResourcePath(folder.file(L"res").c_str());

    CHECK(satelliteOf(L"ledger.dll", L"fr", folder) == L"resledger_fr.dll");
}

TEST_CASE("setResourcePath with null leaves the path as it is") {
    SatelliteFolder folder;
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const ManagerSession manager;
    manager->setResourcePath(folder.path().c_str());
    manager->setResourcePath(nullptr);

    CHECK(satelliteOf(L"ledger.dll", L"fr", folder) == L"ledger_fr.dll");
}

TEST_CASE("setResourcePath with the empty text takes the path away") {
    SatelliteFolder folder;
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const ManagerSession manager;
    manager->setResourcePath(folder.path().c_str());
    manager->setResourcePath(L"");

    CHECK(satelliteOf(L"ledger.dll", L"fr", folder) == L"none");
}

TEST_CASE("setResourcePath keeps what is loaded") {
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

TEST_CASE("useResourcePathOnly keeps lookups from the system search") {
    SatelliteFolder folder;
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    const ManagerSession manager;

    manager->useResourcePathOnly(true);
    CHECK(satelliteOf(L"ledger.dll", L"fr", folder) == L"none");

    manager->useResourcePathOnly(false);
    CHECK(satelliteOf(L"ledger.dll", L"fr", folder) == L"ledger_fr.dll");
}

TEST_CASE("useResourcePathOnly leaves the module's folder and the resource path") {
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

// Records

TEST_CASE("a null module has no record") {
    const ManagerSession manager;

    CHECK(ProtectedManager::record(nullptr, false) == nullptr);
    CHECK(ProtectedManager::record(nullptr, true) == nullptr);
}

TEST_CASE("a record keeps the name as the caller passed it") {
    const ManagerSession manager;

    CHECK(ProtectedManager::record(L"kernel32.dll")->moduleName == L"kernel32.dll");
    CHECK(ProtectedManager::record(L"KERNEL32")->moduleName == L"KERNEL32");
}

TEST_CASE("a name has one record and names that differ in case have two") {
    const ManagerSession manager;

    const auto* const lower = ProtectedManager::record(L"kernel32.dll");
    const auto* const upper = ProtectedManager::record(L"KERNEL32.dll");

    CHECK(lower != upper);
    CHECK(ProtectedManager::record(L"kernel32.dll", true) == lower);
    CHECK(ProtectedManager::record(std::wstring(L"kernel32.dll").c_str()) == lower);
}

TEST_CASE("the manager does not own a module that was loaded already") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.dll"));
    {
        const ManagerSession manager;
        CHECK_FALSE(ProtectedManager::record(L"ledger.dll")->ownsModule);
    }

    CHECK(isLoaded(L"ledger.dll"));
}

TEST_CASE("the manager loads a module that is not loaded and frees it at the end") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    {
        const ManagerSession manager;
        REQUIRE(manager->setCulture(L"fr-CA"));
        const auto* const record = ProtectedManager::record(L"ledger.dll");
        CHECK(record->ownsModule);
        CHECK(isLoaded(L"ledger.dll"));
        CHECK(fileOf(record->hCultureLib, folder) == L"ledger_fr.dll");
    }

    CHECK_FALSE(isLoaded(L"ledger.dll"));
    CHECK_FALSE(isLoaded(L"ledger_fr.dll"));
}

TEST_CASE("a module that is not loaded is loaded by its bare name") {
    SatelliteFolder folder;
    folder.put(L"current\\ledger.dll", ResourceLibrary());
    folder.put(L"current\\ledger_fr.dll", ResourceLibrary());
    folder.put(L"elsewhere\\ledger.dll", ResourceLibrary());
    folder.put(L"elsewhere\\ledger_fr.dll", ResourceLibrary());
    const CurrentFolder current(folder.file(L"current"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    const auto* const record =
        ProtectedManager::record(folder.file(L"elsewhere\\ledger.dll").c_str());

    CHECK(record->ownsModule);
    CHECK(fileOf(record->hCultureLib, folder) == L"current\\ledger_fr.dll");
}

TEST_CASE("a module that the manager loaded from another folder than named is freed at the end") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    {
        const ManagerSession manager;
        for (int lookup = 0; lookup < 3; ++lookup) {
            CHECK(ProtectedManager::record(L"C:\\nowhere\\ledger.dll")->ownsModule);
        }
        CHECK(isLoaded(L"ledger.dll"));
    }

    CHECK_FALSE(isLoaded(L"ledger.dll"));
}

TEST_CASE("a culture change keeps a module that the manager loaded") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    const ManagerSession manager;
    REQUIRE(ProtectedManager::record(L"ledger.dll")->ownsModule);

    REQUIRE(manager->setCulture(L"fr-CA"));
    manager->setCulture(nullptr);

    CHECK(isLoaded(L"ledger.dll"));
    CHECK(ProtectedManager::record(L"ledger.dll")->ownsModule);
}

TEST_CASE("a module that somebody else freed is loaded again and stays loaded") {
    testsupport::forgiveLeaks();  // the library's first reference is given back by the test
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    const ManagerSession manager;
    REQUIRE(ProtectedManager::record(L"ledger.dll")->ownsModule);
    ::FreeLibrary(::GetModuleHandleW(L"ledger.dll"));
    REQUIRE_FALSE(isLoaded(L"ledger.dll"));

    CHECK(ProtectedManager::record(L"ledger.dll")->ownsModule);

    CHECK(isLoaded(L"ledger.dll"));
}

TEST_CASE("a module that several records loaded is freed once for each") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    {
        const ManagerSession manager;
        CHECK(ProtectedManager::record(L"C:\\nowhere\\ledger.dll")->ownsModule);
        CHECK(ProtectedManager::record(L"D:\\nowhere\\ledger.dll")->ownsModule);
        CHECK_FALSE(ProtectedManager::record(L"LEDGER.DLL")->ownsModule);
    }

    CHECK_FALSE(isLoaded(L"ledger.dll"));
}

TEST_CASE("the manager frees its own reference to a module and no other") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    {
        const ManagerSession manager;
        REQUIRE(ProtectedManager::record(L"ledger.dll")->ownsModule);
        REQUIRE(::LoadLibraryW(L"ledger.dll") != nullptr);  // the application's own
    }

    CHECK(dropReferences(L"ledger.dll") == 1);
}

TEST_CASE("a module that is neither loaded nor loadable has a record and satellites") {
    SatelliteFolder folder;
    folder.put(L"resources\\ledger_fr.dll", ResourceLibrary());
    folder.put(L"current\\ledger_en.dll", ResourceLibrary());
    const CurrentFolder current(folder.file(L"current"));
    const ManagerSession manager;
    manager->setResourcePath(folder.file(L"resources\\").c_str());
    REQUIRE(manager->setCulture(L"fr-CA"));

    const auto* const record = ProtectedManager::record(L"ledger.dll");

    REQUIRE(record != nullptr);
    CHECK_FALSE(record->ownsModule);
    CHECK(fileOf(record->hCultureLib, folder) == L"resources\\ledger_fr.dll");
    CHECK(fileOf(record->hDefaultLib, folder) == L"current\\ledger_en.dll");
}

TEST_CASE("the folder of an absolute name counts though the module cannot be loaded") {
    SatelliteFolder folder;
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    REQUIRE(manager->setCulture(L"fr-CA"));

    const auto* const record = ProtectedManager::record(folder.file(L"ledger.dll").c_str());

    CHECK(fileOf(record->hCultureLib, folder) == L"ledger_fr.dll");
}

TEST_CASE("freeLocales frees every library and forgets every record") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    folder.put(L"ledger_en.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    ProtectedManager::record(L"ledger.dll");

    ProtectedManager::freeAll();

    for (const wchar_t* name : {L"ledger.dll", L"ledger_fr.dll", L"ledger_en.dll"}) {
        CHECK_FALSE(isLoaded(name));
    }
    CHECK(ProtectedManager::record(L"ledger.dll")->hCultureLib != nullptr);
}

// When a record is resolved again

TEST_CASE("a satellite that appears on disk is found by the next lookup") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    const auto* const record = ProtectedManager::record(L"ledger.dll");
    REQUIRE(record->hCultureLib == nullptr);

    folder.put(L"ledger_fr.dll", ResourceLibrary());

    CHECK(ProtectedManager::record(L"ledger.dll") == record);
    CHECK(fileOf(record->hCultureLib, folder) == L"ledger_fr.dll");
}

TEST_CASE("a record with one satellite is not resolved again before the culture changes") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"ledger_en.dll", ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    const auto* const record = ProtectedManager::record(L"ledger.dll");
    REQUIRE(record->hDefaultLib != nullptr);

    folder.put(L"ledger_fr.dll", ResourceLibrary());
    ProtectedManager::record(L"ledger.dll");
    CHECK(record->hCultureLib == nullptr);

    REQUIRE(manager->setCulture(L"fr"));
    ProtectedManager::record(L"ledger.dll");
    CHECK(record->hCultureLib != nullptr);
}

TEST_CASE("repeated lookups hold one reference to each satellite") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.dll"));
    {
        const ManagerSession manager;
        REQUIRE(manager->setCulture(L"fr-CA"));
        for (int lookup = 0; lookup < 3; ++lookup) {
            ProtectedManager::record(L"ledger.dll", lookup % 2 == 0);
        }
        REQUIRE(isLoaded(L"ledger_fr.dll"));
    }

    CHECK_FALSE(isLoaded(L"ledger_fr.dll"));
}

TEST_CASE("a default lookup takes the record of a loaded module as it is") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"ledger_en-US.dll", ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.dll"));
    const ManagerSession manager;
    const auto* const record = ProtectedManager::record(L"ledger.dll", true);
    REQUIRE(record->hDefaultLib != nullptr);
    REQUIRE(manager->setCulture(L"fr-CA"));

    CHECK(ProtectedManager::record(L"ledger.dll", true) == record);
    CHECK(record->hDefaultLib == nullptr);

    ProtectedManager::record(L"ledger.dll", false);
    CHECK(record->hDefaultLib != nullptr);
}

TEST_CASE("a default lookup resolves the record of a module that is not loaded") {
    SatelliteFolder folder;
    folder.put(L"ledger_en-US.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    const ManagerSession manager;
    const auto* const record = ProtectedManager::record(L"ledger.dll", true);
    REQUIRE(record->hDefaultLib != nullptr);
    REQUIRE(manager->setCulture(L"fr-CA"));
    REQUIRE(record->hDefaultLib == nullptr);

    CHECK(ProtectedManager::record(L"ledger.dll", true) == record);

    CHECK(record->hDefaultLib != nullptr);
}

TEST_CASE("a default lookup keeps the satellites of a module that is not loaded") {
    SatelliteFolder folder;
    folder.put(L"ledger_en-US.dll", ResourceLibrary());
    folder.put(L"ledger_fr-CA.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    {
        const ManagerSession manager;
        REQUIRE(manager->setCulture(L"fr-CA"));
        const auto* const record = ProtectedManager::record(L"ledger.dll");
        const HINSTANCE culture = record->hCultureLib, standard = record->hDefaultLib;
        REQUIRE((culture && standard));

        for (int lookup = 0; lookup < 3; ++lookup) ProtectedManager::record(L"ledger.dll", true);

        CHECK(record->hCultureLib == culture);
        CHECK(record->hDefaultLib == standard);
    }
    CHECK_FALSE(isLoaded(L"ledger_en-US.dll"));
    CHECK_FALSE(isLoaded(L"ledger_fr-CA.dll"));
}

TEST_CASE("a module that comes later is found by the next lookup") {
    SatelliteFolder folder;
    const CurrentFolder current(folder.path());
    const ManagerSession manager;
    const auto* const record = ProtectedManager::record(L"ledger.dll");
    REQUIRE_FALSE(record->ownsModule);

    folder.put(L"ledger.dll", ResourceLibrary());
    ProtectedManager::record(L"ledger.dll");

    CHECK(record->ownsModule);
}

// A service that takes every text for a culture.
TEST_CASE("a culture without a language or a name has no satellite of that language or name") {
    const testsupport::Apartment apartment;
    i18nsystests::ScriptedMultiLanguage service;
    const testsupport::ScriptedClass scripted(testsupport::kMultiLanguageClass, service);

    CHECK(servedBy(L"-CA", L"-US", {L"ledger_-CA.dll", L"ledger_-US.dll"}) ==
          Served{L"ledger_-CA.dll", L"ledger_-US.dll"});
    CHECK(servedBy(L"-CA", L"-US", {L"ledger_.dll"}) == Served{L"none", L"none"});
    CHECK(servedBy(L"fr-CA", L"", {L"ledger_fr.dll", L"ledger_.dll"}) ==
          Served{L"ledger_fr.dll", L"none"});
}

// The file must not be found by a service for languages that takes a path for a culture.
TEST_CASE("a culture that is a path leads to no file in another folder") {
    const testsupport::Apartment apartment;
    i18nsystests::ScriptedMultiLanguage service;
    const testsupport::ScriptedClass scripted(CLSID_CMultiLanguage, service);
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

// getResLibHandle

TEST_CASE("getResLibHandle without a name gives the first library that is loaded") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"ledger_fr-CA.dll", ResourceLibrary());
    folder.put(L"ledger_en-US.dll", ResourceLibrary());
    folder.put(L"plain.dll", ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.dll")), plain(folder.file(L"plain.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    const auto handle = [&](const wchar_t* name) {
        return fileOf(manager->getResLibHandle(name, nullptr, nullptr), folder);
    };

    CHECK(handle(L"ledger.dll") == L"ledger_fr-CA.dll");
    CHECK(handle(L"plain.dll") == L"plain.dll");
    CHECK(handle(L"missing.dll") == L"none");
    manager->setCulture(nullptr);
    CHECK(handle(L"ledger.dll") == L"ledger_en-US.dll");
}

TEST_CASE("getResLibHandle gives the first library that has the resource") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary()
                                  .resource(RT_HTML, MAKEINTRESOURCEW(1), "1")
                                  .resource(RT_HTML, MAKEINTRESOURCEW(2), "2")
                                  .resource(L"XML", L"PAGE", "3"));
    folder.put(L"ledger_en-US.dll", ResourceLibrary().resource(RT_HTML, MAKEINTRESOURCEW(2), "2"));
    folder.put(L"ledger_fr-CA.dll", ResourceLibrary().resource(RT_HTML, MAKEINTRESOURCEW(3), "3"));
    const LoadedModule module(folder.file(L"ledger.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    const auto handle = [&](const wchar_t* name, const wchar_t* type) {
        return fileOf(manager->getResLibHandle(L"ledger.dll", name, type), folder);
    };

    CHECK(handle(MAKEINTRESOURCEW(1), RT_HTML) == L"ledger.dll");
    CHECK(handle(MAKEINTRESOURCEW(2), RT_HTML) == L"ledger_en-US.dll");
    CHECK(handle(MAKEINTRESOURCEW(3), RT_HTML) == L"ledger_fr-CA.dll");
    CHECK(handle(L"PAGE", L"XML") == L"ledger.dll");
    CHECK(handle(MAKEINTRESOURCEW(4), RT_HTML) == L"none");
    CHECK(handle(MAKEINTRESOURCEW(1), RT_RCDATA) == L"none");
    CHECK(handle(MAKEINTRESOURCEW(1), nullptr) == L"none");
}

TEST_CASE("getResLibHandle finds icons where an icon can be made of them") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary().icon(1, 16));
    // A group that names an image which is not there.
    folder.put(L"ledger_fr-CA.dll",
               ResourceLibrary().resource(
                   RT_GROUP_ICON, MAKEINTRESOURCEW(1),
                   std::string("\0\0\1\0\1\0\20\20\0\0\1\0\40\0\0\1\0\0\11\0", 20)));
    const LoadedModule module(folder.file(L"ledger.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    for (const wchar_t* type : {RT_ICON, RT_GROUP_ICON}) {
        CHECK(manager->getResLibHandle(L"ledger.dll", MAKEINTRESOURCEW(1), type) == module.get());
        CHECK(manager->getResLibHandle(L"ledger.dll", MAKEINTRESOURCEW(2), type) == nullptr);
    }
}

int g_iconsMade, g_iconsDestroyed;
decltype(&::LoadImageW) g_loadImage;
decltype(&::DestroyIcon) g_destroyIcon;
UINT g_imageType, g_imageFlags;

HANDLE WINAPI countLoadedImage(HINSTANCE library, const wchar_t* name, UINT type, int width,
                               int height, UINT flags) {
    const HANDLE image = g_loadImage(library, name, type, width, height, flags);
    g_iconsMade += image != nullptr;
    g_imageType = type;
    g_imageFlags = width == 0 && height == 0 ? flags : 0;
    return image;
}

BOOL WINAPI countDestroyedIcon(HICON icon) {
    ++g_iconsDestroyed;
    return g_destroyIcon(icon);
}

TEST_CASE("getResLibHandle destroys the icon that it made to look") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary().icon(1, 16));
    const LoadedModule module(folder.file(L"ledger.dll"));
    const ManagerSession manager;
    const ReplacedImport loadImage("LoadImageW", &countLoadedImage);
    const ReplacedImport destroyIcon("DestroyIcon", &countDestroyedIcon);
    g_loadImage = loadImage.original();
    g_destroyIcon = destroyIcon.original();
    g_iconsMade = g_iconsDestroyed = 0;

    CHECK(manager->getResLibHandle(L"ledger.dll", MAKEINTRESOURCEW(1), RT_GROUP_ICON) ==
          module.get());

    CHECK(g_iconsMade == 1);
    CHECK(g_iconsDestroyed == 1);
    CHECK(g_imageType == IMAGE_ICON);
    CHECK(g_imageFlags == LR_DEFAULTSIZE);
}

TEST_CASE("getResLibHandle gives null for a null module") {
    const ManagerSession manager;

    CHECK(manager->getResLibHandle(nullptr, nullptr, nullptr) == nullptr);
}

TEST_CASE("getResLibHandle does not search a module that has been freed") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"ledger_en-US.dll", ResourceLibrary());
    const ManagerSession manager;
    {
        const LoadedModule module(folder.file(L"ledger.dll"));
        REQUIRE(manager->getResLibHandle(L"ledger.dll", nullptr, nullptr) != nullptr);
    }

    CHECK(manager->getResLibHandle(L"ledger.dll", MAKEINTRESOURCEW(1), RT_HTML) == nullptr);
}

// Names that no module has

TEST_CASE("names that no module can have give a record without libraries") {
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    const std::wstring longName(MAX_PATH, L'x');
    for (const std::wstring& name : {std::wstring(),
                                     std::wstring(L"."),
                                     std::wstring(L".."),
                                     std::wstring(L"\\"),
                                     std::wstring(L"C:"),
                                     std::wstring(L"C:\\"),
                                     std::wstring(L"missing."),
                                     std::wstring(L"missing..."),
                                     std::wstring(L"a/b/missing.dll"),
                                     std::wstring(L"C:/nowhere/missing.dll"),
                                     std::wstring(L"\\\\server"),
                                     std::wstring(L"\\\\.\\missing"),
                                     std::wstring(L"\\\\?\\C:\\nowhere\\missing.dll"),
                                     std::wstring(L"*?<>|\".dll"),
                                     std::wstring(L"\xD800.dll"),
                                     longName.substr(1),
                                     longName,
                                     longName + L"x",
                                     longName + L".dll",
                                     L"C:\\" + longName + L"\\missing.dll",
                                     std::wstring(L"x.") + longName,
                                     std::wstring(40000, L'x'),
                                     std::wstring(20000, L'\\') + L"missing.dll",
                                     std::wstring(40000, L'.')}) {
        CAPTURE(name);
        const auto* const record = ProtectedManager::record(name.c_str());
        REQUIRE(record != nullptr);
        CHECK(record->moduleName == name);
        CHECK(record->hCultureLib == nullptr);
        CHECK(record->hDefaultLib == nullptr);
        CHECK_FALSE(record->ownsModule);
        CHECK(ProtectedManager::record(name.c_str(), true) == record);
        CHECK(manager->getResLibHandle(name.c_str(), nullptr, nullptr) == nullptr);
    }
}

TEST_CASE("a folder that is too long for the platform's path functions is not searched") {
    SatelliteFolder folder;
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    std::wstring module = folder.path();
    while (module.size() < MAX_PATH) module += L".\\";

    CHECK(satelliteOf(module + L"ledger.dll", L"fr", folder) == L"none");

    manager->useResourcePathOnly(false);
    CHECK(satelliteOf(module + L"ledger.dll", L"fr", folder) == L"ledger_fr.dll");
}

int g_attempts;

TEST_CASE("a folder that the platform's path functions take only without its backslash is none") {
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    const ReplacedImport<decltype(::LoadLibraryW)> loadLibrary(
        "LoadLibraryW", +[](const wchar_t*) -> HMODULE {
            ++g_attempts;
            return nullptr;
        });
    const auto attempts = [](std::size_t length) {
        g_attempts = 0;
        CHECK(ProtectedManager::satellite(L"C:" + std::wstring(length - 3, L'x') + L":", L"fr") ==
              nullptr);
        return g_attempts;
    };

    CHECK(attempts(MAX_PATH - 2) == 1);
    CHECK(attempts(MAX_PATH - 1) == 0);
}

// What the system answers for a path that does not fit: as much of it as there is room for.
DWORD WINAPI cutModuleFileName(HMODULE, wchar_t* path, DWORD size) {
    const std::wstring longPath = L"C:\\" + std::wstring(300, L'x') + L"\\ledger.dll";
    path[longPath.copy(path, size - 1)] = L'\0';
    ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size;
}

TEST_CASE("a module path that the system cuts off is not used") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"resources\\ledger_fr.dll", ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.dll"));
    const ManagerSession manager;
    manager->setResourcePath(folder.file(L"resources\\").c_str());
    REQUIRE(manager->setCulture(L"fr-CA"));
    const ReplacedImport moduleFileName("GetModuleFileNameW", &cutModuleFileName);

    CHECK(fileOf(ProtectedManager::record(L"ledger.dll")->hCultureLib, folder) ==
          L"resources\\ledger_fr.dll");
}

// Memory and locks

TEST_CASE("a lookup that runs out of memory loses no library and leaves the lock") {
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
