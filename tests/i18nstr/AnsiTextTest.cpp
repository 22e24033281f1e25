#include "i18nstr/AnsiText.h"

#include <windows.h>

#include <doctest/doctest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "tests/i18nstr/RandomText.h"
#include "tests/i18nstr/SystemConversion.h"
#include "tests/support/EndOfPage.h"
#include "tests/support/ReplacedImport.h"

namespace {

using i18nstr::AnsiText;

constexpr std::size_t kRoom = 4096;

bool fill(AnsiText& ansiText, UINT codePage) {
    const SystemCodePage flags = asAnsi(codePage);
    return ansiText.fill({codePage, flags.toWideFlags, flags.toNarrowFlags});
}

// Converts strings with the tables of a code page, and counts the results that differ from the
// system's results. The memory after each string is not readable, and the memory after each result
// is not writable.
class Comparison {
public:
    explicit Comparison(UINT codePage) : m_codePage(asAnsi(codePage)) {
        REQUIRE(fill(m_ansiText, codePage));
    }

    void add(std::string_view text) { compare<wchar_t>(text); }
    void add(std::wstring_view text) { compare<char>(text); }

    int convertedTexts() const { return m_convertedTexts; }
    int differences() const { return m_differences; }

private:
    template <class To, class From>
    void compare(std::basic_string_view<From> text) {
        const std::basic_string_view<From> copy(m_text.put(text), text.size());
        const std::size_t length = m_ansiText.convertedLength(copy);
        if (length == 0) return;
        To* const output = m_room.last<To>(length);
        m_ansiText.convert(copy, {output, length});
        ++m_convertedTexts;
        m_differences +=
            std::basic_string_view<To>(output, length) != bySystem<To>(m_codePage, copy);
    }

    SystemCodePage m_codePage;
    AnsiText m_ansiText{};
    testsupport::EndOfPage m_text{kRoom};
    testsupport::EndOfPage m_room{kRoom};
    int m_convertedTexts = 0;
    int m_differences = 0;
};

// Single-byte code pages without combining characters, and single-byte code pages with combining
// characters. Together, the arrays contain all single-byte ANSI code pages of Windows, and some
// other code pages.
constexpr UINT kWithoutMarks[] = {1250, 1251, 1252, 1253, 1254, 1257,  437,
                                  850,  852,  866,  737,  775,  20866, 28591};
constexpr UINT kWithMarks[] = {874, 1255, 1256, 1258};

TEST_CASE("Tables convert all narrow text in the same way as the system") {
    for (const UINT codePage : kWithoutMarks) {
        CAPTURE(codePage);
        Comparison comparison(codePage);
        RandomText random(codePage);
        for (int i = 0; i < 500; ++i) comparison.add(random.bytes());
        CHECK(comparison.convertedTexts() == 500);
        CHECK(comparison.differences() == 0);
    }
}

TEST_CASE("Tables convert every pair of units below the first combining mark like the system") {
    constexpr wchar_t kEnd = 0x300;
    for (const UINT codePage : {1250u, 1252u, 1253u, 1255u, 1258u, 437u}) {
        CAPTURE(codePage);
        Comparison comparison(codePage);
        for (wchar_t one = 0; one < kEnd; ++one) {
            std::wstring text;
            for (wchar_t other = 0; other < kEnd; ++other) text.append({one, other});
            comparison.add(text);
        }
        CHECK(comparison.convertedTexts() == kEnd);
        CHECK(comparison.differences() == 0);
    }
}

TEST_CASE("Strings of every length are converted to their end") {
    Comparison comparison(1252);
    std::string codes;
    std::wstring units;
    for (std::size_t length = 1; length <= 80; ++length) {
        codes += length % 7 == 0 ? '\x80' : 'a';
        units += length % 7 == 0 ? L'\u0161' : L'\u00e9';
        comparison.add(codes);
        comparison.add(units);
    }
    CHECK(comparison.convertedTexts() == 160);
    CHECK(comparison.differences() == 0);
}

TEST_CASE("Tables convert only ASCII in a code page with combining marks") {
    for (const UINT codePage : kWithMarks) {
        CAPTURE(codePage);
        AnsiText ansiText{};
        REQUIRE(fill(ansiText, codePage));
        CHECK(ansiText.convertedLength(std::string_view("ASCII")) == 5);
        CHECK(ansiText.convertedLength(std::string_view("a\xe0")) == 0);
        CHECK(ansiText.convertedLength(std::wstring_view(L"\u00e0")) == 1);
    }
}

TEST_CASE("Tables convert no string with a code unit of 0x0300 or above") {
    AnsiText ansiText{};
    REQUIRE(fill(ansiText, 1252));
    for (std::size_t length = 1; length <= 40; ++length) {
        for (std::size_t place = 0; place < length; ++place) {
            for (const wchar_t unit : {L'\u0300', L'\u20ac', L'\x8000', L'\xffff'}) {
                std::wstring text(length, L'\u02ff');
                CHECK(ansiText.convertedLength(std::wstring_view(text)) == length);
                text[place] = unit;
                CHECK(ansiText.convertedLength(std::wstring_view(text)) == 0);
            }
        }
    }
}

// Returns true if the tables can be filled while a system function is replaced.
template <class Function>
bool fillsWith(const char* name, Function* replacement) {
    const testsupport::ReplacedImport replaced(name, replacement, ::GetModuleHandleW(nullptr));
    AnsiText ansiText{};
    const bool filled = fill(ansiText, 1252);
    const bool converts = ansiText.convertedLength(std::string_view("a")) == 1 ||
                          ansiText.convertedLength(std::wstring_view(L"a")) == 1;
    CHECK(converts == filled);
    return filled;
}

int WINAPI narrowToQuestions(UINT, DWORD, const wchar_t*, int length, char* codes, int, const char*,
                             BOOL*) {
    std::fill_n(codes, length, '?');
    return length;
}

TEST_CASE("A code page that the system does not describe completely has no tables") {
    CHECK_FALSE(fillsWith(
        "GetCPInfo", +[](UINT, CPINFO*) -> BOOL { return FALSE; }));
    CHECK_FALSE(fillsWith(
        "MultiByteToWideChar",
        +[](UINT, DWORD, const char*, int, wchar_t*, int) -> int { return 0; }));
    CHECK_FALSE(fillsWith(
        "WideCharToMultiByte",
        +[](UINT, DWORD, const wchar_t*, int, char*, int, const char*, BOOL*) -> int {
            return 0;
        }));
    CHECK_FALSE(fillsWith(
        "GetStringTypeW", +[](DWORD, const wchar_t*, int, WORD*) -> BOOL { return FALSE; }));
}

TEST_CASE("A code page that has ASCII in only one direction has no tables") {
    CHECK_FALSE(fillsWith("WideCharToMultiByte", &narrowToQuestions));
}

TEST_CASE("A multi-byte code page and a code page without ASCII have no tables") {
    for (const UINT codePage : {932u, 936u, 949u, 950u, 65001u, 65000u, 37u, 500u}) {
        CAPTURE(codePage);
        AnsiText ansiText{};
        CHECK_FALSE(fill(ansiText, codePage));
    }
}

}  // namespace
