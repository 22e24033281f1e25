#include <windows.h>

#include <doctest/doctest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "dll/atl.h"
#include "i18nstr/i18nstr.h"
#include "tests/i18nstr/ScriptedConverters.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"

// Tests the conversions on systems whose ANSI code page has multibyte characters. The library reads
// the properties of the ANSI code page only once per process, so these tests are a separate
// program.

namespace {

constexpr UINT kJapanese = 932;

// Replaces the ANSI code page of the DLL while this object exists. As on Windows, the conversion
// functions for UTF-8 fail if the caller passes lpDefaultChar, lpUsedDefaultChar, or any flag other
// than MB_ERR_INVALID_CHARS or WC_ERR_INVALID_CHARS.
class SystemWithAnsiCodePage {
public:
    explicit SystemWithAnsiCodePage(UINT codePage) : m_codePage(codePage) { s_current = this; }
    SystemWithAnsiCodePage(const SystemWithAnsiCodePage&) = delete;
    SystemWithAnsiCodePage& operator=(const SystemWithAnsiCodePage&) = delete;
    ~SystemWithAnsiCodePage() { s_current = nullptr; }

private:
    UINT actual(UINT codePage) const { return codePage == CP_ACP ? m_codePage : codePage; }

    static int fail(DWORD error) {
        ::SetLastError(error);
        return 0;
    }

    static BOOL WINAPI getCPInfo(UINT codePage, LPCPINFO properties) {
        return s_current->m_getCPInfo.original()(s_current->actual(codePage), properties);
    }

    static int WINAPI toWide(UINT codePage, DWORD flags, LPCCH text, int count, LPWSTR output,
                             int size) {
        const UINT actual = s_current->actual(codePage);
        if (actual == CP_UTF8 && (flags & ~DWORD{MB_ERR_INVALID_CHARS}) != 0) {
            return fail(ERROR_INVALID_FLAGS);
        }
        return s_current->m_toWide.original()(actual, flags, text, count, output, size);
    }

    static int WINAPI toNarrow(UINT codePage, DWORD flags, LPCWCH text, int count, LPSTR output,
                               int size, LPCCH defaultCharacter, LPBOOL defaultUsed) {
        const UINT actual = s_current->actual(codePage);
        if (actual == CP_UTF8 && (flags & ~DWORD{WC_ERR_INVALID_CHARS}) != 0) {
            return fail(ERROR_INVALID_FLAGS);
        }
        if (actual == CP_UTF8 && (defaultCharacter || defaultUsed)) {
            return fail(ERROR_INVALID_PARAMETER);
        }
        return s_current->m_toNarrow.original()(actual, flags, text, count, output, size,
                                                defaultCharacter, defaultUsed);
    }

    static inline SystemWithAnsiCodePage* s_current = nullptr;

    UINT m_codePage;
    testsupport::ReplacedImport<decltype(getCPInfo)> m_getCPInfo{"GetCPInfo", getCPInfo};
    testsupport::ReplacedImport<decltype(toWide)> m_toWide{"MultiByteToWideChar", toWide};
    testsupport::ReplacedImport<decltype(toNarrow)> m_toNarrow{"WideCharToMultiByte", toNarrow};
};

using Call = ScriptedConverters::Call;

TEST_CASE("Characters of two bytes are converted in both directions") {
    const SystemWithAnsiCodePage system(kJapanese);
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

TEST_CASE(
    "wide2mb truncates a two-byte character that follows the given length instead of a "
    "terminator") {
    const SystemWithAnsiCodePage system(kJapanese);
    std::string narrow;

    CHECK(i18nstr::wide2mb(L"a\u65e5", 1, narrow));

    CHECK(narrow == "a\x93");
}

TEST_CASE("Latin-1 characters are converted to a multi-byte code page") {
    const SystemWithAnsiCodePage system(kJapanese);
    std::string narrow;

    CHECK(i18nstr::wide2mb(L"\u00d7\u00a7", -1, narrow));  // multiplication sign, section sign

    CHECK(narrow == "\x81\x7e\x81\x98");
}

TEST_CASE("The system converts all text from a multi-byte code page in two calls") {
    const SystemWithAnsiCodePage system(kJapanese);
    std::wstring wide;
    REQUIRE(i18nstr::mb2wide("a", -1, wide));  // the library reads the code page's properties
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

TEST_CASE("The system converts all text to a multi-byte code page in two calls") {
    const SystemWithAnsiCodePage system(kJapanese);
    std::string narrow;
    REQUIRE(i18nstr::wide2mb(L"a", -1, narrow));  // the library reads the code page's properties
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

TEST_CASE("The system measures a string without a length for a multi-byte code page") {
    const SystemWithAnsiCodePage system(kJapanese);
    const ScriptedConverters converters;
    std::wstring wide;
    i18nstr::mb2wide("abc", -7, wide);
    std::string narrow;
    i18nstr::wide2mb(L"abc", -7, narrow);

    REQUIRE(converters.calls().size() == 4);
    for (const Call& call : converters.calls()) CHECK(call.count == -1);
}

TEST_CASE("The output is cleared if the system fails to measure or convert ANSI text") {
    const SystemWithAnsiCodePage system(kJapanese);
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

TEST_CASE("mb2ascii7 without a length fails and clears the output if the system fails") {
    const SystemWithAnsiCodePage system(kJapanese);
    const ScriptedConverters converters(1);
    std::string ascii = "before";

    CHECK_FALSE(i18nstr::mb2ascii7("abc", ascii));

    CHECK(ascii == "");
}

TEST_CASE("Narrow text is UTF-8 if UTF-8 is the ANSI code page") {
    const SystemWithAnsiCodePage system(CP_UTF8);
    std::wstring wide;
    CHECK(i18nstr::mb2wide("caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80", -1, wide));
    CHECK(wide == L"caf\u00e9 \u20ac \U0001f600");

    ATL::CComBSTR bstr;
    CHECK(i18nstr::mb2wide("\xe2\x82\xac", 3, &bstr.m_str));
    CHECK(std::wstring(bstr.m_str) == L"\u20ac");

    std::string narrow;
    CHECK(i18nstr::wide2mb(L"caf\u00e9 \u20ac \U0001f600", -1, narrow));
    CHECK(narrow == "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80");

    char buffer[4];
    CHECK(i18nstr::wide2mb(L"\u20ac", 1, buffer, sizeof buffer));
    CHECK(std::string(buffer) == "\xe2\x82\xac");

    std::string ascii;
    CHECK_FALSE(i18nstr::mb2ascii7("caf\xc3\xa9", ascii));
    CHECK(ascii == "caf?");
}

TEST_CASE("A conversion whose flags the system rejects is repeated without flags") {
    const SystemWithAnsiCodePage system(CP_UTF8);
    std::wstring wide;
    REQUIRE(i18nstr::mb2wide("a", -1, wide));  // the library reads the code page's properties
    {
        const ScriptedConverters converters;
        CHECK(i18nstr::mb2wide("\xc3\xa9", -1, wide));
        const std::vector<Call> expected{{CP_ACP, 1, -1, 0, false},
                                         {CP_ACP, 0, -1, 0, false},
                                         {CP_ACP, 1, -1, 2, false},
                                         {CP_ACP, 0, -1, 2, false}};
        CHECK(converters.calls() == expected);
    }
    {
        const ScriptedConverters converters;
        std::string narrow;
        CHECK(i18nstr::wide2mb(L"\u00e9", -1, narrow));
        const std::vector<Call> expected{{CP_ACP, 0x220, -1, 0, false},
                                         {CP_ACP, 0, -1, 0, false},
                                         {CP_ACP, 0x220, -1, 3, false},
                                         {CP_ACP, 0, -1, 3, false}};
        CHECK(converters.calls() == expected);
    }
}

}  // namespace
