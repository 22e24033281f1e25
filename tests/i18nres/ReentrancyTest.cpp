// Tests calls to the manager that are made while the manager loads or frees a library. The
// library's DllMain could make such calls.
#include <windows.h>

#include <doctest/doctest.h>

#include <functional>
#include <string>

#include "i18nres/i18nres.h"
#include "tests/i18nres/ProtectedManager.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using testsupport::CurrentFolder;
using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::ReplacedImport;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;

std::wstring fileNameOf(HINSTANCE library) {
    wchar_t path[2 * MAX_PATH];
    ::GetModuleFileNameW(library, path, 2 * MAX_PATH);
    const std::wstring text = path;
    return text.substr(text.rfind(L'\\') + 1);
}

bool isLoaded(const wchar_t* name) { return ::GetModuleHandleW(name) != nullptr; }

std::wstring textOf(const wchar_t* module) { return i18nres::loadStdStringW(module, 7); }

// Calls onLoad after the manager has tried to load one of the test's libraries, and onFree before
// the manager frees one of them. Both functions receive the library's file name. While one of
// these functions runs, neither function is called again, even if more libraries are loaded or
// freed.
class LibraryCalls {
public:
    using Function = std::function<void(const std::wstring& fileName)>;

    LibraryCalls(Function onLoad, Function onFree)
        : m_load("LoadLibraryW", &load), m_free("FreeLibrary", &free) {
        s_originalLoad = m_load.original();
        s_originalFree = m_free.original();
        s_onLoad = std::move(onLoad);
        s_onFree = std::move(onFree);
        s_loads = 0;
        s_isCalling = false;
    }
    LibraryCalls(const LibraryCalls&) = delete;
    LibraryCalls& operator=(const LibraryCalls&) = delete;
    ~LibraryCalls() {
        s_onLoad = nullptr;
        s_onFree = nullptr;
    }

    // Returns the number of attempts to load a library, including attempts that failed.
    int loads() const { return s_loads; }

private:
    static void call(const Function& function, const std::wstring& fileName) {
        const bool isOfTest = fileName.starts_with(L"ledger") || fileName.starts_with(L"journal");
        if (!function || !isOfTest || s_isCalling) return;
        s_isCalling = true;
        function(fileName);
        s_isCalling = false;
    }
    static HMODULE WINAPI load(const wchar_t* path) {
        ++s_loads;
        const HMODULE library = s_originalLoad(path);
        const std::wstring text = path;
        call(s_onLoad, text.substr(text.rfind(L'\\') + 1));
        return library;
    }
    static BOOL WINAPI free(HMODULE library) {
        call(s_onFree, fileNameOf(library));
        return s_originalFree(library);
    }

    static inline Function s_onLoad, s_onFree;
    static inline int s_loads;
    static inline bool s_isCalling;
    static inline decltype(&::LoadLibraryW) s_originalLoad;
    static inline decltype(&::FreeLibrary) s_originalFree;
    ReplacedImport<decltype(::LoadLibraryW)> m_load;
    ReplacedImport<decltype(::FreeLibrary)> m_free;
};

// Two modules with satellites for en-US, fr and de. The string in each library is the name of the
// library.
struct Ledgers {
    Ledgers() {
        for (const wchar_t* module : {L"ledger", L"journal"}) {
            for (const wchar_t* tag : {L"", L"_en-US", L"_fr", L"_de"}) {
                const std::wstring name = module + std::wstring(tag);
                folder.put(name + L".dll", ResourceLibrary().string(7, name));
            }
        }
    }
    SatelliteFolder folder;
};

TEST_CASE("A lookup while satellites are freed uses the culture that is being set") {
    const Ledgers ledgers;
    const LoadedModule ledger(ledgers.folder.file(L"ledger.dll"));
    const LoadedModule journal(ledgers.folder.file(L"journal.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr"));
    REQUIRE(textOf(L"ledger.dll") == L"ledger_fr");
    REQUIRE(textOf(L"journal.dll") == L"journal_fr");
    int frees = 0;
    {
        const LibraryCalls calls(nullptr, [&](const std::wstring&) {
            ++frees;
            CHECK(textOf(L"ledger.dll") == L"ledger_de");
            CHECK(textOf(L"journal.dll") == L"journal_de");
        });
        REQUIRE(manager->setCulture(L"de"));
    }

    CHECK(frees == 4);
    CHECK(textOf(L"ledger.dll") == L"ledger_de");
    CHECK_FALSE(isLoaded(L"ledger_fr.dll"));
    CHECK_FALSE(isLoaded(L"journal_fr.dll"));
}

TEST_CASE("A lookup while the default culture changes uses the new default culture") {
    const Ledgers ledgers;
    const LoadedModule ledger(ledgers.folder.file(L"ledger.dll"));
    const ManagerSession manager;
    REQUIRE(textOf(L"ledger.dll") == L"ledger_en-US");
    {
        const LibraryCalls calls(
            nullptr, [&](const std::wstring&) { CHECK(textOf(L"ledger.dll") == L"ledger_fr"); });
        REQUIRE(manager->setDefaultCulture(L"fr"));
    }

    CHECK(textOf(L"ledger.dll") == L"ledger_fr");
}

TEST_CASE("A lookup while freeLocales frees libraries finds nothing and loads nothing") {
    const Ledgers ledgers;
    const CurrentFolder current(ledgers.folder.path());
    int frees = 0;
    {
        const ManagerSession manager;
        REQUIRE(manager->setCulture(L"fr"));
        REQUIRE(textOf(L"ledger.dll") == L"ledger_fr");
        REQUIRE(textOf(L"journal.dll") == L"journal_fr");
        const LibraryCalls calls(nullptr, [&](const std::wstring&) {
            ++frees;
            CHECK(textOf(L"ledger.dll").empty());
            CHECK(textOf(L"other.dll").empty());
            CHECK(manager->getResLibHandle(L"journal.dll", nullptr, nullptr) == nullptr);
        });
        ProtectedManager::freeAll();
        CHECK(calls.loads() == 0);
    }

    CHECK(frees == 6);
    for (const wchar_t* name : {L"ledger.dll", L"ledger_fr.dll", L"ledger_en-US.dll",
                                L"journal.dll", L"journal_fr.dll", L"journal_en-US.dll"}) {
        CHECK_FALSE(isLoaded(name));
    }
}

TEST_CASE("Setting a culture while freeLocales frees libraries frees none of them twice") {
    const Ledgers ledgers;
    const LoadedModule ledger(ledgers.folder.file(L"ledger.dll"));
    const LoadedModule journal(ledgers.folder.file(L"journal.dll"));
    int frees = 0;
    {
        const ManagerSession manager;
        REQUIRE(manager->setCulture(L"fr"));
        textOf(L"ledger.dll");
        textOf(L"journal.dll");
        const LibraryCalls calls(nullptr, [&](const std::wstring&) {
            ++frees;
            manager->setCulture(L"de");
        });
        ProtectedManager::freeAll();
    }

    CHECK(frees > 0);
    for (const wchar_t* name : {L"ledger_fr.dll", L"ledger_en-US.dll", L"journal_fr.dll"}) {
        CHECK_FALSE(isLoaded(name));
    }
}

TEST_CASE("A lookup while the module is being loaded adds no second reference to it") {
    const Ledgers ledgers;
    const CurrentFolder current(ledgers.folder.path());
    constexpr wchar_t kName[] = L"C:\\nowhere\\ledger.dll";
    {
        const ManagerSession manager;
        const LibraryCalls calls(
            [&](const std::wstring& file) {
                if (file == L"ledger.dll") CHECK(ProtectedManager::record(kName)->ownsModule);
            },
            nullptr);
        CHECK(ProtectedManager::record(kName)->ownsModule);
    }

    CHECK_FALSE(isLoaded(L"ledger.dll"));
    CHECK_FALSE(isLoaded(L"ledger_en-US.dll"));
}

TEST_CASE("A lookup while a satellite is being loaded adds no second reference to it") {
    const Ledgers ledgers;
    const LoadedModule ledger(ledgers.folder.file(L"ledger.dll"));
    {
        const ManagerSession manager;
        REQUIRE(manager->setCulture(L"fr"));
        const LibraryCalls calls(
            [&](const std::wstring&) { CHECK(textOf(L"ledger.dll") == L"ledger_fr"); }, nullptr);
        CHECK(textOf(L"ledger.dll") == L"ledger_fr");
    }

    CHECK_FALSE(isLoaded(L"ledger_fr.dll"));
    CHECK_FALSE(isLoaded(L"ledger_en-US.dll"));
}

TEST_CASE("A satellite is not used if the culture changes while it is being loaded") {
    const Ledgers ledgers;
    const LoadedModule ledger(ledgers.folder.file(L"ledger.dll"));
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr"));
    {
        const LibraryCalls calls(
            [&](const std::wstring& file) {
                if (file == L"ledger_fr.dll") REQUIRE(manager->setCulture(L"de"));
            },
            nullptr);
        CHECK(ProtectedManager::record(L"ledger.dll")->hCultureLib == nullptr);
        CHECK_FALSE(isLoaded(L"ledger_fr.dll"));
    }

    CHECK(textOf(L"ledger.dll") == L"ledger_de");
}

decltype(&::GetSystemTimeAsFileTime) g_systemTime;

// Reports a time that is one hour ahead of the system time. With this time, the folders of the
// test are old enough for a failed search to be cached.
void WINAPI reportLaterTime(FILETIME* time) {
    g_systemTime(time);
    ULARGE_INTEGER later = {{time->dwLowDateTime, time->dwHighDateTime}};
    later.QuadPart += 36'000'000'000;
    *time = {later.LowPart, later.HighPart};
}

TEST_CASE("A failed search is not cached if the culture changes during the search") {
    const Ledgers ledgers;
    const LoadedModule ledger(ledgers.folder.file(L"ledger.dll"));
    REQUIRE(::DeleteFileW(ledgers.folder.file(L"ledger_en-US.dll").c_str()));
    const ReplacedImport systemTime("GetSystemTimeAsFileTime", &reportLaterTime);
    g_systemTime = systemTime.original();
    const ManagerSession manager;
    manager->useResourcePathOnly(true);
    REQUIRE(manager->setCulture(L"fr-CA"));
    REQUIRE(::DeleteFileW(ledgers.folder.file(L"ledger_fr.dll").c_str()));
    {
        const LibraryCalls calls(
            [&](const std::wstring& file) {
                if (file == L"ledger_fr.dll") REQUIRE(manager->setCulture(L"de"));
            },
            nullptr);
        CHECK(ProtectedManager::record(L"ledger.dll")->hCultureLib == nullptr);
    }

    CHECK(textOf(L"ledger.dll") == L"ledger_de");
}

}  // namespace
