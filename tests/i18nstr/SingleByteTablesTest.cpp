#include "i18nstr/SingleByteTables.h"

#include <windows.h>

#include <doctest/doctest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "i18nstr/SystemConverters.h"
#include "tests/i18nstr/RandomText.h"
#include "tests/support/EndOfPage.h"
#include "tests/support/ReplacedImport.h"

namespace {

using i18nstr::CodePage;
using i18nstr::SingleByteTables;

constexpr std::size_t kRoom = 4096;

CodePage ansi(UINT number) {
    CodePage codePage = i18nstr::kAnsi;
    codePage.number = number;
    return codePage;
}

template <class To, class From>
std::basic_string<To> bySystem(const CodePage& codePage, std::basic_string_view<From> text) {
    std::basic_string<To> result(2 * text.size(), To());
    const int size = i18nstr::convert(codePage, text.data(), static_cast<int>(text.size()),
                                      result.data(), static_cast<int>(result.size()));
    result.resize(static_cast<std::size_t>(size));
    return result;
}

// Converts plain texts that end where nothing can be read behind them, into room behind which
// nothing can be written, and counts those whose result is not the system's.
class Comparison {
public:
    explicit Comparison(UINT codePage) : m_codePage(ansi(codePage)) {
        REQUIRE(m_tables.fill(m_codePage));
    }

    void add(std::string_view text) {
        const std::string_view copy(m_text.put(text), text.size());
        if (!m_tables.isPlain(copy)) return;
        wchar_t* const wide = m_room.last<wchar_t>(text.size());
        m_tables.toWide(copy.data(), copy.size(), wide);
        note(std::wstring_view(wide, text.size()) == bySystem<wchar_t>(m_codePage, copy));
    }

    void add(std::wstring_view text) {
        const std::wstring_view copy(m_text.put(text), text.size());
        if (!m_tables.isPlain(copy)) return;
        char* const narrow = m_room.last<char>(text.size());
        m_tables.toNarrow(copy.data(), copy.size(), narrow);
        note(std::string_view(narrow, text.size()) == bySystem<char>(m_codePage, copy));
    }

    int plainTexts() const { return m_plainTexts; }
    int differences() const { return m_differences; }

private:
    void note(bool isSame) {
        ++m_plainTexts;
        m_differences += !isSame;
    }

    CodePage m_codePage;
    SingleByteTables m_tables{};
    testsupport::EndOfPage m_text{kRoom};
    testsupport::EndOfPage m_room{kRoom};
    int m_plainTexts = 0;
    int m_differences = 0;
};

// The ANSI code pages of the systems whose characters are one byte each, and some others.
constexpr UINT kWithoutMarks[] = {1250, 1251, 1252, 1253, 1254, 1257,  437,
                                  850,  852,  866,  737,  775,  20866, 28591};
constexpr UINT kWithMarks[] = {874, 1255, 1256, 1258};

TEST_CASE("tables convert all narrow text as the system converts it") {
    for (const UINT codePage : kWithoutMarks) {
        CAPTURE(codePage);
        Comparison comparison(codePage);
        RandomText random(codePage);
        for (int i = 0; i < 500; ++i) comparison.add(random.bytes());
        CHECK(comparison.plainTexts() == 500);
        CHECK(comparison.differences() == 0);
    }
}

TEST_CASE("tables convert every pair of plain units as the system converts it") {
    constexpr wchar_t kEnd = 0x300;
    for (const UINT codePage : {1250u, 1252u, 1253u, 1255u, 1258u, 437u}) {
        CAPTURE(codePage);
        Comparison comparison(codePage);
        for (wchar_t one = 0; one < kEnd; ++one) {
            std::wstring text;
            for (wchar_t other = 0; other < kEnd; ++other) text.append({one, other});
            comparison.add(text);
        }
        CHECK(comparison.plainTexts() == kEnd);
        CHECK(comparison.differences() == 0);
    }
}

TEST_CASE("texts of every length are converted to their end") {
    Comparison comparison(1252);
    std::string codes;
    std::wstring units;
    for (std::size_t length = 1; length <= 80; ++length) {
        codes += length % 7 == 0 ? '\x80' : 'a';
        units += length % 7 == 0 ? L'\u0161' : L'\u00e9';
        comparison.add(codes);
        comparison.add(units);
    }
    CHECK(comparison.plainTexts() == 160);
    CHECK(comparison.differences() == 0);
}

TEST_CASE("in a code page with marks that take no space only ASCII is plain") {
    for (const UINT codePage : kWithMarks) {
        CAPTURE(codePage);
        SingleByteTables tables{};
        REQUIRE(tables.fill(ansi(codePage)));
        CHECK(tables.isPlain(std::string_view("plain ASCII")));
        CHECK_FALSE(tables.isPlain(std::string_view("a\xe0")));
        CHECK(tables.isPlain(std::wstring_view(L"\u00e0")));
    }
}

TEST_CASE("a unit from U+0300 up is not plain wherever it stands") {
    SingleByteTables tables{};
    REQUIRE(tables.fill(ansi(1252)));
    for (std::size_t length = 1; length <= 40; ++length) {
        for (std::size_t place = 0; place < length; ++place) {
            for (const wchar_t unit : {L'\u0300', L'\u20ac', L'\x8000', L'\xffff'}) {
                std::wstring text(length, L'\u02ff');
                CHECK(tables.isPlain(std::wstring_view(text)));
                text[place] = unit;
                CHECK_FALSE(tables.isPlain(std::wstring_view(text)));
            }
        }
    }
}

// Whether there are tables of a code page while a function of the system answers otherwise.
template <class Function>
bool fillsWith(const char* name, Function* replacement) {
    const testsupport::ReplacedImport replaced(name, replacement, ::GetModuleHandleW(nullptr));
    SingleByteTables tables{};
    return tables.fill(ansi(1252));
}

int WINAPI narrowToQuestions(UINT, DWORD, const wchar_t*, int length, char* codes, int, const char*,
                             BOOL*) {
    std::fill_n(codes, length, '?');
    return length;
}

TEST_CASE("a code page that the system does not tell all about has no tables") {
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

TEST_CASE("a code page that has ASCII in one direction only has no tables") {
    CHECK_FALSE(fillsWith("WideCharToMultiByte", &narrowToQuestions));
}

TEST_CASE("a code page of several bytes to a character or without ASCII has no tables") {
    for (const UINT codePage : {932u, 936u, 949u, 950u, 65001u, 65000u, 37u, 500u}) {
        CAPTURE(codePage);
        SingleByteTables tables{};
        CHECK_FALSE(tables.fill(ansi(codePage)));
    }
}

}  // namespace
