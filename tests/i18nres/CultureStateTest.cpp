#include <windows.h>

#include <doctest/doctest.h>

#include <cwchar>
#include <list>
#include <string>
#include <vector>

#include "i18nres/Manager.h"
#include "tests/i18nres/ProtectedManager.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;
using Tags = std::list<std::wstring>;

std::wstring cultureOf(const ManagerSession& manager) {
    std::wstring culture = L"before";
    manager->getCulture(culture);
    return culture;
}

std::wstring defaultCultureOf(const ManagerSession& manager) {
    std::wstring culture = L"before";
    manager->getDefaultCulture(culture);
    return culture;
}

// Loads a module, its satellite for the default culture and its satellite for fr-CA.
class LoadedSatellites {
public:
    explicit LoadedSatellites(const ManagerSession& manager) : m_module(path()) {
        REQUIRE(manager->setCulture(L"fr-CA"));
        REQUIRE(ProtectedManager::record(L"ledger.dll") != nullptr);
        REQUIRE(cultureIsLoaded());
        REQUIRE(defaultIsLoaded());
    }
    bool cultureIsLoaded() const { return ::GetModuleHandleW(L"ledger_fr-CA.dll") != nullptr; }
    bool defaultIsLoaded() const { return ::GetModuleHandleW(L"ledger_en-US.dll") != nullptr; }

private:
    std::wstring path() {
        m_folder.put(L"ledger.dll", ResourceLibrary());
        m_folder.put(L"ledger_fr-CA.dll", ResourceLibrary());
        m_folder.put(L"ledger_en-US.dll", ResourceLibrary());
        return m_folder.file(L"ledger.dll");
    }

    SatelliteFolder m_folder;
    LoadedModule m_module;
};

TEST_CASE("A new manager has no culture and the default culture en-US") {
    const ManagerSession manager;

    CHECK(cultureOf(manager).empty());
    CHECK(defaultCultureOf(manager) == L"en-US");
}

// setCulture

TEST_CASE("setCulture sets a valid culture") {
    const ManagerSession manager;

    CHECK(manager->setCulture(L"fr-CA"));

    CHECK(cultureOf(manager) == L"fr-CA");
    CHECK(defaultCultureOf(manager) == L"en-US");
}

TEST_CASE("setCulture accepts a language without a region") {
    const ManagerSession manager;

    CHECK(manager->setCulture(L"fr"));

    CHECK(cultureOf(manager) == L"fr");
}

TEST_CASE("setCulture rejects an invalid tag and changes nothing") {
    const ManagerSession manager;
    const LoadedSatellites satellites(manager);

    CHECK_FALSE(manager->setCulture(L"xx_YY"));

    CHECK(cultureOf(manager) == L"fr-CA");
    CHECK(satellites.cultureIsLoaded());
    CHECK(satellites.defaultIsLoaded());
}

TEST_CASE("setCulture with null clears the culture and frees every satellite") {
    const ManagerSession manager;
    const LoadedSatellites satellites(manager);

    CHECK_FALSE(manager->setCulture(nullptr));

    CHECK(cultureOf(manager).empty());
    CHECK_FALSE(satellites.cultureIsLoaded());
    CHECK_FALSE(satellites.defaultIsLoaded());
}

TEST_CASE("setCulture with an empty string clears the culture and frees every satellite") {
    const ManagerSession manager;
    const LoadedSatellites satellites(manager);

    CHECK_FALSE(manager->setCulture(L""));

    CHECK(cultureOf(manager).empty());
    CHECK_FALSE(satellites.cultureIsLoaded());
    CHECK_FALSE(satellites.defaultIsLoaded());
}

TEST_CASE("setCulture with the current culture keeps the satellites") {
    const ManagerSession manager;
    const LoadedSatellites satellites(manager);

    CHECK(manager->setCulture(L"fr-CA"));

    CHECK(satellites.cultureIsLoaded());
    CHECK(satellites.defaultIsLoaded());
}

TEST_CASE("setCulture with another culture frees both satellites immediately") {
    const ManagerSession manager;
    const LoadedSatellites satellites(manager);

    CHECK(manager->setCulture(L"en-GB"));

    CHECK_FALSE(satellites.cultureIsLoaded());
    CHECK_FALSE(satellites.defaultIsLoaded());
}

TEST_CASE("setCulture compares tags case-sensitively") {
    const ManagerSession manager;
    const LoadedSatellites satellites(manager);

    CHECK(manager->setCulture(L"FR-ca"));

    CHECK(cultureOf(manager) == L"FR-ca");
    CHECK_FALSE(satellites.cultureIsLoaded());
}

TEST_CASE("setCulture frees the satellites of a manager that had no culture") {
    const ManagerSession manager;
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"ledger_en-US.dll", ResourceLibrary());
    const LoadedModule module(folder.file(L"ledger.dll"));
    REQUIRE(ProtectedManager::record(L"ledger.dll")->hDefaultLib != nullptr);

    CHECK(manager->setCulture(L"fr-CA"));

    CHECK(::GetModuleHandleW(L"ledger_en-US.dll") == nullptr);
}

TEST_CASE("A culture change keeps the record of a module and clears its satellites") {
    const ManagerSession manager;
    const LoadedSatellites satellites(manager);
    const auto* const record = ProtectedManager::record(L"ledger.dll");

    CHECK(manager->setCulture(L"en-GB"));

    CHECK(record->hCultureLib == nullptr);
    CHECK(record->hDefaultLib == nullptr);
    CHECK(ProtectedManager::record(L"ledger.dll") == record);
    CHECK(record->hDefaultLib == ::GetModuleHandleW(L"ledger_en-US.dll"));
}

// setDefaultCulture

TEST_CASE("setDefaultCulture sets a valid culture") {
    const ManagerSession manager;

    CHECK(manager->setDefaultCulture(L"en-GB"));

    CHECK(defaultCultureOf(manager) == L"en-GB");
    CHECK(cultureOf(manager).empty());
}

TEST_CASE("setDefaultCulture rejects null, an empty string and invalid tags") {
    const ManagerSession manager;
    const LoadedSatellites satellites(manager);

    for (const wchar_t* culture : {static_cast<const wchar_t*>(nullptr), L"", L"xx_YY"}) {
        CHECK_FALSE(manager->setDefaultCulture(culture));
        CHECK(defaultCultureOf(manager) == L"en-US");
        CHECK(satellites.cultureIsLoaded());
        CHECK(satellites.defaultIsLoaded());
    }
}

TEST_CASE("setDefaultCulture with the current default culture keeps the satellites") {
    const ManagerSession manager;
    const LoadedSatellites satellites(manager);

    CHECK(manager->setDefaultCulture(L"en-US"));

    CHECK(satellites.cultureIsLoaded());
    CHECK(satellites.defaultIsLoaded());
}

TEST_CASE("setDefaultCulture with another culture frees both satellites immediately") {
    const ManagerSession manager;
    const LoadedSatellites satellites(manager);

    CHECK(manager->setDefaultCulture(L"en-GB"));

    CHECK_FALSE(satellites.cultureIsLoaded());
    CHECK_FALSE(satellites.defaultIsLoaded());
}

// Reading

TEST_CASE("getCulture copies the culture to a buffer that has room for the terminator") {
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"en-US"));
    wchar_t buffer[8] = L"@@@@@@@";

    CHECK(manager->getCulture(buffer, 6));

    CHECK(std::wstring(buffer) == L"en-US");
    CHECK(buffer[6] == L'@');
}

TEST_CASE("getCulture does not change a buffer without room for the terminator") {
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"en-US"));
    wchar_t buffer[8] = L"@@@@@@@";

    for (const int size : {5, 1, 0, -1, INT_MIN}) {
        CAPTURE(size);
        CHECK_FALSE(manager->getCulture(buffer, size));
        CHECK(std::wstring(buffer) == L"@@@@@@@");
    }
}

TEST_CASE("getCulture rejects a null buffer") {
    const ManagerSession manager;

    CHECK_FALSE(manager->getCulture(nullptr, 6));
    CHECK_FALSE(manager->getCulture(nullptr, 0));
}

TEST_CASE("getCulture copies an empty string if there is no culture") {
    const ManagerSession manager;
    wchar_t buffer[2] = L"@";

    CHECK(manager->getCulture(buffer, 1));

    CHECK(buffer[0] == L'\0');
}

TEST_CASE("getDefaultCulture handles its buffer like getCulture") {
    const ManagerSession manager;
    wchar_t buffer[8] = L"@@@@@@@";

    CHECK_FALSE(manager->getDefaultCulture(buffer, 5));
    CHECK(std::wstring(buffer) == L"@@@@@@@");
    CHECK_FALSE(manager->getDefaultCulture(nullptr, 6));

    CHECK(manager->getDefaultCulture(buffer, 6));
    CHECK(std::wstring(buffer) == L"en-US");
}

TEST_CASE("getLanguage returns the text before the first hyphen") {
    const ManagerSession manager;
    std::wstring language = L"before";

    manager->getLanguage(language);
    CHECK(language.empty());

    REQUIRE(manager->setCulture(L"fr-CA"));
    manager->getLanguage(language);
    CHECK(language == L"fr");

    REQUIRE(manager->setCulture(L"fr"));
    manager->getLanguage(language);
    CHECK(language == L"fr");
}

TEST_CASE("getDefaultLanguage returns the language of the default culture") {
    const ManagerSession manager;
    std::wstring language = L"before";

    manager->getDefaultLanguage(language);
    CHECK(language == L"en");

    REQUIRE(manager->setDefaultCulture(L"fr-CA"));
    manager->getDefaultLanguage(language);
    CHECK(language == L"fr");
}

TEST_CASE("The protected functions that take no lock return the cultures and their languages") {
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));

    CHECK(ProtectedManager::unlockedCulture() == L"fr-CA");
    CHECK(ProtectedManager::unlockedDefaultCulture() == L"en-US");
    CHECK(ProtectedManager::unlockedLanguage() == L"fr");
    CHECK(ProtectedManager::unlockedDefaultLanguage() == L"en");
}

// The fallback list

TEST_CASE(
    "The fallback list is the culture, its language, the default culture and its language, each "
    "once") {
    struct Row {
        const wchar_t* culture;
        const wchar_t* defaultCulture;
        Tags tags;
    };
    const Row rows[] = {
        {nullptr, L"en-US", {L"en-US", L"en"}},
        {L"en-US", L"en-US", {L"en-US", L"en"}},
        {L"en", L"en-US", {L"en", L"en-US"}},
        {L"en-GB", L"en-US", {L"en-GB", L"en", L"en-US"}},
        {L"fr", L"en-US", {L"fr", L"en-US", L"en"}},
        {L"fr-CA", L"en-US", {L"fr-CA", L"fr", L"en-US", L"en"}},
        {L"fr-CA", L"fr", {L"fr-CA", L"fr"}},
        {L"fr", L"fr-CA", {L"fr", L"fr-CA"}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.culture);
        CAPTURE(row.defaultCulture);
        const ManagerSession manager;
        manager->setCulture(row.culture);
        REQUIRE(manager->setDefaultCulture(row.defaultCulture));
        Tags tags;
        CHECK(ProtectedManager::appendCultures(tags));
        CHECK(tags == row.tags);
    }
}

TEST_CASE("The fallback list is appended and repeats no tag of the list except the culture") {
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    Tags tags = {L"de", L"fr-CA", L"fr", L"en"};

    CHECK(ProtectedManager::appendCultures(tags));

    CHECK(tags == Tags{L"de", L"fr-CA", L"fr", L"en", L"fr-CA", L"en-US"});
}

// The preferred user interface languages of the process

struct PreferredLanguages {
    DWORD flags;
    std::wstring list;  // including all NULs
    bool hasCount;
};

std::vector<PreferredLanguages> g_calls;
BOOL g_result = TRUE;
decltype(&::GetProcAddress) g_getProcAddress;

BOOL WINAPI recordPreferredLanguages(DWORD flags, const wchar_t* list, ULONG* count) {
    const std::size_t first = std::wcslen(list);
    const std::size_t length = first == 0 ? 1 : first + 1 + std::wcslen(list + first + 1) + 1;
    g_calls.push_back({flags, std::wstring(list, length), count != nullptr});
    return g_result;
}

FARPROC WINAPI findRecorder(HMODULE module, const char* name) {
    if (!IS_INTRESOURCE(name) && std::string(name) == "SetProcessPreferredUILanguages") {
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&recordPreferredLanguages));
    }
    return g_getProcAddress(module, name);
}

// Records the arguments of the calls to SetProcessPreferredUILanguages. The library finds this
// function with GetProcAddress, so GetProcAddress is replaced.
class LanguageRecorder {
public:
    LanguageRecorder() : m_import("GetProcAddress", &findRecorder) {
        g_getProcAddress = m_import.original();
        g_calls.clear();
        g_result = TRUE;
    }

    // Returns the first tag of the language list in each recorded call.
    std::vector<std::wstring> tags() const {
        std::vector<std::wstring> tags;
        for (const PreferredLanguages& call : g_calls) tags.emplace_back(call.list.c_str());
        return tags;
    }

private:
    testsupport::ReplacedImport<decltype(::GetProcAddress)> m_import;
};

using TagVector = std::vector<std::wstring>;

TEST_CASE("No user interface language is set before the first call that sets a culture") {
    const LanguageRecorder recorder;
    const ManagerSession manager;

    cultureOf(manager);

    CHECK(recorder.tags().empty());
}

TEST_CASE(
    "setCulture passes the culture to the system as a list of one name with two terminators") {
    const LanguageRecorder recorder;
    const ManagerSession manager;

    REQUIRE(manager->setCulture(L"fr-CA"));

    REQUIRE(g_calls.size() == 1);
    CHECK(g_calls[0].flags == 8);
    CHECK(g_calls[0].list == std::wstring(L"fr-CA\0\0", 7));
    CHECK(g_calls[0].hasCount);
}

TEST_CASE("The first setCulture passes the default culture to the system even for an invalid tag") {
    const LanguageRecorder recorder;
    const ManagerSession manager;

    CHECK_FALSE(manager->setCulture(L"xx_YY"));

    CHECK(recorder.tags() == TagVector{L"en-US"});
}

TEST_CASE(
    "The first setDefaultCulture passes the default culture to the system even if it rejects the "
    "tag") {
    for (const wchar_t* culture : {static_cast<const wchar_t*>(nullptr), L"", L"xx_YY"}) {
        const LanguageRecorder recorder;
        const ManagerSession manager;
        CHECK_FALSE(manager->setDefaultCulture(culture));
        CHECK(recorder.tags() == TagVector{L"en-US"});
    }
}

TEST_CASE("A culture is passed to the system once") {
    const LanguageRecorder recorder;
    const ManagerSession manager;

    REQUIRE(manager->setCulture(L"fr-CA"));
    REQUIRE(manager->setCulture(L"fr-CA"));
    CHECK_FALSE(manager->setCulture(L"xx_YY"));
    manager->synchronizeProcessUICulture();

    CHECK(recorder.tags() == TagVector{L"fr-CA"});
}

TEST_CASE("A culture that the system rejects is not passed to it again") {
    const LanguageRecorder recorder;
    const ManagerSession manager;
    g_result = FALSE;

    CHECK(manager->setCulture(L"fr-CA"));
    CHECK(manager->setCulture(L"fr-CA"));

    CHECK(recorder.tags() == TagVector{L"fr-CA"});
}

TEST_CASE("Clearing the culture passes the default culture to the system") {
    const LanguageRecorder recorder;
    const ManagerSession manager;

    REQUIRE(manager->setCulture(L"fr-CA"));
    CHECK_FALSE(manager->setCulture(nullptr));

    CHECK(recorder.tags() == TagVector{L"fr-CA", L"en-US"});
}

TEST_CASE("The default culture is not passed to the system while there is a culture") {
    const LanguageRecorder recorder;
    const ManagerSession manager;

    REQUIRE(manager->setCulture(L"fr-CA"));
    REQUIRE(manager->setDefaultCulture(L"en-GB"));

    CHECK(recorder.tags() == TagVector{L"fr-CA"});
}

TEST_CASE("synchronizeProcessUICulture passes a new manager's default culture to the system") {
    const LanguageRecorder recorder;
    const ManagerSession manager;

    manager->synchronizeProcessUICulture();
    manager->synchronizeProcessUICulture();

    CHECK(recorder.tags() == TagVector{L"en-US"});
}

TEST_CASE("A new manager passes the culture to the system again") {
    const LanguageRecorder recorder;
    for (int round = 0; round < 2; ++round) {
        const ManagerSession manager;
        REQUIRE(manager->setCulture(L"fr-CA"));
    }

    CHECK(recorder.tags() == TagVector{L"fr-CA", L"fr-CA"});
}

}  // namespace
