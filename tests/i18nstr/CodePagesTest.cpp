#include <windows.h>

#include <doctest/doctest.h>
#include <oleauto.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "i18nstr/i18nstr.h"
#include "tests/i18nstr/ScriptedConverters.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"

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

struct ToBstr {
    const char* name;
    bool (*convert)(const char*, int, wchar_t**);
};
const ToBstr kToBstr[] = {{"mb2wide", i18nstr::mb2wide}, {"UTF82wide", i18nstr::UTF82wide}};

using Call = ScriptedConverters::Call;

// Tests with special characters are skipped if this function returns true, because the strings of
// these tests are encoded in code page 1252.
bool isOtherAnsiCodePage() { return ::GetACP() != 1252; }

// Strings that are treated as empty because of their contents or because of the `length` argument.
template <class Char>
struct EmptyText {
    const char* label;
    const Char* text;
    int length;
};
constexpr EmptyText<char> kEmptyNarrow[] = {
    {"terminator, length found", "", -1},
    {"terminator, length 0", "", 0},
    {"length 0 of a longer text", "abc", 0},
    {"terminator first in a counted text", "\0abc", 4},
};
constexpr EmptyText<wchar_t> kEmptyWide[] = {
    {"terminator, length found", L"", -1},
    {"terminator, length 0", L"", 0},
    {"length 0 of a longer text", L"abc", 0},
    {"terminator first in a counted text", L"\0abc", 4},
};

// Strings that the library passes to the system's functions, because the character at index
// kLengthForTheSystem is not a terminator. The system also converts this character, and then the
// library removes one code unit from the result.
constexpr const char* kForTheSystem = "abcd";
constexpr const wchar_t* kWideForTheSystem = L"abcd";
constexpr int kLengthForTheSystem = 3;

// Returns a string of `length` characters and a terminator, in a block of exactly that size.
template <class Char>
std::unique_ptr<Char[]> textWithTerminatorAt(std::size_t length) {
    auto text = std::make_unique<Char[]>(length + 1);
    std::fill_n(text.get(), length, Char('a'));
    return text;
}

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

// Records the BSTRs that the DLL allocates and frees while this object exists.
class BstrLedger {
public:
    BstrLedger() { s_current = this; }
    BstrLedger(const BstrLedger&) = delete;
    BstrLedger& operator=(const BstrLedger&) = delete;
    ~BstrLedger() { s_current = nullptr; }

    bool hasFreed(const wchar_t* text) const {
        return std::find(m_freed.begin(), m_freed.end(), text) != m_freed.end();
    }
    const std::vector<BSTR>& allocated() const { return m_allocated; }

private:
    static BSTR WINAPI allocate(const OLECHAR* text, UINT length) {
        BSTR allocated = s_current->m_allocate.original()(text, length);
        s_current->m_allocated.push_back(allocated);
        return allocated;
    }
    static void WINAPI free(BSTR text) {
        if (text) s_current->m_freed.push_back(text);
        s_current->m_free.original()(text);
    }

    static inline BstrLedger* s_current = nullptr;

    std::vector<BSTR> m_allocated;
    std::vector<BSTR> m_freed;
    testsupport::ReplacedImport<decltype(allocate)> m_allocate{"SysAllocStringLen", allocate};
    testsupport::ReplacedImport<decltype(free)> m_free{"SysFreeString", free};
};

TEST_CASE("A BSTR conversion fails without an output pointer") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        CHECK_FALSE(overload.convert("abc", -1, nullptr));
        CHECK_FALSE(overload.convert("", -1, nullptr));
        CHECK_FALSE(overload.convert(nullptr, -1, nullptr));
    }
}

TEST_CASE("A null string frees the previous BSTR and fails") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        const BSTR before = ::SysAllocString(L"before");
        BSTR text = before;
        const BstrLedger ledger;

        CHECK_FALSE(overload.convert(nullptr, 0, &text));

        CHECK(text == nullptr);
        CHECK(ledger.hasFreed(before));
    }
}

TEST_CASE("An empty string frees the previous BSTR and leaves null") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        for (const auto& empty : kEmptyNarrow) {
            CAPTURE(empty.label);
            const BSTR before = ::SysAllocString(L"before");
            BSTR text = before;
            const BstrLedger ledger;

            CHECK(overload.convert(empty.text, empty.length, &text));

            CHECK(text == nullptr);
            CHECK(ledger.hasFreed(before));
        }
    }
}

TEST_CASE("A string that the system fails to measure frees the previous BSTR") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        const BSTR before = ::SysAllocString(L"before");
        BSTR text = before;
        const BstrLedger ledger;
        const ScriptedConverters converters(1);

        CHECK_FALSE(overload.convert(kForTheSystem, kLengthForTheSystem, &text));

        CHECK(text == nullptr);
        CHECK(ledger.hasFreed(before));
        CHECK(ledger.allocated().empty());
    }
}

TEST_CASE("A string of the maximum length frees the previous BSTR and fails") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        const BSTR before = ::SysAllocString(L"before");
        BSTR text = before;
        const BstrLedger ledger;

        CHECK_FALSE(overload.convert("abc", INT_MAX, &text));

        CHECK(text == nullptr);
        CHECK(ledger.hasFreed(before));
    }
}

TEST_CASE("A BSTR has the length of the converted text and a terminator") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        BSTR text = nullptr;

        CHECK(overload.convert("Open\0more", -1, &text));

        REQUIRE(text != nullptr);
        CHECK(::SysStringLen(text) == 4);
        CHECK(std::wstring(text) == L"Open");
        ::SysFreeString(text);
    }
}

TEST_CASE("A BSTR keeps the embedded NULs of a string with a length") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        BSTR text = nullptr;

        CHECK(overload.convert("a\0b", 3, &text));

        REQUIRE(text != nullptr);
        CHECK(::SysStringLen(text) == 3);
        CHECK(std::wstring(text, 4) == std::wstring(L"a\0b\0", 4));
        ::SysFreeString(text);
    }
}

TEST_CASE("Without a terminator at the given length, a BSTR ends before the removed unit") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        BSTR text = nullptr;

        CHECK(overload.convert("abcdef", 3, &text));

        REQUIRE(text != nullptr);
        CHECK(::SysStringLen(text) == 3);
        CHECK(std::wstring(text) == L"abc");
        ::SysFreeString(text);
    }
}

TEST_CASE("UTF82wide creates a BSTR from characters of every length") {
    BSTR text = nullptr;

    CHECK(i18nstr::UTF82wide("\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80", -1, &text));

    REQUIRE(text != nullptr);
    CHECK(std::wstring(text, ::SysStringLen(text)) == L"\u00e9\u4e2d\U0001f600");
    ::SysFreeString(text);
}

TEST_CASE("mb2wide creates a BSTR from ANSI text" * doctest::skip(isOtherAnsiCodePage())) {
    BSTR text = nullptr;

    CHECK(i18nstr::mb2wide("\x80 5", -1, &text));

    REQUIRE(text != nullptr);
    CHECK(std::wstring(text, ::SysStringLen(text)) == L"\u20ac 5");
    ::SysFreeString(text);
}

TEST_CASE("A successful conversion replaces the previous BSTR without freeing it") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        const BSTR before = ::SysAllocString(L"before");
        BSTR text = before;
        const BstrLedger ledger;

        CHECK(overload.convert("after", -1, &text));

        CHECK(text != before);
        CHECK(std::wstring(text) == L"after");
        CHECK_FALSE(ledger.hasFreed(before));
        ::SysFreeString(before);
        ::SysFreeString(text);
    }
}

TEST_CASE("A conversion that fails after it allocated a BSTR frees the BSTR and leaves null") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        const BSTR before = ::SysAllocString(L"before");
        BSTR text = before;
        const BstrLedger ledger;
        const ScriptedConverters converters(2);

        CHECK_FALSE(overload.convert(kForTheSystem, kLengthForTheSystem, &text));

        CHECK(text == nullptr);
        REQUIRE(ledger.allocated().size() == 1);
        CHECK(ledger.hasFreed(ledger.allocated()[0]));
        CHECK_FALSE(ledger.hasFreed(before));
        ::SysFreeString(before);
    }
}

TEST_CASE("A conversion to a BSTR fails without an exception when memory runs out") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        const BSTR before = ::SysAllocString(L"before");
        BSTR text = before;
        testsupport::failNth(1);

        CHECK_FALSE(overload.convert("abc", -1, &text));

        CHECK(testsupport::failureFired());
        testsupport::failNth(0);
        CHECK(text == nullptr);
        ::SysFreeString(before);
    }
}

// A buffer that is filled with '#'. No conversion in these tests writes this character.
struct MarkedBuffer {
    char bytes[12];

    MarkedBuffer() { std::fill(std::begin(bytes), std::end(bytes), '#'); }
    std::string all() const { return {std::begin(bytes), std::end(bytes)}; }
};

std::string marked(std::string_view written) {
    std::string all(sizeof(MarkedBuffer), '#');
    return all.replace(0, written.size(), written);
}

TEST_CASE("wide2mb to a buffer writes a terminator and nothing after it") {
    using namespace std::string_view_literals;
    MarkedBuffer buffer;

    CHECK(i18nstr::wide2mb(L"Open", -1, buffer.bytes, sizeof buffer.bytes));

    CHECK(buffer.all() == marked("Open\0"sv));
}

TEST_CASE("wide2mb to a buffer counts the terminator in the buffer size") {
    using namespace std::string_view_literals;
    MarkedBuffer exact;
    CHECK(i18nstr::wide2mb(L"Open", 4, exact.bytes, 5));
    CHECK(exact.all() == marked("Open\0"sv));

    MarkedBuffer tooSmall;
    CHECK_FALSE(i18nstr::wide2mb(L"Open", 4, tooSmall.bytes, 4));
    CHECK(tooSmall.all() == marked("\0"sv));
}

TEST_CASE("wide2mb to a buffer accepts the maximum size") {
    using namespace std::string_view_literals;
    MarkedBuffer buffer;

    CHECK(i18nstr::wide2mb(L"Open", -1, buffer.bytes, UINT64_MAX));

    CHECK(buffer.all() == marked("Open\0"sv));
}

TEST_CASE("wide2mb to a buffer clears the buffer and fails for a null string") {
    using namespace std::string_view_literals;
    for (const int length : {-1, 0, 3}) {
        CAPTURE(length);
        MarkedBuffer buffer;
        CHECK_FALSE(i18nstr::wide2mb(nullptr, length, buffer.bytes, sizeof buffer.bytes));
        CHECK(buffer.all() == marked("\0"sv));
    }
}

TEST_CASE("wide2mb to a buffer clears the buffer and succeeds for an empty string") {
    using namespace std::string_view_literals;
    for (const auto& empty : kEmptyWide) {
        CAPTURE(empty.label);
        MarkedBuffer buffer;
        CHECK(i18nstr::wide2mb(empty.text, empty.length, buffer.bytes, sizeof buffer.bytes));
        CHECK(buffer.all() == marked("\0"sv));
    }
}

TEST_CASE("wide2mb clears a buffer even if its size is 0") {
    using namespace std::string_view_literals;
    for (const wchar_t* const text : {L"Open", static_cast<const wchar_t*>(nullptr), L""}) {
        MarkedBuffer buffer;
        CHECK(i18nstr::wide2mb(text, -1, buffer.bytes, 0) == (text && !*text));
        CHECK(buffer.all() == marked("\0"sv));
    }
}

TEST_CASE("wide2mb writes nothing to a null buffer") {
    char* const nowhere = nullptr;
    CHECK_FALSE(i18nstr::wide2mb(L"Open", -1, nowhere, 5));
    CHECK_FALSE(i18nstr::wide2mb(nullptr, -1, nowhere, 5));
    CHECK(i18nstr::wide2mb(L"", -1, nowhere, 5));
}

TEST_CASE("wide2mb to a buffer keeps the embedded NULs of a string with a length") {
    using namespace std::string_view_literals;
    MarkedBuffer buffer;

    CHECK(i18nstr::wide2mb(L"a\0b\0", 3, buffer.bytes, sizeof buffer.bytes));

    CHECK(buffer.all() == marked("a\0b\0"sv));
}

TEST_CASE("wide2mb to a buffer writes the terminator over the unit after the given length") {
    using namespace std::string_view_literals;
    MarkedBuffer buffer;

    CHECK(i18nstr::wide2mb(L"abcdef", 3, buffer.bytes, sizeof buffer.bytes));

    CHECK(buffer.all() == marked("abc\0"sv));
}

TEST_CASE("wide2mb to a buffer cannot convert a string of the maximum length") {
    using namespace std::string_view_literals;
    MarkedBuffer buffer;

    CHECK_FALSE(i18nstr::wide2mb(L"abc", INT_MAX, buffer.bytes, sizeof buffer.bytes));

    CHECK(buffer.all() == marked("\0"sv));
}

TEST_CASE("wide2mb clears the buffer if the system fails to measure or convert the text") {
    for (const std::size_t refused : {1u, 2u}) {
        CAPTURE(refused);
        const ScriptedConverters converters(refused);
        MarkedBuffer buffer;
        CHECK_FALSE(i18nstr::wide2mb(kWideForTheSystem, kLengthForTheSystem, buffer.bytes,
                                     sizeof buffer.bytes));
        CHECK(buffer.bytes[0] == '\0');
        CHECK(converters.calls().size() == refused);
    }
}

}  // namespace
