#include "i18nres/i18nres.h"

#include <windows.h>

#include <doctest/doctest.h>

#include <string>

#include "tests/i18nres/Ledger.h"

namespace {

using testsupport::ResourceLibrary;

enum : unsigned { kTitle = 1, kPattern = 2, kNowhere = 9 };

// The strings in the module differ from the strings in the satellite for the current culture.
class Messages : public Ledger {
public:
    Messages()
        : Ledger(ResourceLibrary().string(kTitle, L"Open").string(kPattern, L"%1 of %2!d!"),
                 ResourceLibrary(),
                 ResourceLibrary().string(kTitle, L"Ouvrir").string(kPattern, L"%1 sur %2!d!")) {}
};

TEST_CASE("The flat loaders of the current culture forward to the manager") {
    const Messages messages;
    wchar_t wideBuffer[16];
    char narrowBuffer[16];
    std::wstring wide;
    std::string narrow;
    BSTR bstr = nullptr;

    CHECK(i18nres::loadStringW(kLedger, kTitle, wideBuffer, 16) == 6);
    CHECK(std::wstring(wideBuffer) == L"Ouvrir");
    CHECK(i18nres::loadStringA(kLedger, kTitle, narrowBuffer, 16) == 6);
    CHECK(std::string(narrowBuffer) == "Ouvrir");
    CHECK(i18nres::loadStdStringW(kLedger, kTitle, wide) == 6);
    CHECK(wide == L"Ouvrir");
    CHECK(i18nres::loadStdStringA(kLedger, kTitle, narrow) == 6);
    CHECK(narrow == "Ouvrir");
    CHECK(i18nres::loadStdStringW(kLedger, kTitle) == L"Ouvrir");
    CHECK(i18nres::loadStdStringA(kLedger, kTitle) == "Ouvrir");
    CHECK(i18nres::loadBString(kLedger, kTitle, &bstr) == S_OK);
    CHECK(std::wstring(bstr) == L"Ouvrir");
    ::SysFreeString(bstr);
}

TEST_CASE("The flat loaders of the default culture forward to the manager") {
    const Messages messages;
    wchar_t wideBuffer[16];
    char narrowBuffer[16];
    BSTR bstr = nullptr;

    CHECK(i18nres::loadDefaultStringW(kLedger, kTitle, wideBuffer, 16) == 4);
    CHECK(std::wstring(wideBuffer) == L"Open");
    CHECK(i18nres::loadDefaultStringA(kLedger, kTitle, narrowBuffer, 16) == 4);
    CHECK(std::string(narrowBuffer) == "Open");
    CHECK(i18nres::loadDefaultStdStringW(kLedger, kTitle) == L"Open");
    CHECK(i18nres::loadDefaultStdStringA(kLedger, kTitle) == "Open");
    CHECK(i18nres::loadDefaultBString(kLedger, kTitle, &bstr) == S_OK);
    CHECK(std::wstring(bstr) == L"Open");
    ::SysFreeString(bstr);
}

TEST_CASE("The flat loaders that return strings return an empty string for a missing string") {
    const Messages messages;

    CHECK(i18nres::loadStdStringW(kLedger, kNowhere).empty());
    CHECK(i18nres::loadDefaultStdStringW(kLedger, kNowhere).empty());
    CHECK(i18nres::loadStdStringA(kLedger, kNowhere).empty());
    CHECK(i18nres::loadDefaultStdStringA(kLedger, kNowhere).empty());
    CHECK(i18nres::loadStdStringW(nullptr, kTitle).empty());
}

TEST_CASE("The flat getResLibHandle forwards to the manager") {
    const Messages messages;

    const HINSTANCE library = i18nres::getResLibHandle(kLedger, nullptr, nullptr);

    CHECK(library != nullptr);
    CHECK(library == ::GetModuleHandleW(L"ledger_fr-CA.dll"));
    CHECK(i18nres::getResLibHandle(kLedger, MAKEINTRESOURCEW(1), RT_STRING) == library);
    CHECK(i18nres::getResLibHandle(kLedger, MAKEINTRESOURCEW(2), RT_STRING) == nullptr);
    CHECK(i18nres::getResLibHandle(nullptr, nullptr, nullptr) == nullptr);
}

TEST_CASE("The UNSAFE functions use their arguments as inserts") {
    using namespace i18nres::detail;
    const Messages messages;
    wchar_t buffer[32];

    CHECK(UNSAFE_loadStringFormatW(kLedger, kPattern, buffer, 32, L"page", 12) == 11);
    CHECK(std::wstring(buffer) == L"page sur 12");
    CHECK(UNSAFE_loadStdStringFormatW(kLedger, kPattern, L"page", 12) == L"page sur 12");
    CHECK(UNSAFE_loadDefaultStdStringFormatW(kLedger, kPattern, L"page", 12) == L"page of 12");
    CHECK(UNSAFE_loadStdStringFormatA(kLedger, kPattern, L"page", 12) == "page sur 12");
}

TEST_CASE("The UNSAFE functions that return strings return an empty string for a missing string") {
    using namespace i18nres::detail;
    const Messages messages;

    CHECK(UNSAFE_loadStdStringFormatW(kLedger, kNowhere, L"page", 12).empty());
    CHECK(UNSAFE_loadDefaultStdStringFormatW(kLedger, kNowhere, L"page", 12).empty());
    CHECK(UNSAFE_loadStdStringFormatA(kLedger, kNowhere, L"page", 12).empty());
}

}  // namespace
