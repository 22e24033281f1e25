#include <windows.h>

#include <shlwapi.h>

#include <doctest/doctest.h>

#include <string>

#include "i18nres/Manager.h"
#include "tests/i18nres/ProtectedManager.h"
#include "tests/i18nres/SatelliteFiles.h"
#include "tests/support/LeakListener.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using testsupport::CurrentFolder;
using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::ReplacedImport;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;

// Releases all references to a library, and returns the number of these references.
int dropReferences(const std::wstring& path) {
    int references = 0;
    while (HINSTANCE library = ::GetModuleHandleW(path.c_str())) {
        ::FreeLibrary(library);
        ++references;
    }
    return references;
}

TEST_CASE("A null module has no record") {
    const ManagerSession manager;

    CHECK(ProtectedManager::record(nullptr, false) == nullptr);
    CHECK(ProtectedManager::record(nullptr, true) == nullptr);
}

TEST_CASE("A record stores the name exactly as the caller passed it") {
    const ManagerSession manager;

    CHECK(ProtectedManager::record(L"kernel32.dll")->moduleName == L"kernel32.dll");
    CHECK(ProtectedManager::record(L"KERNEL32")->moduleName == L"KERNEL32");
}

TEST_CASE("A name has one record, and names that differ in case have different records") {
    const ManagerSession manager;

    const auto* const lower = ProtectedManager::record(L"kernel32.dll");
    const auto* const upper = ProtectedManager::record(L"KERNEL32.dll");

    CHECK(lower != upper);
    CHECK(ProtectedManager::record(L"kernel32.dll", true) == lower);
    CHECK(ProtectedManager::record(std::wstring(L"kernel32.dll").c_str()) == lower);
}

TEST_CASE("The manager does not own a module that was already loaded") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.dll"));
    {
        const ManagerSession manager;
        CHECK_FALSE(ProtectedManager::record(L"ledger.dll")->ownsModule);
    }

    CHECK(isLoaded(L"ledger.dll"));
}

TEST_CASE("The manager loads a module that is not loaded and frees it at the end") {
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

TEST_CASE("A module that is not loaded is loaded by its file name") {
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

TEST_CASE("A module that was loaded from a folder other than the given one is freed at the end") {
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

TEST_CASE("A culture change keeps a module that the manager loaded") {
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

TEST_CASE("A module that other code freed is loaded again and stays loaded") {
    testsupport::ignoreLeaks();  // the test releases the manager's first reference to the module
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

TEST_CASE("A module that several records loaded is freed once per record") {
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

TEST_CASE("The manager frees only its own reference to a module") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    const CurrentFolder current(folder.path());
    {
        const ManagerSession manager;
        REQUIRE(ProtectedManager::record(L"ledger.dll")->ownsModule);
        REQUIRE(::LoadLibraryW(L"ledger.dll") != nullptr);  // the application's own reference
    }

    CHECK(dropReferences(L"ledger.dll") == 1);
}

TEST_CASE("A module that cannot be loaded has a record and satellites") {
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

TEST_CASE("The folder of an absolute path is searched even if the module cannot be loaded") {
    SatelliteFolder folder;
    folder.put(L"ledger_fr.dll", ResourceLibrary());
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    REQUIRE(manager->setCulture(L"fr-CA"));

    const auto* const record = ProtectedManager::record(folder.file(L"ledger.dll").c_str());

    CHECK(fileOf(record->hCultureLib, folder) == L"ledger_fr.dll");
}

TEST_CASE("freeLocales frees every library and deletes every record") {
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

// Repeated lookups in the same module

TEST_CASE("A satellite that appears on disk is found by the next lookup") {
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

TEST_CASE("A record with one satellite is not resolved again before the culture changes") {
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

TEST_CASE("Repeated lookups keep one reference to each satellite") {
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

TEST_CASE("A default-culture lookup uses the record of a loaded module unchanged") {
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

TEST_CASE("A default-culture lookup resolves the record of a module that is not loaded") {
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

TEST_CASE("A default-culture lookup keeps the satellites of a module that is not loaded") {
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

TEST_CASE("A module that is added later is found by the next lookup") {
    SatelliteFolder folder;
    const CurrentFolder current(folder.path());
    const ManagerSession manager;
    const auto* const record = ProtectedManager::record(L"ledger.dll");
    REQUIRE_FALSE(record->ownsModule);

    folder.put(L"ledger.dll", ResourceLibrary());
    ProtectedManager::record(L"ledger.dll");

    CHECK(record->ownsModule);
}

// Names that no module can have

TEST_CASE("Invalid names and names of missing modules result in a record without libraries") {
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

TEST_CASE("A folder that is too long for the system's path functions is not searched") {
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

TEST_CASE(
    "A folder whose path fits in MAX_PATH characters only without its backslash is not searched") {
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    const ReplacedImport<decltype(::LoadLibraryW)> loadLibrary(
        "LoadLibraryW", +[](const wchar_t*) -> HMODULE {
            ++g_attempts;
            return nullptr;
        });
    // PathRemoveFileSpecW is replaced, because Windows and Wine differ in how they treat a path
    // without a file name.
    const ReplacedImport<decltype(::PathRemoveFileSpecW)> removeFileSpec(
        "PathRemoveFileSpecW", +[](wchar_t*) -> BOOL { return FALSE; });
    const auto attempts = [](std::size_t length) {
        g_attempts = 0;
        CHECK(ProtectedManager::satellite(L"C:\\" + std::wstring(length - 3, L'x'), L"fr") ==
              nullptr);
        return g_attempts;
    };

    CHECK(attempts(MAX_PATH - 2) == 1);
    CHECK(attempts(MAX_PATH - 1) == 0);
}

// Reports a path that does not fit in the buffer. Like GetModuleFileNameW, this function stores the
// beginning of the path.
DWORD WINAPI cutModuleFileName(HMODULE, wchar_t* path, DWORD size) {
    const std::wstring longPath = L"C:\\" + std::wstring(300, L'x') + L"\\ledger.dll";
    path[longPath.copy(path, size - 1)] = L'\0';
    ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size;
}

TEST_CASE("A module path that the system truncates is not used") {
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

}  // namespace
