// Tests a program that starts with the ZEPH_RES_STRING_ORIGIN environment variable set. The program
// contains strings, and its satellites are in the same folder.
#include <windows.h>

#include <doctest/doctest.h>

#include <iterator>
#include <string>

#include "i18nres/i18nres.h"
#include "tests/support/PrintedWide.h"

namespace {

constexpr wchar_t kProgram[] = L"i18nres_environment_tests.exe";
constexpr std::size_t kOriginLength = std::size(kProgram) - 1 + 4;  // 4: "(1):"

TEST_CASE("An environment variable that is set before the process starts enables the origin") {
    wchar_t value[8];
    REQUIRE_MESSAGE(::GetEnvironmentVariableW(L"ZEPH_RES_STRING_ORIGIN", value, 8) == 1,
                    "start this program with ZEPH_RES_STRING_ORIGIN=0");
    i18nres_Init();

    CHECK(i18nres::loadStdStringW(kProgram, 1) == std::wstring(kProgram) + L"(1):Open");

    i18nres_Term();
}

TEST_CASE("A program uses the satellites that the build places beside it") {
    i18nres_Init();
    const auto load = [](const wchar_t* culture) {
        i18nres::Manager::Instance()->setCulture(culture);
        return i18nres::loadStdStringW(kProgram, 1).substr(kOriginLength);
    };

    CHECK(load(L"fr-CA") == L"Ouvrir \u00e9");
    CHECK(load(L"zh-TW") == L"\u958b\u555f");
    CHECK(load(L"en-GB") == L"Open");
    CHECK(load(nullptr) == L"Open");

    i18nres_Term();
}

TEST_CASE("Strings from the resource compiler are found at the boundaries of their blocks") {
    i18nres_Init();
    const auto load = [](unsigned id) { return i18nres::loadDefaultStdStringW(kProgram, id); };
    const std::wstring program = kProgram;

    CHECK(load(15) == program + L"(15):fifteen");
    CHECK(load(16) == program + L"(16):sixteen");
    CHECK(load(65535) == program + L"(65535):last");
    CHECK(load(2).empty());

    i18nres_Term();
}

}  // namespace
