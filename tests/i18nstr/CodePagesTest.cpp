#include <windows.h>

#include <doctest/doctest.h>
#include <oleauto.h>

#include <climits>
#include <cstring>
#include <cwchar>
#include <new>
#include <string>
#include <string_view>

#include "i18nstr/i18nstr.h"
#include "tests/i18nstr/CodePageTexts.h"
#include "tests/i18nstr/ScriptedConverters.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/PrintedWide.h"

namespace {

// The functions in each of the following arrays have the same parameters and are tested with the
// same strings.

struct ToWide {
    const char* name;
    bool (*convert)(const char*, int, std::wstring&);
};
const ToWide kToWide[] = {{"mb2wide", i18nstr::mb2wide}, {"UTF82wide", i18nstr::UTF82wide}};

struct ToNarrow {
    const char* name;
    bool (*convert)(const wchar_t*, int, std::string&);
};
const ToNarrow kToNarrow[] = {{"wide2mb", i18nstr::wide2mb}, {"wide2UTF8", i18nstr::wide2UTF8}};

using Call = ScriptedConverters::Call;

class GuardPages {
public:
    GuardPages() { testsupport::guardPages(true); }
    GuardPages(const GuardPages&) = delete;
    GuardPages& operator=(const GuardPages&) = delete;
    ~GuardPages() { testsupport::guardPages(false); }
};

TEST_CASE("A code page conversion of a null string fails and clears the output") {
    for (const int length : {-1, 0, 3, INT_MAX}) {
        CAPTURE(length);
        for (const auto& overload : kToWide) {
            CAPTURE(overload.name);
            std::wstring wide = L"before";
            CHECK_FALSE(overload.convert(nullptr, length, wide));
            CHECK(wide == L"");
        }
        for (const auto& overload : kToNarrow) {
            CAPTURE(overload.name);
            std::string narrow = "before";
            CHECK_FALSE(overload.convert(nullptr, length, narrow));
            CHECK(narrow == "");
        }
    }
}

TEST_CASE("A code page conversion of an empty string succeeds and clears the output") {
    for (const auto& empty : kEmptyNarrow) {
        CAPTURE(empty.label);
        for (const auto& overload : kToWide) {
            CAPTURE(overload.name);
            std::wstring wide = L"before";
            CHECK(overload.convert(empty.text, empty.length, wide));
            CHECK(wide == L"");
        }
    }
    for (const auto& empty : kEmptyWide) {
        CAPTURE(empty.label);
        for (const auto& overload : kToNarrow) {
            CAPTURE(overload.name);
            std::string narrow = "before";
            CHECK(overload.convert(empty.text, empty.length, narrow));
            CHECK(narrow == "");
        }
    }
}

TEST_CASE("A code page conversion without a length ends at the terminator") {
    for (const auto& overload : kToWide) {
        CAPTURE(overload.name);
        std::wstring wide = L"before";
        CHECK(overload.convert("Open\0more", -1, wide));
        CHECK(wide == L"Open");
    }
    for (const auto& overload : kToNarrow) {
        CAPTURE(overload.name);
        std::string narrow = "before";
        CHECK(overload.convert(L"Open\0more", -1, narrow));
        CHECK(narrow == "Open");
    }
}

TEST_CASE("A code page conversion with any negative length ends at the terminator") {
    for (const auto& overload : kToWide) {
        CAPTURE(overload.name);
        std::wstring wide;
        CHECK(overload.convert("Open", -2, wide));
        CHECK(wide == L"Open");
        CHECK(overload.convert("Open", INT_MIN, wide));
        CHECK(wide == L"Open");
    }
    for (const auto& overload : kToNarrow) {
        CAPTURE(overload.name);
        std::string narrow;
        CHECK(overload.convert(L"Open", -2, narrow));
        CHECK(narrow == "Open");
        CHECK(overload.convert(L"Open", INT_MIN, narrow));
        CHECK(narrow == "Open");
    }
}

TEST_CASE("Code page conversions keep the embedded NULs of a string with a length") {
    using namespace std::string_view_literals;
    for (const auto& overload : kToWide) {
        CAPTURE(overload.name);
        std::wstring wide;
        CHECK(overload.convert("a\0b\0", 3, wide));
        CHECK(wide == L"a\0b"sv);
    }
    for (const auto& overload : kToNarrow) {
        CAPTURE(overload.name);
        std::string narrow;
        CHECK(overload.convert(L"a\0b\0", 3, narrow));
        CHECK(narrow == "a\0b"sv);
    }
}

TEST_CASE(
    "Code page conversions read a string with a length only up to the terminator at that length") {
    const GuardPages guarded;
    const auto narrowText = textWithTerminatorAt<char>(37);
    const auto wideText = textWithTerminatorAt<wchar_t>(37);
    for (const auto& overload : kToWide) {
        CAPTURE(overload.name);
        std::wstring wide;
        CHECK(overload.convert(narrowText.get(), 37, wide));
        CHECK(wide == std::wstring(37, L'a'));
    }
    for (const auto& overload : kToNarrow) {
        CAPTURE(overload.name);
        std::string narrow;
        CHECK(overload.convert(wideText.get(), 37, narrow));
        CHECK(narrow == std::string(37, 'a'));
    }
}

TEST_CASE(
    "Code page conversions without a terminator at the given length remove the last unit of the "
    "result") {
    std::wstring wide;
    CHECK(i18nstr::mb2wide("abcdef", 3, wide));
    CHECK(wide == L"abc");
    CHECK(i18nstr::UTF82wide("abcdef", 3, wide));
    CHECK(wide == L"abc");

    std::string narrow;
    CHECK(i18nstr::wide2mb(L"abcdef", 3, narrow));
    CHECK(narrow == "abc");
    CHECK(i18nstr::wide2UTF8(L"abcdef", 3, narrow));
    CHECK(narrow == "abc");
}

TEST_CASE("wide2UTF8 truncates the character after the given length if it is not a terminator") {
    std::string utf8;

    CHECK(i18nstr::wide2UTF8(L"ab\u00e9", 2, utf8));

    CHECK(utf8 == "ab\xc3");
}

TEST_CASE("UTF82wide truncates a surrogate pair at the given length if there is no terminator") {
    std::wstring wide;

    // The given length excludes the fourth byte of U+1F600. The system reads all four bytes. Then
    // the library removes the second code unit of the surrogate pair from the result.
    CHECK(i18nstr::UTF82wide("a\xf0\x9f\x98\x80", 4, wide));

    CHECK(wide == L"a\xd83d");
}

TEST_CASE("Code page conversions cannot convert a string of the maximum length") {
    for (const auto& overload : kToWide) {
        CAPTURE(overload.name);
        std::wstring wide = L"before";
        CHECK_FALSE(overload.convert("abc", INT_MAX, wide));
        CHECK(wide == L"");
    }
    for (const auto& overload : kToNarrow) {
        CAPTURE(overload.name);
        std::string narrow = "before";
        CHECK_FALSE(overload.convert(L"abc", INT_MAX, narrow));
        CHECK(narrow == "");
    }
}

TEST_CASE("The output is cleared if the system fails to measure or convert the text") {
    for (const std::size_t refused : {1u, 2u}) {
        CAPTURE(refused);
        for (const auto& overload : kToWide) {
            CAPTURE(overload.name);
            const ScriptedConverters converters(refused);
            std::wstring wide = L"before";
            CHECK_FALSE(overload.convert(kForTheSystem, kLengthForTheSystem, wide));
            CHECK(wide == L"");
            CHECK(converters.calls().size() == refused);
        }
        for (const auto& overload : kToNarrow) {
            CAPTURE(overload.name);
            const ScriptedConverters converters(refused);
            std::string narrow = "before";
            CHECK_FALSE(overload.convert(kWideForTheSystem, kLengthForTheSystem, narrow));
            CHECK(narrow == "");
            CHECK(converters.calls().size() == refused);
        }
    }
}

TEST_CASE("A conversion to a string throws bad_alloc when memory runs out") {
    const std::string narrowText(200, 'a');
    const std::wstring wideText(200, L'a');
    bool outOfMemory = false;
    const auto failures = testsupport::sweepAllocationFailures(
        [&] {
            outOfMemory = false;
            try {
                std::wstring wide;
                i18nstr::mb2wide(narrowText.c_str(), -1, wide);
                std::wstring wideFromUtf8;
                i18nstr::UTF82wide(narrowText.c_str(), -1, wideFromUtf8);
                std::string narrow;
                i18nstr::wide2mb(wideText.c_str(), -1, narrow);
                std::string utf8;
                i18nstr::wide2UTF8(wideText.c_str(), -1, utf8);
            } catch (const std::bad_alloc&) {
                outOfMemory = true;
            }
        },
        [&](long) { CHECK(outOfMemory); });

    CHECK(failures >= 4);
}

TEST_CASE("Narrow text is read in the ANSI code page as precomposed characters") {
    const ScriptedConverters converters;
    std::wstring wide;
    i18nstr::mb2wide(kForTheSystem, kLengthForTheSystem, wide);
    BSTR text = nullptr;
    i18nstr::mb2wide(kForTheSystem, kLengthForTheSystem, &text);
    ::SysFreeString(text);

    REQUIRE(converters.calls().size() == 4);
    for (const Call& call : converters.calls()) {
        CHECK(call.codePage == 0);
        CHECK(call.flags == 1);
        CHECK(call.count == 4);
    }
}

TEST_CASE("Narrow text is written in the ANSI code page and composite characters are composed") {
    const ScriptedConverters converters;
    std::string narrow;
    i18nstr::wide2mb(kWideForTheSystem, kLengthForTheSystem, narrow);
    char buffer[8];
    i18nstr::wide2mb(kWideForTheSystem, kLengthForTheSystem, buffer, sizeof buffer);

    REQUIRE(converters.calls().size() == 4);
    for (const Call& call : converters.calls()) {
        CHECK(call.codePage == 0);
        CHECK(call.flags == 0x220);
        CHECK(call.count == 4);
        CHECK_FALSE(call.namesDefaultCharacter);
    }
}

TEST_CASE("UTF-8 is read and written without flags") {
    const ScriptedConverters converters;
    std::wstring wide;
    i18nstr::UTF82wide(kForTheSystem, kLengthForTheSystem, wide);
    BSTR text = nullptr;
    i18nstr::UTF82wide(kForTheSystem, kLengthForTheSystem, &text);
    ::SysFreeString(text);
    std::string utf8;
    i18nstr::wide2UTF8(kWideForTheSystem, kLengthForTheSystem, utf8);

    REQUIRE(converters.calls().size() == 6);
    for (const Call& call : converters.calls()) {
        CHECK(call.codePage == 65001);
        CHECK(call.flags == 0);
        CHECK(call.count == 4);
        CHECK_FALSE(call.namesDefaultCharacter);
    }
}

TEST_CASE("The system measures an ill-formed string without a length") {
    const ScriptedConverters converters;
    std::wstring wide;
    i18nstr::UTF82wide("abc\xff", -7, wide);
    std::string utf8;
    i18nstr::wide2UTF8(L"abc\xd83d", -7, utf8);

    REQUIRE(converters.calls().size() == 4);
    for (const Call& call : converters.calls()) CHECK(call.count == -1);
}

struct Characters {
    const char* label;
    const char* narrow;
    const wchar_t* wide;
};

TEST_CASE("ANSI text is converted in both directions" * doctest::skip(isOtherAnsiCodePage())) {
    constexpr Characters kRows[] = {
        {"ASCII", "Save \"as\"...", L"Save \"as\"..."},
        {"Latin", "caf\xe9 \xdf", L"caf\u00e9 \u00df"},
        {"between the controls of Latin-1", "\x80 \x99", L"\u20ac \u2122"},
        {"control characters", "\x01\t\r\n\x7f", L"\x01\t\r\n\x7f"},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::wstring toWide;
        CHECK(i18nstr::mb2wide(row.narrow, -1, toWide));
        CHECK(toWide == row.wide);
        std::string toNarrow;
        CHECK(i18nstr::wide2mb(row.wide, -1, toNarrow));
        CHECK(toNarrow == row.narrow);
    }
}

TEST_CASE("wide2mb replaces characters that the ANSI code page does not have and succeeds" *
          doctest::skip(isOtherAnsiCodePage())) {
    std::string narrow;

    CHECK(i18nstr::wide2mb(L"a\u4e2db", -1, narrow));

    CHECK(narrow == "a?b");
}

TEST_CASE("wide2mb composes a letter and its accent" * doctest::skip(isOtherAnsiCodePage())) {
    std::string narrow;

    CHECK(i18nstr::wide2mb(L"cafe\u0301s", -1, narrow));

    CHECK(narrow == "caf\xe9s");
}

TEST_CASE("UTF-8 is converted in both directions") {
    constexpr Characters kRows[] = {
        {"ASCII", "Save \"as\"...", L"Save \"as\"..."},
        {"two bytes", "\xc2\x80 caf\xc3\xa9 \xdf\xbf", L"\u0080 caf\u00e9 \u07ff"},
        {"three bytes", "\xe0\xa0\x80 \xe2\x82\xac \xe4\xb8\xad \xef\xbf\xbd",
         L"\u0800 \u20ac \u4e2d \ufffd"},
        {"four bytes", "\xf0\x90\x80\x80 \xf0\x9f\x98\x80 \xf4\x8f\xbf\xbf",
         L"\U00010000 \U0001f600 \U0010ffff"},
        {"decomposed letters stay so", "e\xcc\x81", L"e\u0301"},
        {"a byte-order mark is a character",
         "\xef\xbb\xbf"
         "a",
         L"\ufeff"
         L"a"},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::wstring toWide;
        CHECK(i18nstr::UTF82wide(row.narrow, -1, toWide));
        CHECK(toWide == row.wide);
        CHECK(i18nstr::UTF82wide(row.narrow, static_cast<int>(std::strlen(row.narrow)), toWide));
        CHECK(toWide == row.wide);
        std::string toUtf8;
        CHECK(i18nstr::wide2UTF8(row.wide, -1, toUtf8));
        CHECK(toUtf8 == row.narrow);
        CHECK(i18nstr::wide2UTF8(row.wide, static_cast<int>(std::wcslen(row.wide)), toUtf8));
        CHECK(toUtf8 == row.narrow);
    }
}

TEST_CASE("UTF82wide replaces malformed bytes and succeeds") {
    constexpr Characters kRows[] = {
        {"a byte that UTF-8 does not use",
         "a\xff"
         "b",
         L"a\ufffd"
         L"b"},
        {"a continuation byte alone",
         "a\x80"
         "b",
         L"a\ufffd"
         L"b"},
        {"a sequence cut by the terminator", "a\xe2\x82", L"a\ufffd"},
        {"a sequence cut by another character", "\xc3(", L"\ufffd("},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::wstring toWide;
        CHECK(i18nstr::UTF82wide(row.narrow, -1, toWide));
        CHECK(toWide == row.wide);
    }
}

TEST_CASE("UTF82wide converts an overlong slash and a surrogate to replacement characters") {
    for (const char* const utf8 :
         {"\xc0\xaf", "\xe0\x80\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80"}) {
        std::wstring wide;
        CHECK(i18nstr::UTF82wide(utf8, -1, wide));
        CHECK(wide == std::wstring(wide.size(), L'\ufffd'));
        CHECK_FALSE(wide.empty());
    }
}

TEST_CASE("wide2UTF8 replaces unpaired surrogates and succeeds") {
    constexpr Characters kRows[] = {
        {"a high one alone",
         "a\xef\xbf\xbd"
         "b",
         L"a\xd83d"
         L"b"},
        {"a low one alone",
         "a\xef\xbf\xbd"
         "b",
         L"a\xde00"
         L"b"},
        {"a high one at the end", "a\xef\xbf\xbd", L"a\xd83d"},
        {"a pair in the wrong order", "\xef\xbf\xbd\xef\xbf\xbd", L"\xde00\xd83d"},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::string toUtf8;
        CHECK(i18nstr::wide2UTF8(row.wide, -1, toUtf8));
        CHECK(toUtf8 == row.narrow);
    }
}

TEST_CASE("A million characters are converted to UTF-8 and back") {
    std::wstring text;
    while (text.size() < 1'000'000) text += L"Price \u20ac 5 \u4e2d\u6587 \U0001f600 ";

    std::string utf8;
    CHECK(i18nstr::wide2UTF8(text.c_str(), -1, utf8));
    std::wstring back;
    CHECK(i18nstr::UTF82wide(utf8.c_str(), static_cast<int>(utf8.size()), back));

    CHECK((back == text));
}

}  // namespace
