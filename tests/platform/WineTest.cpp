#include "platform/Wine.h"

#include <doctest/doctest.h>
#include <windows.h>

#include <string>
#include <string_view>

#include "tests/i18nsys/ScriptedMultiLanguage.h"
#include "tests/support/Apartment.h"
#include "tests/support/InterfaceIds.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"

using platform::Bstr;
using platform::wine::getLcidFromRfc1766;
using testsupport::ReplacedImport;

namespace {

constexpr unsigned long kUntouched = 0xABCDEF;

/// Creates the system's multi-language service, and passes it to getLcidFromRfc1766().
struct Service {
    Service() {
        REQUIRE(::CoCreateInstance(testsupport::kMultiLanguageClass, nullptr, CLSCTX_INPROC_SERVER,
                                   i18nsystests::ScriptedMultiLanguage::kIid,
                                   reinterpret_cast<void**>(&service)) == S_OK);
    }
    HRESULT find(std::wstring_view tag, unsigned long& lcid) const {
        return getLcidFromRfc1766(*service, Bstr(tag), lcid);
    }

    const testsupport::Apartment apartment;
    ATL::CComPtr<IMultiLanguage> service;
};

const bool onWindows = !platform::wine::isRunning();

}  // namespace

TEST_CASE_FIXTURE(Service, "Under Wine a tag that the service rejects is found by its locale name" *
                               doctest::skip(onWindows)) {
    const struct {
        const wchar_t* tag;
        unsigned long lcid;
    } rows[] = {{L"fr-FR", 0x040C}, {L"de-DE", 0x0407},   {L"ja-JP", 0x0411},
                {L"nb-NO", 0x0414}, {L"zh-Hans", 0x0004}, {L"zh-Hant", 0x7C04},
                {L"JA-jp", 0x0411}, {L"es-419", 0x580A},  {L"sr-Latn-RS", 0x241A}};
    for (const auto& row : rows) {
        CAPTURE(std::wstring(row.tag));
        unsigned long lcid = kUntouched;
        CHECK(find(row.tag, lcid) == S_OK);
        CHECK(lcid == row.lcid);
    }
}

TEST_CASE_FIXTURE(Service, "Under Wine a name that is not a tag is still rejected") {
    const std::wstring tags[] = {L"",
                                 L"-",
                                 L"xx-YY",
                                 L"xx_YY",
                                 L"fr_FR",
                                 L"fr-",
                                 L"fr-FR ",
                                 L"de-DE_phoneb",
                                 L"en-XA",
                                 L"qps-ploc",
                                 L"!x-sys-default-locale",
                                 L"en-001",
                                 L"und",
                                 std::wstring(200, L'a')};
    for (const std::wstring& tag : tags) {
        CAPTURE(tag);
        unsigned long lcid = kUntouched;
        CHECK(find(tag, lcid) == E_FAIL);
        CHECK(lcid == kUntouched);
    }
}

TEST_CASE_FIXTURE(Service, "Under Wine a locale without its own identifier is still rejected") {
    // LocaleNameToLCID returns LOCALE_CUSTOM_UNSPECIFIED for every locale without its own
    // identifier. If the user's locale is en-001, LCIDToLocaleName returns "en-001" for
    // LOCALE_CUSTOM_UNSPECIFIED.
    const HMODULE program = ::GetModuleHandleW(nullptr);
    const ReplacedImport<decltype(LocaleNameToLCID)> identifier(
        "LocaleNameToLCID", +[](LPCWSTR, DWORD) -> LCID { return LOCALE_CUSTOM_UNSPECIFIED; },
        program);
    const ReplacedImport<decltype(LCIDToLocaleName)> name(
        "LCIDToLocaleName",
        +[](LCID, LPWSTR buffer, int, DWORD) -> int {
            std::wstring_view(L"en-001").copy(buffer, 6);
            buffer[6] = L'\0';
            return 7;
        },
        program);

    unsigned long lcid = kUntouched;
    CHECK(find(L"en-001", lcid) == E_FAIL);
    CHECK(lcid == kUntouched);
}

TEST_CASE_FIXTURE(Service,
                  "Under Wine a tag is still rejected if its locale has no name or another name") {
    const HMODULE program = ::GetModuleHandleW(nullptr);
    unsigned long lcid = kUntouched;
    {
        const ReplacedImport<decltype(LCIDToLocaleName)> name(
            "LCIDToLocaleName", +[](LCID, LPWSTR, int, DWORD) -> int { return 0; }, program);
        CHECK(find(L"fr-FR", lcid) == E_FAIL);
    }
    {
        const ReplacedImport<decltype(LCIDToLocaleName)> name(
            "LCIDToLocaleName",
            +[](LCID, LPWSTR buffer, int, DWORD) -> int {
                ::lstrcpyW(buffer, L"fr");
                return 3;
            },
            program);
        CHECK(find(L"fr-FR", lcid) == E_FAIL);
    }
    CHECK(lcid == kUntouched);
}

TEST_CASE_FIXTURE(Service, "A tag that the service accepts has the identifier of the service") {
    for (const wchar_t* tag : {L"en-US", L"fr", L"fr-CA", L"zh-TW"}) {
        CAPTURE(std::wstring(tag));
        unsigned long lcid = kUntouched;
        LCID expected = kUntouched;

        CHECK(find(tag, lcid) == service->GetLcidFromRfc1766(&expected, Bstr(tag).get()));

        CHECK(lcid == expected);
    }
}

TEST_CASE("The results of another implementation's service are not changed") {
    for (const HRESULT result : {S_OK, S_FALSE, E_FAIL, E_INVALIDARG}) {
        i18nsystests::ScriptedMultiLanguage service;
        service.result = result;
        service.lcid = kUntouched;
        unsigned long lcid = 0;

        CHECK(getLcidFromRfc1766(service, Bstr(L"fr-FR"), lcid) == result);

        CHECK(lcid == kUntouched);
    }
}
