#include <doctest/doctest.h>
#include <windows.h>

#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include "i18nsys/i18nsys.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"

using testsupport::ReplacedImport;

namespace {

using Reader = bool(wchar_t*, int);

struct Setting {
    const char* name;
    Reader* read;
    LCID locale;
};
const Setting kCultures[] = {{"getSystemCulture", &i18nsys::getSystemCulture, 0x0800},
                             {"getUserCulture", &i18nsys::getUserCulture, 0x0400}};
const Setting kLanguages[] = {{"getSystemLanguage", &i18nsys::getSystemLanguage, 0x0800},
                              {"getUserLanguage", &i18nsys::getUserLanguage, 0x0400}};

/// Replaces the system's locale information with strings that the test sets, and records the
/// requests. A request fails if the corresponding string is empty or does not fit in the buffer.
class ScriptedLocale {
public:
    struct Request {
        LCID locale;
        LCTYPE type;
        int size;
    };
    ScriptedLocale(std::wstring language, std::wstring country) {
        s_language = std::move(language);
        s_country = std::move(country);
        s_requests.clear();
    }

    const std::vector<Request>& requests() const { return s_requests; }

private:
    static int WINAPI answer(LCID locale, LCTYPE type, LPWSTR buffer, int size) {
        s_requests.push_back({locale, type, size});
        const std::wstring& text = type == LOCALE_SISO639LANGNAME ? s_language : s_country;
        if (text.empty() || size <= static_cast<int>(text.size())) return 0;
        std::copy_n(text.c_str(), text.size() + 1, buffer);
        return static_cast<int>(text.size() + 1);
    }

    static inline std::wstring s_language, s_country;
    static inline std::vector<Request> s_requests;
    ReplacedImport<decltype(GetLocaleInfoW)> m_replacement{"GetLocaleInfoW", &answer};
};

/// Calls `read` with a buffer of `size` characters. Returns the part of the buffer that `read` has
/// written, with each NUL shown as ".".
std::wstring shown(Reader* read, int size, bool expected) {
    wchar_t buffer[16];
    std::fill_n(buffer, 16, L'#');
    CHECK(read(buffer, size) == expected);
    std::wstring text(buffer, 16);
    std::replace(text.begin(), text.end(), L'\0', L'.');
    text.erase(text.find_last_not_of(L'#') + 1);
    return text;
}

std::wstring systemInformation(LCID locale, LCTYPE type) {
    wchar_t text[32] = {};
    REQUIRE(::GetLocaleInfoW(locale, type, text, 32) > 0);
    return text;
}

}  // namespace

TEST_CASE("The cultures consist of the language and the country of the default locales") {
    for (const Setting& setting : kCultures) {
        CAPTURE(setting.name);
        wchar_t culture[32];
        CHECK(setting.read(culture, 32));
        CHECK(std::wstring(culture) ==
              systemInformation(setting.locale, LOCALE_SISO639LANGNAME) + L"-" +
                  systemInformation(setting.locale, LOCALE_SISO3166CTRYNAME));
    }
}

TEST_CASE("A culture is read as the language and then the country of its locale") {
    for (const Setting& setting : kCultures) {
        CAPTURE(setting.name);
        const ScriptedLocale scripted(L"en", L"US");
        wchar_t culture[32];
        REQUIRE(setting.read(culture, 32));

        REQUIRE(scripted.requests().size() == 2);
        CHECK(scripted.requests()[0].locale == setting.locale);
        CHECK(scripted.requests()[0].type == 0x59);
        CHECK(scripted.requests()[0].size == 32);
        CHECK(scripted.requests()[1].locale == setting.locale);
        CHECK(scripted.requests()[1].type == 0x5A);
        CHECK(scripted.requests()[1].size == 32);
    }
}

TEST_CASE("A culture has its language in lowercase and its country in uppercase") {
    const ScriptedLocale scripted(L"EN", L"us");
    for (const Setting& setting : kCultures) {
        CAPTURE(setting.name);
        CHECK(shown(setting.read, 16, true) == L"en-US.");
    }
}

TEST_CASE("A culture that fits exactly is copied, and a longer one fails with an empty string") {
    const ScriptedLocale scripted(L"en", L"US");
    for (const Setting& setting : kCultures) {
        CAPTURE(setting.name);
        CHECK(shown(setting.read, 6, true) == L"en-US.");
        CHECK(shown(setting.read, 5, false) == L".");
        CHECK(shown(setting.read, 3, false) == L".");
        CHECK(shown(setting.read, 1, false) == L".");
    }
}

TEST_CASE("A culture can have a language and a country of the maximum length") {
    const std::wstring language(31, L'a'), country(31, L'B');
    const ScriptedLocale scripted(language, country);
    for (const Setting& setting : kCultures) {
        CAPTURE(setting.name);
        wchar_t culture[64];
        CHECK(setting.read(culture, 64));
        CHECK(std::wstring(culture) == language + L"-" + country);
    }
}

TEST_CASE("A culture omits a part that the system does not return") {
    const struct {
        const wchar_t *language, *country, *culture;
    } rows[] = {{L"en", L"", L"en-."}, {L"", L"US", L"-US."}, {L"", L"", L"-."}};
    for (const auto& row : rows) {
        const ScriptedLocale scripted(row.language, row.country);
        CHECK(shown(&i18nsys::getSystemCulture, 16, true) == row.culture);
        CHECK(shown(&i18nsys::getUserCulture, 16, true) == row.culture);
    }
}

TEST_CASE("The languages are those of the default locales") {
    for (const Setting& setting : kLanguages) {
        CAPTURE(setting.name);
        wchar_t language[32];
        CHECK(setting.read(language, 32));
        CHECK(std::wstring(language) == systemInformation(setting.locale, LOCALE_SISO639LANGNAME));
    }
}

TEST_CASE("A language is read from its locale with the size of the buffer") {
    for (const Setting& setting : kLanguages) {
        CAPTURE(setting.name);
        const ScriptedLocale scripted(L"en", L"US");
        wchar_t language[16];
        REQUIRE(setting.read(language, 16));

        REQUIRE(scripted.requests().size() == 1);
        CHECK(scripted.requests()[0].locale == setting.locale);
        CHECK(scripted.requests()[0].type == 0x59);
        CHECK(scripted.requests()[0].size == 16);
    }
}

TEST_CASE("Reading a language changes the whole buffer to lowercase") {
    const ScriptedLocale scripted(L"FR", L"");
    for (const Setting& setting : kLanguages) {
        CAPTURE(setting.name);
        wchar_t buffer[9] = L"ABCDEFGH";
        CHECK(setting.read(buffer, 6));
        CHECK(std::wstring(buffer, 8) == std::wstring(L"fr\0defGH", 8));
    }
}

TEST_CASE("A language that fits exactly is copied, and a longer one fails") {
    for (const Setting& setting : kLanguages) {
        CAPTURE(setting.name);
        CHECK(shown(setting.read, 3, true) == L"en.");
        wchar_t buffer[4] = L"###";
        CHECK_FALSE(setting.read(buffer, 2));
        CHECK(buffer[2] == L'#');
    }
}

TEST_CASE("Reading a language that the system does not return fails and keeps the buffer's case") {
    const ScriptedLocale scripted(L"", L"");
    for (const Setting& setting : kLanguages) {
        CAPTURE(setting.name);
        wchar_t buffer[] = L"ABC";
        CHECK_FALSE(setting.read(buffer, 3));
        CHECK(std::wstring(buffer) == L"ABC");
    }
}

TEST_CASE("Cultures and languages require a buffer with room") {
    const ScriptedLocale scripted(L"en", L"US");
    for (Reader* read :
         {kCultures[0].read, kCultures[1].read, kLanguages[0].read, kLanguages[1].read}) {
        CHECK_FALSE(read(nullptr, 16));
        CHECK_FALSE(read(nullptr, 0));
        for (const int size : {0, -1, INT_MIN}) CHECK(shown(read, size, false) == L"");
    }
    CHECK(scripted.requests().empty());
}
