#include <doctest/doctest.h>
#include <windows.h>

#include <commctrl.h>
#include <mlang.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "i18nsys/i18nsys.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Apartment.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/ScriptedClass.h"

using testsupport::ReplacedImport;

namespace {

constexpr unsigned long kIdentifiers = 0x4, kNames = 0x8;

/// Replaces the system's functions for user interface languages with functions that record each
/// call. The test selects which functions exist.
class UILanguageSystem {
public:
    UILanguageSystem() {
        recorded = {};
        s_self = this;
    }

    struct Call {
        std::string function;
        DWORD flags;
        const wchar_t* languages;
        PULONG count;
    };
    struct RecordedCalls {
        std::vector<std::string> lookups;
        std::vector<Call> calls;
        std::vector<LCID> checked;
        std::vector<LANGID> commonControls;
    };
    static inline RecordedCalls recorded;

    bool hasProcessFunction = false, hasThreadFunction = false, hasKernel = true;
    BOOL functionResult = TRUE;

private:
    static BOOL WINAPI setProcess(DWORD flags, PCZZWSTR languages, PULONG count) {
        recorded.calls.push_back({"process", flags, languages, count});
        return s_self->functionResult;
    }
    static BOOL WINAPI setThread(DWORD flags, PCZZWSTR languages, PULONG count) {
        recorded.calls.push_back({"thread", flags, languages, count});
        return s_self->functionResult;
    }

    static inline UILanguageSystem* s_self;

    ReplacedImport<decltype(GetModuleHandleExW)> m_handle{
        "GetModuleHandleExW", +[](DWORD flags, LPCWSTR name, HMODULE* module) -> BOOL {
            const bool kernel = !(flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS) &&
                                std::wstring(name) == L"kernel32.dll";
            if (kernel && !s_self->hasKernel) return FALSE;
            return s_self->m_handle.original()(flags, name, module);
        }};
    ReplacedImport<decltype(GetProcAddress)> m_lookup{
        "GetProcAddress", +[](HMODULE module, LPCSTR name) -> FARPROC {
            if (!std::strstr(name, "PreferredUILanguages"))
                return s_self->m_lookup.original()(module, name);
            CHECK(module == ::GetModuleHandleW(L"kernel32.dll"));
            recorded.lookups.push_back(name);
            const bool process = std::strcmp(name, "SetProcessPreferredUILanguages") == 0;
            if (!(process ? s_self->hasProcessFunction : s_self->hasThreadFunction)) return nullptr;
            return reinterpret_cast<FARPROC>(
                reinterpret_cast<void*>(process ? &setProcess : &setThread));
        }};
    ReplacedImport<decltype(IsValidLocale)> m_valid{
        "IsValidLocale", +[](LCID lcid, DWORD flags) -> BOOL {
            CHECK(flags == LCID_SUPPORTED);
            recorded.checked.push_back(lcid);
            return s_self->m_valid.original()(lcid, flags);
        }};
    ReplacedImport<decltype(InitMUILanguage)> m_commonControls{
        "InitMUILanguage", +[](LANGID language) { recorded.commonControls.push_back(language); }};
};

/// A version of Windows earlier than Windows Vista.
using OldSystem = UILanguageSystem;

struct SystemWithProcessLanguages : UILanguageSystem {
    SystemWithProcessLanguages() { hasProcessFunction = hasThreadFunction = true; }
};

}  // namespace

TEST_CASE_FIXTURE(
    SystemWithProcessLanguages,
    "setPreferredUILanguages passes its arguments to the process function unchanged") {
    const wchar_t languages[] = L"fr-FR\0en-US\0";
    ULONG count = 77;
    CHECK(i18nsys::setPreferredUILanguages(0x12345678, languages, &count) == TRUE);

    REQUIRE(recorded.calls.size() == 1);
    CHECK(recorded.calls[0].function == "process");
    CHECK(recorded.calls[0].flags == 0x12345678);
    CHECK(recorded.calls[0].languages == languages);
    CHECK(recorded.calls[0].count == &count);
    CHECK(recorded.lookups == std::vector<std::string>{"SetProcessPreferredUILanguages"});
}

TEST_CASE_FIXTURE(SystemWithProcessLanguages,
                  "setPreferredUILanguages returns the system's result") {
    for (const BOOL given : {TRUE, FALSE, 42}) {
        functionResult = given;
        CHECK(i18nsys::setPreferredUILanguages(kNames, L"fr-FR\0", nullptr) == given);
    }
    CHECK(recorded.commonControls.empty());
}

TEST_CASE_FIXTURE(SystemWithProcessLanguages,
                  "setPreferredUILanguages looks up the system functions in each call") {
    i18nsys::setPreferredUILanguages(kNames, L"fr-FR\0", nullptr);
    hasProcessFunction = false;
    i18nsys::setPreferredUILanguages(kNames, L"fr-FR\0", nullptr);

    REQUIRE(recorded.calls.size() == 2);
    CHECK(recorded.calls[0].function == "process");
    CHECK(recorded.calls[1].function == "thread");
}

TEST_CASE_FIXTURE(
    UILanguageSystem,
    "setPreferredUILanguages sets the thread's languages if there is no process function") {
    hasThreadFunction = true;
    functionResult = FALSE;
    const wchar_t languages[] = L"040C\0";
    ULONG count = 77;
    CHECK(i18nsys::setPreferredUILanguages(kIdentifiers, languages, &count) == FALSE);

    REQUIRE(recorded.calls.size() == 1);
    CHECK(recorded.calls[0].function == "thread");
    CHECK(recorded.calls[0].flags == kIdentifiers);
    CHECK(recorded.calls[0].languages == languages);
    CHECK(recorded.calls[0].count == &count);
    CHECK(recorded.lookups == std::vector<std::string>{"SetProcessPreferredUILanguages",
                                                       "SetThreadPreferredUILanguages"});
    CHECK(recorded.commonControls.empty());
}

TEST_CASE_FIXTURE(SystemWithProcessLanguages,
                  "setPreferredUILanguages rejects a null list before it looks up a function") {
    CHECK(i18nsys::setPreferredUILanguages(kNames, nullptr, nullptr) == FALSE);
    CHECK(recorded.lookups.empty());
}

TEST_CASE_FIXTURE(SystemWithProcessLanguages,
                  "setPreferredUILanguages fails if it cannot get a handle to the kernel library") {
    hasKernel = false;
    CHECK(i18nsys::setPreferredUILanguages(kNames, L"fr-FR\0", nullptr) == FALSE);
    CHECK(recorded.lookups.empty());
}

TEST_CASE_FIXTURE(UILanguageSystem, "setPreferredUILanguages frees its handle on every path") {
    const long before = testsupport::allocCount().libraries;
    i18nsys::setPreferredUILanguages(kIdentifiers, L"1041\0", nullptr);
    CHECK(testsupport::allocCount().libraries == before);
    i18nsys::setPreferredUILanguages(kIdentifiers, L"0\0", nullptr);
    CHECK(testsupport::allocCount().libraries == before);
    i18nsys::setPreferredUILanguages(kNames, L"fr-FR\0", nullptr);
    CHECK(testsupport::allocCount().libraries == before);
    i18nsys::setPreferredUILanguages(0, L"fr-FR\0", nullptr);
    CHECK(testsupport::allocCount().libraries == before);
    hasThreadFunction = true;
    i18nsys::setPreferredUILanguages(kNames, L"fr-FR\0", nullptr);
    CHECK(testsupport::allocCount().libraries == before);
}

TEST_CASE("setPreferredUILanguages adds a reference to the kernel library during the call") {
    static bool s_counted;
    static ReplacedImport<decltype(GetModuleHandleExW)>* s_import;
    s_counted = false;
    ReplacedImport<decltype(GetModuleHandleExW)> import(
        "GetModuleHandleExW", +[](DWORD flags, LPCWSTR name, HMODULE* module) -> BOOL {
            s_counted = s_counted || (flags == 0 && std::wstring(name) == L"kernel32.dll");
            return s_import->original()(flags, name, module);
        });
    s_import = &import;
    i18nsys::setPreferredUILanguages(kNames, L"en-US\0", nullptr);

    CHECK(s_counted);
}

// Systems without SetProcessPreferredUILanguages and SetThreadPreferredUILanguages.

TEST_CASE_FIXTURE(OldSystem, "An old system accepts a decimal identifier for the common controls") {
    ULONG count = 77;
    CHECK(i18nsys::setPreferredUILanguages(kIdentifiers, L"1041\0", &count) == 1);

    CHECK(recorded.checked == std::vector<LCID>{1041});
    CHECK(recorded.commonControls == std::vector<LANGID>{0x0411});
    CHECK(count == 77);
}

TEST_CASE_FIXTURE(OldSystem,
                  "An old system reads the identifier 0411 as the number 411 and rejects it") {
    ULONG count = 77;
    CHECK(i18nsys::setPreferredUILanguages(kIdentifiers, L"0411\0", &count) == 0);

    CHECK(recorded.checked == std::vector<LCID>{411});
    CHECK(recorded.commonControls.empty());
    CHECK(count == 77);
}

TEST_CASE_FIXTURE(OldSystem, "An old system uses only the first identifier of the list") {
    const struct {
        const wchar_t* languages;
        LCID lcid;
    } rows[] = {{L"1036\0001041\0", 1036},
                {L" 1036", 1036},
                {L"1036;1041", 1036},
                {L"+1036", 1036},
                {L"-1", 0xFFFFFFFF},
                {L"040C", 40},
                {L"fr-FR", 0},
                {L"", 0},
                {L"0x411", 0},
                {L"99999999999999999999", 0x7FFFFFFF}};
    for (const auto& row : rows) {
        CAPTURE(std::wstring(row.languages));
        recorded = {};
        i18nsys::setPreferredUILanguages(kIdentifiers, row.languages, nullptr);
        CHECK(recorded.checked == std::vector<LCID>{row.lcid});
    }
}

TEST_CASE_FIXTURE(OldSystem, "An old system accepts a culture tag for the common controls") {
    ULONG count = 77;
    CHECK(i18nsys::setPreferredUILanguages(kNames, L"fr-FR\0de-DE\0", &count) == 1);

    CHECK(recorded.commonControls == std::vector<LANGID>{0x040C});
    CHECK(recorded.checked.empty());
    CHECK(count == 77);
}

TEST_CASE_FIXTURE(OldSystem, "An old system rejects a string that is not a culture tag") {
    CHECK(i18nsys::setPreferredUILanguages(kNames, L"xx-YY\0", nullptr) == 0);
    CHECK(i18nsys::setPreferredUILanguages(kNames, L"", nullptr) == 0);
    CHECK(i18nsys::setPreferredUILanguages(kNames, L"1041\0", nullptr) == 0);
    CHECK(recorded.commonControls.empty());
}

TEST_CASE_FIXTURE(OldSystem, "An old system requires a flag for the format of the list") {
    for (const unsigned long flags : {0x0ul, 0x1ul, 0x3ul, 0xFFFFFFF3ul}) {
        CHECK(i18nsys::setPreferredUILanguages(flags, L"1041\0", nullptr) == 0);
        CHECK(i18nsys::setPreferredUILanguages(flags, L"fr-FR\0", nullptr) == 0);
    }
    CHECK(recorded.commonControls.empty());
}

TEST_CASE_FIXTURE(OldSystem,
                  "An old system prefers identifiers if the flags specify both formats") {
    CHECK(i18nsys::setPreferredUILanguages(kIdentifiers | kNames, L"1041\0", nullptr) == 1);
    CHECK(i18nsys::setPreferredUILanguages(kIdentifiers | kNames, L"fr-FR\0", nullptr) == 0);
    CHECK(recorded.commonControls == std::vector<LANGID>{0x0411});
}

TEST_CASE_FIXTURE(OldSystem, "An old system uses the language of a locale with a sort order") {
    CHECK(i18nsys::setPreferredUILanguages(kIdentifiers, L"66567\0", nullptr) == 1);  // 0x10407
    CHECK(recorded.commonControls == std::vector<LANGID>{0x0407});
}

TEST_CASE_FIXTURE(OldSystem,
                  "An old system sets no language and throws nothing when memory runs out") {
    int result = 77;
    testsupport::failNth(1);
    CHECK_NOTHROW(result = i18nsys::setPreferredUILanguages(kNames, L"fr-FR\0", nullptr));
    testsupport::failNth(0);

    CHECK(result == 0);
    CHECK(recorded.commonControls.empty());
}
