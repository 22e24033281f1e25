#include <windows.h>

#include <doctest/doctest.h>

#include <cstddef>
#include <string>

#include "dll/atl.h"
#include "i18nstr/i18nstr.h"
#include "tests/i18nstr/ScriptedConverters.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"

// A system whose ANSI code page has characters of two bytes: the Japanese one stands in. The
// library looks at the ANSI code page once, so these tests have a program to themselves.

namespace {

constexpr UINT kJapanese = 932;

UINT presented(UINT codePage) { return codePage == CP_ACP ? kJapanese : codePage; }

// The DLL's view of the system, for the length of a scope.
class JapaneseSystem {
public:
    JapaneseSystem() { s_current = this; }
    JapaneseSystem(const JapaneseSystem&) = delete;
    JapaneseSystem& operator=(const JapaneseSystem&) = delete;
    ~JapaneseSystem() { s_current = nullptr; }

private:
    static BOOL WINAPI getCPInfo(UINT codePage, LPCPINFO properties) {
        return s_current->m_getCPInfo.original()(presented(codePage), properties);
    }

    static int WINAPI toWide(UINT codePage, DWORD flags, LPCCH text, int count, LPWSTR output,
                             int size) {
        return s_current->m_toWide.original()(presented(codePage), flags, text, count, output,
                                              size);
    }

    static int WINAPI toNarrow(UINT codePage, DWORD flags, LPCWCH text, int count, LPSTR output,
                               int size, LPCCH defaultCharacter, LPBOOL defaultUsed) {
        return s_current->m_toNarrow.original()(presented(codePage), flags, text, count, output,
                                                size, defaultCharacter, defaultUsed);
    }

    static inline JapaneseSystem* s_current = nullptr;

    testsupport::ReplacedImport<decltype(getCPInfo)> m_getCPInfo{"GetCPInfo", getCPInfo};
    testsupport::ReplacedImport<decltype(toWide)> m_toWide{"MultiByteToWideChar", toWide};
    testsupport::ReplacedImport<decltype(toNarrow)> m_toNarrow{"WideCharToMultiByte", toNarrow};
};

using Call = ScriptedConverters::Call;

TEST_CASE("characters of two bytes convert in both directions") {
    const JapaneseSystem system;
    std::wstring wide;
    CHECK(i18nstr::mb2wide("A\x93\xfa\x8co\xb1", -1, wide));
    CHECK(wide == L"A\u65e5\u7d4c\uff71");

    std::string narrow;
    CHECK(i18nstr::wide2mb(L"A\u65e5\u7d4c\uff71", -1, narrow));
    CHECK(narrow == "A\x93\xfa\x8co\xb1");

    ATL::CComBSTR bstr;
    CHECK(i18nstr::mb2wide("\x93\xfa", 2, &bstr.m_str));
    CHECK(std::wstring(bstr.m_str) == L"\u65e5");

    char buffer[3];
    CHECK(i18nstr::wide2mb(L"\u65e5", 1, buffer, sizeof buffer));
    CHECK(std::string(buffer) == "\x93\xfa");
}

TEST_CASE("a character of two bytes is cut when no terminator stands at the length") {
    const JapaneseSystem system;
    std::string narrow;

    CHECK(i18nstr::wide2mb(L"a\u65e5", 1, narrow));

    CHECK(narrow == "a\x93");
}

TEST_CASE("letters of Latin-1 are those of the code page") {
    const JapaneseSystem system;
    std::string narrow;

    CHECK(i18nstr::wide2mb(L"\u00d7\u00a7", -1, narrow));  // multiplication and section sign

    CHECK(narrow == "\x81\x7e\x81\x98");
}

TEST_CASE("all text in a multi-byte code page is converted by the system in two calls") {
    const JapaneseSystem system;
    std::wstring wide;
    REQUIRE(i18nstr::mb2wide("a", -1, wide));  // the library looks at the code page
    const ScriptedConverters converters;

    i18nstr::mb2wide("abc", 3, wide);
    ATL::CComBSTR bstr;
    i18nstr::mb2wide("abc", 3, &bstr.m_str);
    REQUIRE(converters.calls().size() == 4);
    for (const Call& call : converters.calls()) {
        CHECK(call.codePage == 0);
        CHECK(call.flags == 1);
        CHECK(call.count == 4);
    }
}

TEST_CASE("all text for a multi-byte code page is converted by the system in two calls") {
    const JapaneseSystem system;
    std::string narrow;
    REQUIRE(i18nstr::wide2mb(L"a", -1, narrow));  // the library looks at the code page
    const ScriptedConverters converters;

    i18nstr::wide2mb(L"abc", 3, narrow);
    char buffer[8];
    i18nstr::wide2mb(L"abc", 3, buffer, sizeof buffer);

    REQUIRE(converters.calls().size() == 4);
    for (const Call& call : converters.calls()) {
        CHECK(call.codePage == 0);
        CHECK(call.flags == 0x220);
        CHECK(call.count == 4);
        CHECK_FALSE(call.namesDefaultCharacter);
    }
}

TEST_CASE("an ANSI text without length is measured by the system") {
    const JapaneseSystem system;
    const ScriptedConverters converters;
    std::wstring wide;
    i18nstr::mb2wide("abc", -7, wide);
    std::string narrow;
    i18nstr::wide2mb(L"abc", -7, narrow);

    REQUIRE(converters.calls().size() == 4);
    for (const Call& call : converters.calls()) CHECK(call.count == -1);
}

TEST_CASE("a string is emptied when the system refuses to measure or to convert plain ANSI text") {
    const JapaneseSystem system;
    for (const std::size_t refused : {1u, 2u}) {
        CAPTURE(refused);
        {
            const ScriptedConverters converters(refused);
            std::wstring wide = L"before";
            CHECK_FALSE(i18nstr::mb2wide("abc", -1, wide));
            CHECK(wide == L"");
            CHECK(converters.calls().size() == refused);
        }
        {
            const ScriptedConverters converters(refused);
            std::string narrow = "before";
            CHECK_FALSE(i18nstr::wide2mb(L"abc", -1, narrow));
            CHECK(narrow == "");
            CHECK(converters.calls().size() == refused);
        }
        {
            const ScriptedConverters converters(refused);
            char buffer[] = "before";
            CHECK_FALSE(i18nstr::wide2mb(L"abc", -1, buffer, sizeof buffer));
            CHECK(buffer[0] == '\0');
            CHECK(converters.calls().size() == refused);
        }
        {
            const ScriptedConverters converters(refused);
            ATL::CComBSTR bstr;
            CHECK_FALSE(i18nstr::mb2wide("abc", -1, &bstr.m_str));
            CHECK(bstr.m_str == nullptr);
            CHECK(converters.calls().size() == refused);
        }
    }
}

TEST_CASE("mb2ascii7 without length fails with the empty text when the system refuses") {
    const JapaneseSystem system;
    const ScriptedConverters converters(1);
    std::string ascii = "before";

    CHECK_FALSE(i18nstr::mb2ascii7("abc", ascii));

    CHECK(ascii == "");
}

}  // namespace
