#include <windows.h>

#include <doctest/doctest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "i18nstr/i18nstr.h"
#include "tests/i18nstr/ScriptedConverters.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/PrintedWide.h"

namespace {

using namespace std::string_view_literals;

struct ToNarrow {
    const char* name;
    bool (*counted)(const wchar_t*, int, std::string&);
    bool (*terminated)(const wchar_t*, std::string&);
};
const ToNarrow kToNarrow[] = {
    {"wide2ascii7", i18nstr::wide2ascii7, i18nstr::wide2ascii7},
    {"wide2latin", i18nstr::wide2latin, i18nstr::wide2latin},
};

struct ToWide {
    const char* name;
    bool (*counted)(const char*, int, std::wstring&);
    bool (*terminated)(const char*, std::wstring&);
};
const ToWide kToWide[] = {
    {"ascii72wide", i18nstr::ascii72wide, i18nstr::ascii72wide},
    {"latin2wide", i18nstr::latin2wide, i18nstr::latin2wide},
};

bool isOtherAnsiCodePage() { return ::GetACP() != 1252; }

// Returns an unterminated string in a block of exactly `length` characters.
template <class Char>
std::unique_ptr<Char[]> unterminated(std::size_t length) {
    auto text = std::make_unique<Char[]>(length);
    std::fill_n(text.get(), length, Char('a'));
    return text;
}

TEST_CASE(
    "Conversions between wide text and ASCII or Latin-1 treat a length below 1 as an empty "
    "string") {
    for (const int length : {0, -1, INT_MIN}) {
        CAPTURE(length);
        for (const auto& function : kToNarrow) {
            CAPTURE(function.name);
            for (const wchar_t* const text :
                 {L"\u20ac", L"abc", static_cast<const wchar_t*>(nullptr)}) {
                std::string narrow = "before";
                CHECK(function.counted(text, length, narrow));
                CHECK(narrow == "");
            }
        }
        for (const auto& function : kToWide) {
            CAPTURE(function.name);
            for (const char* const text : {"\x80", "abc", static_cast<const char*>(nullptr)}) {
                std::wstring wide = L"before";
                CHECK(function.counted(text, length, wide));
                CHECK(wide == L"");
            }
        }
    }
}

TEST_CASE(
    "A range-limited conversion of a null string with a positive or no length clears the output "
    "and fails") {
    for (const auto& function : kToNarrow) {
        CAPTURE(function.name);
        std::string narrow = "before";
        CHECK_FALSE(function.counted(nullptr, 3, narrow));
        CHECK(narrow == "");
        narrow = "before";
        CHECK_FALSE(function.terminated(nullptr, narrow));
        CHECK(narrow == "");
    }
    for (const auto& function : kToWide) {
        CAPTURE(function.name);
        std::wstring wide = L"before";
        CHECK_FALSE(function.counted(nullptr, 3, wide));
        CHECK(wide == L"");
        wide = L"before";
        CHECK_FALSE(function.terminated(nullptr, wide));
        CHECK(wide == L"");
    }
}

TEST_CASE(
    "A range-limited conversion of an empty terminated string succeeds and clears the output") {
    for (const auto& function : kToNarrow) {
        CAPTURE(function.name);
        std::string narrow = "before";
        CHECK(function.terminated(L"", narrow));
        CHECK(narrow == "");
    }
    for (const auto& function : kToWide) {
        CAPTURE(function.name);
        std::wstring wide = L"before";
        CHECK(function.terminated("", wide));
        CHECK(wide == L"");
    }
}

TEST_CASE("A range-limited conversion without a length ends at the terminator") {
    for (const auto& function : kToNarrow) {
        CAPTURE(function.name);
        std::string narrow = "before";
        CHECK(function.terminated(L"Open\0\u20ac", narrow));
        CHECK(narrow == "Open");
    }
    for (const auto& function : kToWide) {
        CAPTURE(function.name);
        std::wstring wide = L"before";
        CHECK(function.terminated("Open\0\x80", wide));
        CHECK(wide == L"Open");
    }
}

TEST_CASE("Range-limited conversions keep the embedded NULs of a string with a length") {
    for (const auto& function : kToNarrow) {
        CAPTURE(function.name);
        std::string narrow;
        CHECK(function.counted(L"\0a\0b", 4, narrow));
        CHECK(narrow == "\0a\0b"sv);
    }
    for (const auto& function : kToWide) {
        CAPTURE(function.name);
        std::wstring wide;
        CHECK(function.counted("\0a\0b", 4, wide));
        CHECK(wide == L"\0a\0b"sv);
    }
}

TEST_CASE(
    "Conversions between wide text and ASCII or Latin-1 require no terminator at the given "
    "length") {
    testsupport::guardPages(true);
    const auto wideText = unterminated<wchar_t>(37);
    const auto narrowText = unterminated<char>(37);
    testsupport::guardPages(false);

    for (const auto& function : kToNarrow) {
        CAPTURE(function.name);
        std::string narrow;
        CHECK(function.counted(wideText.get(), 37, narrow));
        CHECK(narrow == std::string(37, 'a'));
    }
    for (const auto& function : kToWide) {
        CAPTURE(function.name);
        std::wstring wide;
        CHECK(function.counted(narrowText.get(), 37, wide));
        CHECK(wide == std::wstring(37, L'a'));
    }
    CHECK(i18nstr::isAscii7(narrowText.get(), 37));
}

struct NarrowRow {
    const char* label;
    const wchar_t* text;
    bool complete;
    const char* narrow;
};

TEST_CASE("wide2ascii7 replaces each character above 127 with a question mark") {
    constexpr NarrowRow kRows[] = {
        {"ASCII", L"Save as?\t~", true, "Save as?\t~"},
        {"the last of the range", L"\x7f", true, "\x7f"},
        {"the first beyond",
         L"a\x80"
         L"b",
         false, "a?b"},
        {"Latin", L"caf\u00e9", false, "caf?"},
        {"first and last", L"\u20ac12\u20ac", false, "?12?"},
        {"a pair is two characters", L"a\U0001f600", false, "a??"},
        {"the last of all",
         L"\xffff"
         L"a",
         false, "?a"},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::string ascii = "before";
        CHECK(i18nstr::wide2ascii7(row.text, ascii) == row.complete);
        CHECK(ascii == row.narrow);
        ascii = "before";
        CHECK(i18nstr::wide2ascii7(row.text, static_cast<int>(std::wcslen(row.text)), ascii) ==
              row.complete);
        CHECK(ascii == row.narrow);
    }
}

TEST_CASE("wide2latin replaces each character above 255 with a question mark") {
    constexpr NarrowRow kRows[] = {
        {"ASCII", L"Save as?\t~", true, "Save as?\t~"},
        {"Latin", L"caf\u00e9", true, "caf\xe9"},
        {"controls of Latin-1", L"\x80\x9f", true, "\x80\x9f"},
        {"the last of the range", L"\u00ff", true, "\xff"},
        {"the first beyond", L"a\u0100b", false, "a?b"},
        {"a code whose low byte is ASCII", L"\u0141", false, "?"},
        {"the others are kept", L"5 \u20ac \u00e9", false, "5 ? \xe9"},
        {"a pair is two characters", L"a\U0001f600", false, "a??"},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::string latin = "before";
        CHECK(i18nstr::wide2latin(row.text, latin) == row.complete);
        CHECK(latin == row.narrow);
        latin = "before";
        CHECK(i18nstr::wide2latin(row.text, static_cast<int>(std::wcslen(row.text)), latin) ==
              row.complete);
        CHECK(latin == row.narrow);
    }
}

struct WideRow {
    const char* label;
    const char* text;
    bool complete;
    const wchar_t* wide;
};

TEST_CASE("ascii72wide replaces each byte above 127 with a question mark") {
    constexpr WideRow kRows[] = {
        {"ASCII", "Save as?\t~", true, L"Save as?\t~"},
        {"the last of the range", "\x7f", true, L"\x7f"},
        {"the first beyond",
         "a\x80"
         "b",
         false, L"a?b"},
        {"the last byte", "\xff", false, L"?"},
        {"each byte of a UTF-8 sequence",
         "\xc3\xa9"
         "a",
         false, L"??a"},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.label);
        std::wstring wide = L"before";
        CHECK(i18nstr::ascii72wide(row.text, wide) == row.complete);
        CHECK(wide == row.wide);
        wide = L"before";
        CHECK(i18nstr::ascii72wide(row.text, static_cast<int>(std::strlen(row.text)), wide) ==
              row.complete);
        CHECK(wide == row.wide);
    }
}

TEST_CASE("latin2wide widens every byte unchanged") {
    std::string everyByte;
    std::wstring everyCode;
    for (unsigned code = 0; code < 256; ++code) {
        everyByte.push_back(static_cast<char>(code));
        everyCode.push_back(static_cast<wchar_t>(code));
    }

    std::wstring wide;
    CHECK(i18nstr::latin2wide(everyByte.data(), 256, wide));
    CHECK(wide == everyCode);
    CHECK(i18nstr::latin2wide(everyByte.c_str() + 1, wide));
    CHECK(wide == everyCode.substr(1));
}

TEST_CASE("wide2latin restores the text that latin2wide converted") {
    std::wstring wide;
    std::string latin;

    CHECK(i18nstr::latin2wide("caf\xe9 \x80 \xff", wide));
    CHECK(i18nstr::wide2latin(wide.c_str(), latin));

    CHECK(latin == "caf\xe9 \x80 \xff");
}

TEST_CASE("mb2ascii7 fails for a null string and clears the output") {
    std::string ascii = "before";
    CHECK_FALSE(i18nstr::mb2ascii7(nullptr, ascii));
    CHECK(ascii == "");

    for (const int length : {-1, 0, 3}) {
        CAPTURE(length);
        ascii = "before";
        CHECK_FALSE(i18nstr::mb2ascii7(nullptr, length, ascii));
        CHECK(ascii == "");
    }
}

TEST_CASE("mb2ascii7 converts an empty string to an empty string") {
    std::string ascii = "before";
    CHECK(i18nstr::mb2ascii7("", ascii));
    CHECK(ascii == "");

    for (const int length : {-1, 0}) {
        CAPTURE(length);
        ascii = "before";
        CHECK(i18nstr::mb2ascii7("", length, ascii));
        CHECK(ascii == "");
    }
    ascii = "before";
    CHECK(i18nstr::mb2ascii7("abc", 0, ascii));
    CHECK(ascii == "");
}

TEST_CASE("mb2ascii7 keeps ASCII text") {
    std::string ascii;
    CHECK(i18nstr::mb2ascii7("Save as?", ascii));
    CHECK(ascii == "Save as?");
    CHECK(i18nstr::mb2ascii7("Save as?", -1, ascii));
    CHECK(ascii == "Save as?");
    CHECK(i18nstr::mb2ascii7("a\0b", 3, ascii));
    CHECK(ascii == "a\0b"sv);
}

TEST_CASE("mb2ascii7 replaces every other ANSI character with a question mark" *
          doctest::skip(isOtherAnsiCodePage())) {
    std::string ascii;
    CHECK_FALSE(i18nstr::mb2ascii7("5 \x80 caf\xe9", ascii));
    CHECK(ascii == "5 ? caf?");
    CHECK_FALSE(i18nstr::mb2ascii7("5 \x80 caf\xe9", 8, ascii));
    CHECK(ascii == "5 ? caf?");
}

TEST_CASE("mb2ascii7 handles a missing terminator at the given length like mb2wide") {
    std::string ascii;

    CHECK(i18nstr::mb2ascii7("abcdef", 3, ascii));

    CHECK(ascii == "abc");
}

TEST_CASE("mb2ascii7 fails and clears the output if the ANSI text cannot be converted") {
    std::string ascii = "before";
    CHECK_FALSE(i18nstr::mb2ascii7("abc", INT_MAX, ascii));
    CHECK(ascii == "");

    const ScriptedConverters converters(1);
    ascii = "before";
    CHECK_FALSE(i18nstr::mb2ascii7(
        "abcd", 3, ascii));  // "d" is not a terminator, so the library calls the system
    CHECK(ascii == "");
}

TEST_CASE("mb2ascii7 can replace its own input") {
    std::string text(40, 'a');

    CHECK(i18nstr::mb2ascii7(text.c_str(), text));

    CHECK(text == std::string(40, 'a'));
}

TEST_CASE("isAscii7 is true for a length below 1") {
    for (const int length : {0, -1, INT_MIN}) {
        CAPTURE(length);
        CHECK(i18nstr::isAscii7("\x80", length));
        CHECK(i18nstr::isAscii7(nullptr, length));
    }
}

TEST_CASE("isAscii7 is false for a null string with a positive length or without a length") {
    CHECK_FALSE(i18nstr::isAscii7(nullptr));
    CHECK_FALSE(i18nstr::isAscii7(nullptr, 1));
}

TEST_CASE("isAscii7 returns true if all bytes are at most 127") {
    struct Row {
        const char* text;
        bool ascii;
    };
    constexpr Row kRows[] = {
        {"", true},      {"Save as", true},  {"\x01\x7f", true},  {"\x80", false},
        {"\xff", false}, {"abc\xe9", false}, {"\xc3\xa9", false}, {"a\xe9z", false},
    };
    for (const auto& row : kRows) {
        CAPTURE(row.text);
        CHECK(i18nstr::isAscii7(row.text) == row.ascii);
        CHECK(i18nstr::isAscii7(row.text, static_cast<int>(std::strlen(row.text))) == row.ascii);
    }
}

TEST_CASE("isAscii7 checks the bytes after an embedded NUL") {
    CHECK(i18nstr::isAscii7("a\0\xe9"));
    CHECK_FALSE(i18nstr::isAscii7("a\0\xe9", 3));
    CHECK(i18nstr::isAscii7("a\0\xe9", 2));
}

TEST_CASE("Range-limited conversions throw bad_alloc when memory runs out") {
    const std::string narrowText(200, 'a');
    const std::wstring wideText(200, L'a');
    bool outOfMemory = false;
    const auto failures = testsupport::sweepAllocationFailures(
        [&] {
            outOfMemory = false;
            try {
                std::string ascii;
                i18nstr::wide2ascii7(wideText.c_str(), ascii);
                std::wstring wide;
                i18nstr::latin2wide(narrowText.c_str(), wide);
                std::string again;
                i18nstr::mb2ascii7(narrowText.c_str(), again);
            } catch (const std::bad_alloc&) {
                outOfMemory = true;
            }
        },
        [&](long) { CHECK(outOfMemory); });

    CHECK(failures >= 4);
}

}  // namespace
