#include "i18nres/Manager.h"

#include <windows.h>

#include <doctest/doctest.h>

#include <cstdlib>
#include <new>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "i18nres/i18nres.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/LeakListener.h"
#include "tests/support/OtherThread.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using i18nres::Manager;
using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::otherThreadFinishes;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;
using testsupport::ScopedVariable;
using testsupport::Switches;

constexpr wchar_t kOrigin[] = L"ZEPH_RES_STRING_ORIGIN";
constexpr wchar_t kMarks[] = L"ORVEX_LOCAL_SIMULATION";

static_assert(!std::is_default_constructible_v<Manager>, "only Init makes the manager");
static_assert(!std::is_destructible_v<Manager>, "only Term destroys the manager");
static_assert(!std::is_copy_constructible_v<Manager>, "its records belong to one manager");
static_assert(!std::is_copy_assignable_v<Manager>, "its records belong to one manager");
static_assert(std::is_same_v<decltype(Manager::s_nRefCount), long>);
static_assert(std::is_same_v<decltype(Manager::s_pInstance), Manager*>);
static_assert(std::is_same_v<decltype(Manager::s_ccsInstance), ATL::CComAutoCriticalSection>);

// Returns true if another thread can now acquire the lock that Init and Term use.
bool initIsFree() {
    bool entered = false;
    otherThreadFinishes([&] {
        CRITICAL_SECTION& section = Manager::s_ccsInstance.m_sec;
        entered = ::TryEnterCriticalSection(&section);
        if (entered) ::LeaveCriticalSection(&section);
    });
    return entered;
}

// Loads a module and returns string 7 of the module. If the manager's switches add an origin or
// marks to strings, the result includes them.
std::wstring loadOpen() {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary().string(7, L"Open"));
    const LoadedModule module(folder.file(L"ledger.dll"));
    return i18nres::loadStdStringW(L"ledger.dll", 7);
}

TEST_CASE("There is no manager before Init") {
    CHECK(Manager::Instance() == nullptr);
    CHECK(Manager::s_pInstance == nullptr);
    CHECK(Manager::s_nRefCount == 0);
}

TEST_CASE("Init creates the manager and Term destroys it") {
    Manager::Init();
    CHECK(Manager::Instance() != nullptr);
    CHECK(Manager::Instance() == Manager::s_pInstance);
    CHECK(Manager::s_nRefCount == 1);

    Manager::Term();
    CHECK(Manager::Instance() == nullptr);
    CHECK(Manager::s_nRefCount == 0);
}

TEST_CASE("i18nres_Init and i18nres_Term count like Init and Term") {
    i18nres_Init();
    Manager::Init();
    CHECK(Manager::s_nRefCount == 2);

    i18nres_Term();
    CHECK(Manager::Instance() != nullptr);

    i18nres_Term();
    CHECK(Manager::Instance() == nullptr);
    CHECK(Manager::s_nRefCount == 0);
}

TEST_CASE("The manager of the first Init exists until the last Term") {
    Manager::Init();
    const Manager* const manager = Manager::Instance();
    Manager::Init();
    CHECK(Manager::Instance() == manager);

    Manager::Term();
    CHECK(Manager::Instance() == manager);
    CHECK(Manager::s_nRefCount == 1);

    Manager::Term();
    CHECK(Manager::Instance() == nullptr);
}

TEST_CASE("A new manager starts with the initial state") {
    {
        const ManagerSession first;
        REQUIRE(first->setCulture(L"fr-CA"));
        REQUIRE(first->setDefaultCulture(L"en-GB"));
    }
    const ManagerSession second;
    std::wstring culture = L"before", defaultCulture = L"before";

    second->getCulture(culture);
    second->getDefaultCulture(defaultCulture);

    CHECK(culture.empty());
    CHECK(defaultCulture == L"en-US");
}

TEST_CASE("A Term without an Init only decrements the count") {
    Manager::Term();

    CHECK(Manager::s_nRefCount == -1);
    CHECK(Manager::Instance() == nullptr);

    Manager::Init();
    CHECK(Manager::s_nRefCount == 0);
}

TEST_CASE("An Init after an extra Term increments the count without creating a manager") {
    Manager::Term();

    Manager::Init();
    CHECK(Manager::Instance() == nullptr);
    CHECK(Manager::s_nRefCount == 0);

    Manager::Init();
    CHECK(Manager::Instance() != nullptr);
    Manager::Term();
}

TEST_CASE("An extra Term destroys the manager of other clients") {
    Manager::Init();
    Manager::Init();
    Manager::Term();
    Manager::Term();
    CHECK(Manager::Instance() == nullptr);

    Manager::Term();
    CHECK(Manager::s_nRefCount == -1);
    Manager::Init();
}

TEST_CASE("Init and Term release their lock") {
    Manager::Init();
    CHECK(initIsFree());
    Manager::Term();
    CHECK(initIsFree());
}

TEST_CASE("Init throws when memory runs out and leaves the count incremented and the lock held") {
    testsupport::failNth(1);
    CHECK_THROWS_AS(Manager::Init(), std::bad_alloc);
    testsupport::failNth(0);

    CHECK(Manager::s_nRefCount == 1);
    CHECK(Manager::Instance() == nullptr);
    CHECK_FALSE(initIsFree());

    Manager::s_ccsInstance.Unlock();
    CHECK(initIsFree());
    Manager::Term();
    CHECK(Manager::s_nRefCount == 0);
}

TEST_CASE("An Init after a failed one increments the count and creates no manager") {
    testsupport::failNth(1);
    CHECK_THROWS_AS(Manager::Init(), std::bad_alloc);
    testsupport::failNth(0);
    Manager::s_ccsInstance.Unlock();

    Manager::Init();
    CHECK(Manager::s_nRefCount == 2);
    CHECK(Manager::Instance() == nullptr);

    Manager::Term();
    Manager::Term();
    CHECK(Manager::s_nRefCount == 0);
}

TEST_CASE("Init creates the manager after a failed Init if the count has returned to zero") {
    testsupport::failNth(1);
    CHECK_THROWS_AS(i18nres_Init(), std::bad_alloc);
    testsupport::failNth(0);
    Manager::s_ccsInstance.Unlock();
    Manager::Term();

    Manager::Init();

    CHECK(Manager::Instance() != nullptr);
    Manager::Term();
}

TEST_CASE("Concurrent calls to Init and Term keep the count correct") {
    constexpr int kThreads = 4, kRounds = 200;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([] {
            for (int round = 0; round < kRounds; ++round) {
                Manager::Init();
                Manager::Term();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();

    CHECK(Manager::s_nRefCount == 0);
    CHECK(Manager::Instance() == nullptr);
    testsupport::ignoreHandles();
}

TEST_CASE("Term frees the satellites that the manager loaded") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary().string(7, L"Open"));
    folder.put(L"ledger_en-US.dll", ResourceLibrary().string(7, L"Open US"));
    folder.put(L"ledger_fr-CA.dll", ResourceLibrary().string(7, L"Ouvrir"));
    const LoadedModule module(folder.file(L"ledger.dll"));
    {
        const ManagerSession manager;
        REQUIRE(manager->setCulture(L"fr-CA"));
        REQUIRE(i18nres::loadStdStringW(L"ledger.dll", 7) == L"Ouvrir");
        CHECK(::GetModuleHandleW(L"ledger_fr-CA.dll") != nullptr);
        CHECK(::GetModuleHandleW(L"ledger_en-US.dll") != nullptr);
    }

    CHECK(::GetModuleHandleW(L"ledger_fr-CA.dll") == nullptr);
    CHECK(::GetModuleHandleW(L"ledger_en-US.dll") == nullptr);
    CHECK(::GetModuleHandleW(L"ledger.dll") == module.get());
}

// The switches

TEST_CASE("Strings have neither origin nor marks unless the environment variables are set") {
    const ScopedVariable origin(kOrigin, nullptr), marks(kMarks, nullptr);
    Manager::Init();

    CHECK(loadOpen() == L"Open");

    Manager::Term();
}

TEST_CASE("Any value of its environment variable enables the origin") {
    const std::wstring longest(32000, L'x');
    for (const wchar_t* value : {L"1", L"0", L"false", L"", L" ", longest.c_str()}) {
        CAPTURE(value);
        const ScopedVariable origin(kOrigin, value), marks(kMarks, nullptr);
        Manager::Init();
        CHECK(loadOpen() == L"ledger.dll(7):Open");
        Manager::Term();
    }
}

TEST_CASE("A variable that the C runtime has set enables the origin") {
    const ScopedVariable origin(kOrigin, nullptr), marks(kMarks, nullptr);
    REQUIRE(::_wputenv(L"ZEPH_RES_STRING_ORIGIN=0") == 0);
    Manager::Init();

    CHECK(loadOpen() == L"ledger.dll(7):Open");

    Manager::Term();
    REQUIRE(::_wputenv(L"ZEPH_RES_STRING_ORIGIN=") == 0);
}

TEST_CASE("Any value of its environment variable enables the marks") {
    SatelliteFolder folder;
    folder.put(L"ledger.dll", ResourceLibrary());
    folder.put(L"ledger_en-US.dll", ResourceLibrary().string(7, L"Open"));
    const LoadedModule module(folder.file(L"ledger.dll"));
    for (const wchar_t* value : {L"1", L"0", L""}) {
        CAPTURE(value);
        const ScopedVariable origin(kOrigin, nullptr), marks(kMarks, value);
        Manager::Init();
        CHECK(i18nres::loadStdStringW(L"ledger.dll", 7) == L"\u65b9\u672cOpen\u6587\u65b9");
        Manager::Term();
    }
}

TEST_CASE("A variable that is set after Init has no effect on the existing manager") {
    const ScopedVariable undefined(kOrigin, nullptr), marks(kMarks, nullptr);
    Manager::Init();
    const ScopedVariable origin(kOrigin, L"1");

    CHECK(loadOpen() == L"Open");

    Manager::Init();
    CHECK(loadOpen() == L"Open");

    Manager::Term();
    Manager::Term();
}

TEST_CASE("The variables are read again after the count has returned to zero") {
    const ScopedVariable undefined(kOrigin, nullptr), marks(kMarks, nullptr);
    Manager::Init();
    Manager::Term();
    {
        const ScopedVariable origin(kOrigin, L"1");
        Manager::Init();
        CHECK(loadOpen() == L"ledger.dll(7):Open");
        Manager::Term();
    }
    Manager::Init();
    CHECK(loadOpen() == L"Open");
    Manager::Term();
}

}  // namespace
