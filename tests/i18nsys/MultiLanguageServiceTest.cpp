// Tests how the culture tag conversions use COM: the thread's apartment, the service, and the
// memory that the service allocates.
#include <comdef.h>
#include <doctest/doctest.h>
#include <windows.h>

#include <mlang.h>
#include <objbase.h>

#include <algorithm>
#include <string>
#include <vector>

#include "i18nsys/i18nsys.h"
#include "tests/i18nsys/ScriptedMultiLanguage.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Apartment.h"
#include "tests/support/InterfaceIds.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/ScriptedClass.h"

using i18nsystests::ScriptedMultiLanguage;
using testsupport::Apartment;
using testsupport::isComInitialized;
using testsupport::ReplacedImport;
using testsupport::ScriptedClass;

namespace {

using Events = std::vector<std::string>;
Events g_events;
bool g_initializeFails;
struct {
    CLSID clsid;
    IID iid;
    DWORD context;
} g_created;

/// Records the COM calls of the DLL in order, and forwards each call to the system. If
/// g_initializeFails is true, CoInitialize returns E_FAIL instead.
class ComJournal {
public:
    ComJournal() {
        g_events.clear();
        g_initializeFails = false;
        s_self = this;
    }

private:
    static inline ComJournal* s_self;

    ReplacedImport<decltype(CoInitialize)> m_initialize{
        "CoInitialize", +[](void* reserved) -> HRESULT {
            CHECK(reserved == nullptr);
            g_events.push_back("initialize");
            if (g_initializeFails) return E_FAIL;
            return s_self->m_initialize.original()(reserved);
        }};
    ReplacedImport<decltype(CoUninitialize)> m_uninitialize{"CoUninitialize", +[] {
                                                                g_events.push_back("uninitialize");
                                                                s_self->m_uninitialize.original()();
                                                            }};
    ReplacedImport<decltype(CoCreateInstance)> m_create{
        "CoCreateInstance",
        +[](REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object) -> HRESULT {
            CHECK(outer == nullptr);
            g_events.push_back("create");
            g_created = {clsid, iid, context};
            return s_self->m_create.original()(clsid, outer, context, iid, object);
        }};
    ReplacedImport<decltype(SysFreeString)> m_freeString{"SysFreeString", +[](BSTR text) {
                                                             if (text)
                                                                 g_events.push_back("free text");
                                                             s_self->m_freeString.original()(text);
                                                         }};
    ReplacedImport<decltype(FreeLibrary)> m_freeLibrary{
        "FreeLibrary", +[](HMODULE module) -> BOOL {
            g_events.push_back("free library");
            return s_self->m_freeLibrary.original()(module);
        }};
};

/// Replaces the system's multi-language service with a ScriptedMultiLanguage, and records the COM
/// calls of the DLL.
struct JournalFixture {
    JournalFixture() {
        service.onLastRelease = [] { g_events.push_back("release"); };
    }
    Apartment apartment;
    ScriptedMultiLanguage service;
    ScriptedClass replacement{testsupport::kMultiLanguageClass, service};
    ComJournal journal;
};

}  // namespace

TEST_CASE_FIXTURE(JournalFixture, "A conversion uninitializes COM before it releases the service") {
    unsigned long lcid = 0;
    REQUIRE(i18nsys::getLcidFromRfc1766(L"en-US", lcid) == S_OK);
    const Events toLcid = g_events;
    g_events.clear();
    service.tag = L"en-us";
    wchar_t tag[16];
    REQUIRE(i18nsys::getRfc1766FromLcid(0x0409, tag, 16) == S_OK);

    // The library that implements the service must stay loaded until the last call to its code
    // returns.
    const Events expected = {"initialize",   "create",  "free text",
                             "uninitialize", "release", "free library"};
    CHECK(toLcid == expected);
    CHECK(g_events == expected);
}

TEST_CASE_FIXTURE(JournalFixture,
                  "A conversion creates the multi-language service with CLSCTX_ALL") {
    unsigned long lcid = 0;
    REQUIRE(i18nsys::getLcidFromRfc1766(L"en-US", lcid) == S_OK);

    constexpr CLSID kClsid = {
        0x275C23E2, 0x3747, 0x11D0, {0x9F, 0xEA, 0x00, 0xAA, 0x00, 0x3F, 0x86, 0x46}};
    CHECK(g_created.clsid == kClsid);
    CHECK(g_created.iid == ScriptedMultiLanguage::kIid);
    CHECK(g_created.context == 0x17);
}

TEST_CASE_FIXTURE(JournalFixture,
                  "A failed COM initialization is not undone, and the conversion continues") {
    g_initializeFails = true;
    unsigned long lcid = 0;

    CHECK(i18nsys::getLcidFromRfc1766(L"en-US", lcid) == S_OK);
    CHECK(g_events == Events{"initialize", "create", "free text", "release", "free library"});
}

TEST_CASE(
    "A conversion on a thread without COM returns CO_E_NOTINITIALIZED if CoInitialize fails") {
    REQUIRE_FALSE(isComInitialized());
    const ComJournal journal;
    g_initializeFails = true;
    unsigned long lcid = 0;
    wchar_t tag[16];

    CHECK(i18nsys::getLcidFromRfc1766(L"en-US", lcid) == CO_E_NOTINITIALIZED);
    CHECK(i18nsys::getRfc1766FromLcid(0x0409, tag, 16) == CO_E_NOTINITIALIZED);
    CHECK(g_events == Events{"initialize", "create", "initialize", "create"});
}

TEST_CASE("COM initialization stays balanced if the service cannot be created") {
    const Apartment apartment;
    const ScriptedClass refusing(testsupport::kMultiLanguageClass,
                                 [](REFIID, void**) { return E_ACCESSDENIED; });
    const ComJournal journal;
    unsigned long lcid = 0;

    CHECK(i18nsys::getLcidFromRfc1766(L"en-US", lcid) == E_ACCESSDENIED);
    CHECK(g_events == Events{"initialize", "create", "uninitialize"});
}

TEST_CASE_FIXTURE(JournalFixture, "A service that fails is released like a service that succeeds") {
    service.result = E_UNEXPECTED;
    wchar_t tag[16];

    CHECK(i18nsys::getRfc1766FromLcid(0x0409, tag, 16) == E_UNEXPECTED);
    CHECK(g_events == Events{"initialize", "create", "uninitialize", "release", "free library"});
    CHECK(service.references == 1);
}

TEST_CASE_FIXTURE(JournalFixture, "Null arguments are rejected before COM is called") {
    unsigned long lcid = 0;
    i18nsys::getLcidFromRfc1766(nullptr, lcid);
    i18nsys::getRfc1766FromLcid(0x0409, nullptr, 16);
    i18nsys::isRfc1766StringValid(nullptr);
    i18nsys::isRfc1766NeutralLanguage(nullptr);

    CHECK(g_events.empty());
}

TEST_CASE_FIXTURE(JournalFixture, "Each conversion creates its own service") {
    unsigned long lcid = 0;
    for (int i = 0; i < 3; ++i) i18nsys::getLcidFromRfc1766(L"en-US", lcid);

    CHECK(std::count(g_events.begin(), g_events.end(), "create") == 3);
    CHECK(std::count(g_events.begin(), g_events.end(), "release") == 3);
    CHECK(service.references == 1);
}

TEST_CASE_FIXTURE(
    JournalFixture,
    "A conversion throws _com_error and leaves COM balanced if memory for the tag runs out") {
    unsigned long lcid = 0;
    HRESULT raised = S_OK;
    testsupport::failNth(1);
    try {
        i18nsys::getLcidFromRfc1766(L"en-US", lcid);
    } catch (const _com_error& error) {
        raised = error.Error();
    }
    testsupport::failNth(0);

    CHECK(raised == E_OUTOFMEMORY);
    CHECK(g_events == Events{"initialize", "create", "uninitialize", "release", "free library"});
    CHECK(service.references == 1);
}

TEST_CASE("The predicates throw when memory for the tag runs out") {
    testsupport::failNth(1);
    CHECK_THROWS_AS(i18nsys::isRfc1766StringValid(L"en-US"), _com_error);
    testsupport::failNth(1);
    CHECK_THROWS_AS(i18nsys::isRfc1766NeutralLanguage(L"en"), _com_error);
    testsupport::failNth(0);
}

TEST_CASE("A conversion on a thread without COM leaves the thread without COM") {
    REQUIRE_FALSE(isComInitialized());
    wchar_t tag[16] = {};

    CHECK(i18nsys::getRfc1766FromLcid(0x0411, tag, 16) == S_OK);
    CHECK(std::wstring(tag) == L"ja-JP");
    CHECK_FALSE(isComInitialized());
}

TEST_CASE("A conversion on a thread in the multithreaded apartment leaves COM initialized") {
    const Apartment apartment(COINIT_MULTITHREADED);
    unsigned long lcid = 0;

    CHECK(i18nsys::getLcidFromRfc1766(L"en-US", lcid) == S_OK);
    CHECK(lcid == 0x0409);
    CHECK(isComInitialized());
}
