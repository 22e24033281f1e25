#include <doctest/doctest.h>
#include <windows.h>

#include <mlang.h>
#include <objbase.h>

#include <algorithm>
#include <climits>
#include <string>
#include <thread>
#include <vector>

#include "i18nsys/i18nsys.h"
#include "tests/i18nsys/ScriptedMultiLanguage.h"
#include "tests/support/Apartment.h"
#include "tests/support/InterfaceIds.h"
#include "tests/support/LeakListener.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ScriptedClass.h"

using i18nsystests::ScriptedMultiLanguage;
using testsupport::Apartment;
using testsupport::ScriptedClass;

namespace {

constexpr unsigned long kUntouched = 0xABCDEF;

/// Calls getRfc1766FromLcid() with a buffer of `size` characters. `text` is the part of the buffer
/// that the function has written, with each NUL shown as ".".
struct TagResult {
    TagResult(unsigned long lcid, int size) {
        constexpr wchar_t kFill = L'q';  // a letter, so that the tests detect case conversions
        wchar_t buffer[16];
        std::fill_n(buffer, 16, kFill);
        hr = i18nsys::getRfc1766FromLcid(lcid, buffer, size);
        text.assign(buffer, 16);
        std::replace(text.begin(), text.end(), L'\0', L'.');
        text.erase(text.find_last_not_of(kFill) + 1);
    }
    long hr;
    std::wstring text;
};

/// Replaces the system's multi-language service with a ScriptedMultiLanguage.
struct ServiceFixture {
    Apartment apartment;
    ScriptedMultiLanguage service;
    ScriptedClass replacement{testsupport::kMultiLanguageClass, service};
};

std::wstring normalized(std::wstring tag, long expected) {
    CHECK(i18nsys::normalizeCulture(tag.data()) == expected);
    return tag;
}

struct Row {
    unsigned long lcid;
    const wchar_t* tag;
};

const Row kFullTags[] = {
    {1041, L"ja-JP"}, {1036, L"fr-FR"}, {1033, L"en-US"}, {1028, L"zh-TW"}, {1031, L"de-DE"},
    {1040, L"it-IT"}, {1045, L"pl-PL"}, {1046, L"pt-BR"}, {1038, L"hu-HU"}, {1029, L"cs-CZ"},
    {1051, L"sk-SK"}, {1053, L"sv-SE"}, {1044, L"nb-NO"}, {1030, L"da-DK"}, {1035, L"fi-FI"},
    {1049, L"ru-RU"}, {1055, L"tr-TR"}, {1032, L"el-GR"}, {1042, L"ko-KR"},
};

}  // namespace

// getLcidFromRfc1766

TEST_CASE("getLcidFromRfc1766 finds the locale of a tag") {
    const Row rows[] = {{0x0009, L"en"},    {0x0409, L"en-US"}, {0x0809, L"en-GB"},
                        {0x0404, L"zh-TW"}, {0x0804, L"zh-CN"}, {0x0C0C, L"fr-CA"},
                        {0x0807, L"de-CH"}, {0x0411, L"ja-JP"}, {0x040C, L"fr-FR"}};
    for (const Row& row : rows) {
        CAPTURE(std::wstring(row.tag));
        unsigned long lcid = kUntouched;
        CHECK(i18nsys::getLcidFromRfc1766(row.tag, lcid) == S_OK);
        CHECK(lcid == row.lcid);
    }
}

TEST_CASE("getLcidFromRfc1766 supports the full tags of all 19 locales") {
    for (const Row& row : kFullTags) {
        CAPTURE(std::wstring(row.tag));
        unsigned long lcid = kUntouched;
        CHECK(i18nsys::getLcidFromRfc1766(row.tag, lcid) == S_OK);
        CHECK(lcid == row.lcid);
    }
}

TEST_CASE("getLcidFromRfc1766 distinguishes the scripts of Chinese") {
    unsigned long simplified = 0, traditional = 0;
    CHECK(i18nsys::getLcidFromRfc1766(L"zh-Hans", simplified) == S_OK);
    CHECK(i18nsys::getLcidFromRfc1766(L"zh-Hant", traditional) == S_OK);

    CHECK(simplified == 0x0004);
    CHECK(traditional == 0x7C04);
}

TEST_CASE("getLcidFromRfc1766 ignores case") {
    unsigned long lcid = 0;
    CHECK(i18nsys::getLcidFromRfc1766(L"EN-us", lcid) == S_OK);
    CHECK(lcid == 0x0409);
    CHECK(i18nsys::getLcidFromRfc1766(L"FR-fr", lcid) == S_OK);
    CHECK(lcid == 0x040C);
}

TEST_CASE("getLcidFromRfc1766 rejects text that is not a culture tag") {
    const std::wstring tags[] = {L"",
                                 L"-",
                                 L"xx",
                                 L"xx-YY",
                                 L"xx_YY",
                                 L"fr_FR",
                                 L"fr-FR ",
                                 L"fr-",
                                 L"french",
                                 L"fr-FR-",
                                 std::wstring(5000, L'a')};
    for (const std::wstring& tag : tags) {
        CAPTURE(tag);
        unsigned long lcid = kUntouched;
        CHECK(i18nsys::getLcidFromRfc1766(tag.c_str(), lcid) == E_FAIL);
    }
}

TEST_CASE("getLcidFromRfc1766 rejects a null tag and keeps the identifier") {
    unsigned long lcid = kUntouched;
    CHECK(i18nsys::getLcidFromRfc1766(nullptr, lcid) == E_POINTER);
    CHECK(lcid == kUntouched);
}

TEST_CASE_FIXTURE(ServiceFixture, "getLcidFromRfc1766 passes the whole tag to the service") {
    unsigned long lcid = 0;
    i18nsys::getLcidFromRfc1766(L"zh-Hant-TW", lcid);

    CHECK(service.requestedTag == L"zh-Hant-TW");
}

TEST_CASE_FIXTURE(ServiceFixture,
                  "getLcidFromRfc1766 returns the result code and the value of the service") {
    const HRESULT codes[] = {S_OK, S_FALSE, E_FAIL, E_INVALIDARG, E_UNEXPECTED, E_OUTOFMEMORY};
    for (const HRESULT code : codes) {
        CAPTURE(code);
        service.result = code;
        service.lcid = 0x1234;
        unsigned long lcid = kUntouched;
        CHECK(i18nsys::getLcidFromRfc1766(L"en-US", lcid) == code);
        CHECK(lcid == 0x1234);
    }
    CHECK(service.references == 1);
}

TEST_CASE("getLcidFromRfc1766 returns the error code if the service cannot be created") {
    const Apartment apartment;
    const ScriptedClass refusing(testsupport::kMultiLanguageClass,
                                 [](REFIID, void**) { return E_ACCESSDENIED; });

    unsigned long lcid = kUntouched;
    CHECK(i18nsys::getLcidFromRfc1766(L"en-US", lcid) == E_ACCESSDENIED);
    CHECK(lcid == kUntouched);
}

// getRfc1766FromLcid

TEST_CASE("getRfc1766FromLcid finds the tag of a locale") {
    const Row rows[] = {{0x0809, L"en-GB"},
                        {0x0C0C, L"fr-CA"},
                        {0x0807, L"de-CH"},
                        {0x0804, L"zh-CN"},
                        {0x0009, L"en"}};
    for (const auto& [lcid, expected] : rows) {
        wchar_t tag[16] = {};
        CHECK(i18nsys::getRfc1766FromLcid(lcid, tag, 16) == S_OK);
        CHECK(std::wstring(tag) == expected);
    }
}

TEST_CASE("getRfc1766FromLcid finds the full tag of 19 locales") {
    for (const auto& [lcid, expected] : kFullTags) {
        wchar_t tag[16] = {};
        CHECK(i18nsys::getRfc1766FromLcid(lcid, tag, 16) == S_OK);
        CHECK(std::wstring(tag) == expected);
    }
}

TEST_CASE_FIXTURE(ServiceFixture, "getRfc1766FromLcid completes a bare language for 19 locales") {
    service.tag = L"xx";
    for (const auto& [lcid, expected] : kFullTags) {
        wchar_t tag[16] = {};
        CHECK(i18nsys::getRfc1766FromLcid(lcid, tag, 16) == S_OK);
        CHECK(std::wstring(tag) == expected);
        CHECK(service.requestedLcid == lcid);
    }
}

TEST_CASE_FIXTURE(ServiceFixture, "getRfc1766FromLcid keeps the bare language of other locales") {
    service.tag = L"nl";

    CHECK(TagResult(0x0413, 16).text == L"nl.");
}

TEST_CASE_FIXTURE(ServiceFixture,
                  "getRfc1766FromLcid completes an empty tag like a bare language") {
    SUBCASE("a null text") { service.tag.reset(); }
    SUBCASE("a text without characters") { service.tag = L""; }
    SUBCASE("a text that begins with its terminator") { service.tag = std::wstring(L"\0en", 3); }

    CHECK(TagResult(0x0411, 16).hr == S_OK);
    CHECK(TagResult(0x0411, 16).text == L"ja-JP.");
    CHECK(TagResult(0x0413, 16).text == L".");
}

TEST_CASE_FIXTURE(ServiceFixture,
                  "getRfc1766FromLcid changes the letters after the third to uppercase") {
    const struct {
        const wchar_t *answer, *tag;
    } rows[] = {{L"en-us", L"en-US."}, {L"zh-tw", L"zh-TW."},          {L"zh-hant", L"zh-HANT."},
                {L"haw", L"haw."},     {L"fil-ph", L"fil-PH."},        {L"EN-gb", L"EN-GB."},
                {L"a-b-c", L"a-b-C."}, {L"zh-hant-tw", L"zh-HANT-TW."}};
    for (const auto& [answer, tag] : rows) {
        service.tag = answer;
        CHECK(TagResult(0x0411, 16).text == tag);
    }
}

TEST_CASE_FIXTURE(ServiceFixture,
                  "getRfc1766FromLcid does not complete a language of three letters") {
    service.tag = L"jpn";

    CHECK(TagResult(0x0411, 16).text == L"jpn.");
}

TEST_CASE_FIXTURE(ServiceFixture, "getRfc1766FromLcid returns the service's success code") {
    service.tag = L"en-us";
    service.result = S_FALSE;

    CHECK(TagResult(0x0409, 16).hr == S_FALSE);
    CHECK(TagResult(0x0409, 16).text == L"en-US.");
}

TEST_CASE_FIXTURE(ServiceFixture,
                  "getRfc1766FromLcid returns the service's error code and keeps the buffer") {
    const HRESULT codes[] = {E_FAIL, E_INVALIDARG, E_OUTOFMEMORY};
    for (const HRESULT code : codes) {
        service.result = code;
        CHECK(TagResult(0x0411, 16).hr == code);
        CHECK(TagResult(0x0411, 16).text == L"");
    }
    CHECK(service.references == 1);
}

TEST_CASE("getRfc1766FromLcid rejects an identifier that is not a locale") {
    CHECK(TagResult(0xFFFF, 16).hr == E_FAIL);
    CHECK(TagResult(0xFFFF, 16).text == L"");
}

TEST_CASE("getRfc1766FromLcid returns the error code if the service cannot be created") {
    const Apartment apartment;
    const ScriptedClass refusing(testsupport::kMultiLanguageClass,
                                 [](REFIID, void**) { return E_ACCESSDENIED; });

    CHECK(TagResult(0x0411, 16).hr == E_ACCESSDENIED);
    CHECK(TagResult(0x0411, 16).text == L"");
}

TEST_CASE("getRfc1766FromLcid rejects a null buffer") {
    CHECK(i18nsys::getRfc1766FromLcid(0x0409, nullptr, 16) == E_POINTER);
    CHECK(i18nsys::getRfc1766FromLcid(0x0409, nullptr, 0) == E_POINTER);
}

TEST_CASE_FIXTURE(ServiceFixture, "getRfc1766FromLcid fails for a tag that does not fit") {
    service.tag = L"en-gb";
    CHECK(TagResult(0x0809, 6).hr == S_OK);
    CHECK(TagResult(0x0809, 6).text == L"en-GB.");

    CHECK(TagResult(0x0809, 5).hr == E_FAIL);
    CHECK(TagResult(0x0809, 5).text == L".");
    CHECK(TagResult(0x0809, 1).hr == E_FAIL);
    CHECK(TagResult(0x0809, 1).text == L".");
}

TEST_CASE_FIXTURE(ServiceFixture, "getRfc1766FromLcid does not write to a buffer without room") {
    service.tag = L"en-gb";
    for (const int size : {0, -1, INT_MIN}) {
        CHECK(TagResult(0x0809, size).hr == E_FAIL);
        CHECK(TagResult(0x0809, size).text == L"");
    }
}

TEST_CASE_FIXTURE(ServiceFixture,
                  "getRfc1766FromLcid succeeds with an empty string if only the language fits") {
    service.tag = L"ja";
    CHECK(TagResult(0x0411, 6).hr == S_OK);
    CHECK(TagResult(0x0411, 6).text == L"ja-JP.");

    for (const int size : {3, 4, 5}) {
        CHECK(TagResult(0x0411, size).hr == S_OK);
        CHECK(TagResult(0x0411, size).text.front() == L'.');
    }
    CHECK(TagResult(0x0411, 2).hr == E_FAIL);
    CHECK(TagResult(0x0411, 2).text == L".");
}

TEST_CASE_FIXTURE(
    ServiceFixture,
    "getRfc1766FromLcid fails but writes a shorter full tag if the service's tag does not fit") {
    service.tag = L"zh-hant";

    CHECK(TagResult(0x0404, 6).hr == E_FAIL);
    CHECK(TagResult(0x0404, 6).text == L"zh-TW.");
}

TEST_CASE("getRfc1766FromLcid can complete languages on several threads at the same time") {
    std::wstring tags[4];
    std::vector<std::thread> threads;
    for (std::wstring& tag : tags)
        threads.emplace_back([&tag] { tag = TagResult(0x0411, 16).text; });
    for (std::thread& thread : threads) thread.join();

    for (const std::wstring& tag : tags) CHECK(tag == L"ja-JP.");
    testsupport::ignoreHandles();
}

// isRfc1766StringValid

TEST_CASE("isRfc1766StringValid accepts languages and cultures") {
    for (const wchar_t* tag : {L"en", L"fr", L"en-US", L"fr-FR", L"de-DE", L"ja-JP", L"nb-NO",
                               L"zh-Hans", L"zh-Hant", L"zh-TW", L"fil-PH", L"es-419"}) {
        CAPTURE(std::wstring(tag));
        CHECK(i18nsys::isRfc1766StringValid(tag));
    }
}

TEST_CASE("isRfc1766StringValid rejects null and text that is not a culture tag") {
    CHECK_FALSE(i18nsys::isRfc1766StringValid(nullptr));
    CHECK_FALSE(i18nsys::isRfc1766StringValid(L""));
    CHECK_FALSE(i18nsys::isRfc1766StringValid(L"xx-YY"));
    CHECK_FALSE(i18nsys::isRfc1766StringValid(L"xx_YY"));
    CHECK_FALSE(i18nsys::isRfc1766StringValid(L"fr_FR"));
}

TEST_CASE_FIXTURE(ServiceFixture,
                  "isRfc1766StringValid accepts every success code of the service") {
    service.result = S_FALSE;
    CHECK(i18nsys::isRfc1766StringValid(L"xx-YY"));

    service.result = E_UNEXPECTED;
    CHECK_FALSE(i18nsys::isRfc1766StringValid(L"en-US"));
}

// isRfc1766NeutralLanguage

TEST_CASE("isRfc1766NeutralLanguage is true only for a bare language") {
    CHECK(i18nsys::isRfc1766NeutralLanguage(L"en"));
    CHECK(i18nsys::isRfc1766NeutralLanguage(L"FR"));

    CHECK_FALSE(i18nsys::isRfc1766NeutralLanguage(L"en-US"));
    CHECK_FALSE(i18nsys::isRfc1766NeutralLanguage(L"zh-Hans"));
    CHECK_FALSE(i18nsys::isRfc1766NeutralLanguage(L"xx"));
    CHECK_FALSE(i18nsys::isRfc1766NeutralLanguage(L""));
    CHECK_FALSE(i18nsys::isRfc1766NeutralLanguage(nullptr));
}

TEST_CASE("isRfc1766NeutralLanguage is false for a language of three letters") {
    REQUIRE(i18nsys::isRfc1766StringValid(L"haw"));

    CHECK_FALSE(i18nsys::isRfc1766NeutralLanguage(L"haw"));
}

TEST_CASE_FIXTURE(ServiceFixture,
                  "isRfc1766NeutralLanguage counts only the characters of the tag") {
    CHECK(i18nsys::isRfc1766NeutralLanguage(L"xx"));
    CHECK_FALSE(i18nsys::isRfc1766NeutralLanguage(L"x"));
    CHECK_FALSE(i18nsys::isRfc1766NeutralLanguage(L"xxx"));

    service.result = E_FAIL;
    CHECK_FALSE(i18nsys::isRfc1766NeutralLanguage(L"xx"));
}

// normalizeCulture

TEST_CASE(
    "normalizeCulture changes the part after the last hyphen to uppercase and other text to "
    "lowercase") {
    CHECK(normalized(L"EN-us", S_OK) == L"en-US");
    CHECK(normalized(L"EN-GB", S_OK) == L"en-GB");
    CHECK(normalized(L"zh-hant-tw", S_OK) == L"zh-hant-TW");
    CHECK(normalized(L"ZH-HANT", S_OK) == L"zh-HANT");
    CHECK(normalized(L"a-b-c", S_OK) == L"a-b-C");
}

TEST_CASE("normalizeCulture accepts a hyphen at either end of a tag") {
    CHECK(normalized(L"EN-", S_OK) == L"en-");
    CHECK(normalized(L"-us", S_OK) == L"-US");
    CHECK(normalized(L"-", S_OK) == L"-");
    CHECK(normalized(L"A--b", S_OK) == L"a--B");
}

TEST_CASE("normalizeCulture uses the case mapping of the system") {
    CHECK(normalized(L"\u00C9-\u00E9", S_OK) == L"\u00E9-\u00C9");
    CHECK(normalized(L"\u0416-\u0436", S_OK) == L"\u0436-\u0416");
}

TEST_CASE("normalizeCulture does not change a string without a hyphen") {
    CHECK(normalized(L"en", S_FALSE) == L"en");
    CHECK(normalized(L"En_us", S_FALSE) == L"En_us");
    CHECK(normalized(L"", S_FALSE) == L"");
}

// mapRfc1766ToLocalWritingSystem

namespace {

std::wstring writingSystem(const wchar_t* tag, int size = 16) {
    wchar_t buffer[17];
    std::fill_n(buffer, 17, L'#');
    buffer[16] = L'\0';
    CHECK(i18nsys::mapRfc1766ToLocalWritingSystem(tag, buffer, size));
    return buffer;
}

}  // namespace

TEST_CASE("mapRfc1766ToLocalWritingSystem returns the writing systems of four cultures") {
    CHECK(writingSystem(L"ja-JP") == L"JaHani");
    CHECK(writingSystem(L"zh-Hans") == L"ZhHans");
    CHECK(writingSystem(L"zh-Hant") == L"ZhHant");
    CHECK(writingSystem(L"ko-KR") == L"Ko");
}

TEST_CASE("mapRfc1766ToLocalWritingSystem copies every other tag") {
    for (const wchar_t* tag :
         {L"en-US", L"zh-hant", L"JA-JP", L"zh-TW", L"ja", L"ko-KRX", L"x y", L""})
        CHECK(writingSystem(tag) == tag);
}

TEST_CASE(
    "mapRfc1766ToLocalWritingSystem returns true and an empty string if the name does not fit") {
    CHECK(writingSystem(L"ja-JP", 7) == L"JaHani");
    CHECK(writingSystem(L"ja-JP", 6) == L"");
    CHECK(writingSystem(L"en-US", 5) == L"");
    CHECK(writingSystem(L"ko-KR", 1) == L"");
    CHECK(i18nsys::mapRfc1766ToLocalWritingSystem(L"ko-KR", nullptr, 16));
}

TEST_CASE("mapRfc1766ToLocalWritingSystem rejects a null tag and a buffer without room") {
    wchar_t buffer[] = L"#";
    CHECK_FALSE(i18nsys::mapRfc1766ToLocalWritingSystem(nullptr, buffer, 2));
    CHECK_FALSE(i18nsys::mapRfc1766ToLocalWritingSystem(L"en", buffer, 0));
    CHECK_FALSE(i18nsys::mapRfc1766ToLocalWritingSystem(L"en", buffer, -1));
    CHECK(std::wstring(buffer) == L"#");
}
