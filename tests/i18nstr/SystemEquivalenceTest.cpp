#include <windows.h>

#include <doctest/doctest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "dll/atl.h"
#include "i18nstr/i18nstr.h"
#include "tests/i18nstr/RandomText.h"
#include "tests/i18nstr/ScriptedConverters.h"
#include "tests/i18nstr/SystemConversion.h"
#include "tests/support/EndOfPage.h"

// Tests that the library's own conversions return the same results as the system's functions.

namespace {

constexpr SystemCodePage kAnsi = asAnsi(CP_ACP);
constexpr SystemCodePage kUtf8{CP_UTF8, 0, 0};

// Returns the result that the library must return. The system converts one code unit more than the
// given length specifies, usually the terminator. Then the last code unit of the system's result is
// removed.
template <class To, class From>
std::basic_string<To> expected(const SystemCodePage& codePage, const From* text, int length) {
    const auto units = length < 0 ? std::basic_string_view<From>(text).size() + 1
                                  : static_cast<std::size_t>(length) + 1;
    auto result = bySystem<To>(codePage, std::basic_string_view<From>(text, units));
    if (!result.empty()) result.pop_back();
    return result;
}

template <class Char>
std::string shown(std::basic_string_view<Char> text) {
    std::string units;
    for (const Char unit : text) {
        constexpr char kDigits[] = "0123456789abcdef";
        for (int shift = sizeof(Char) * 8 - 4; shift >= 0; shift -= 4) {
            units += kDigits[static_cast<unsigned>(unit) >> shift & 0xF];
        }
        units += ' ';
    }
    return units;
}

// Converts strings with every overload, and describes the first result that differs from the
// system's result.
class Comparison {
public:
    /// Compares the results for a string. The string is passed with its length, with a length of
    /// -1, and with its length minus 1. The memory after the terminator is not readable.
    template <class Char>
    void add(const std::basic_string<Char>& text) {
        const Char* const copy =
            m_texts.put(std::basic_string_view<Char>(text.c_str(), text.size() + 1));
        const int length = static_cast<int>(text.size());
        compare(copy, length);
        compare(copy, -1);
        if (length > 1) compare(copy, length - 1);
    }

    int texts() const { return m_count; }

    /// Returns a description of the first difference, or an empty string if there is no difference.
    const std::string& difference() const { return m_difference; }

private:
    void compare(const char* text, int length) {
        compareToString(kAnsi, "mb2wide", i18nstr::mb2wide, text, length);
        compareToString(kUtf8, "UTF82wide", i18nstr::UTF82wide, text, length);
        compareToBstr(kAnsi, "mb2wide to a BSTR", i18nstr::mb2wide, text, length);
        compareToBstr(kUtf8, "UTF82wide to a BSTR", i18nstr::UTF82wide, text, length);
        ++m_count;
    }

    void compare(const wchar_t* text, int length) {
        compareToString(kAnsi, "wide2mb", i18nstr::wide2mb, text, length);
        compareToString(kUtf8, "wide2UTF8", i18nstr::wide2UTF8, text, length);
        compareToBuffer(text, length);
        ++m_count;
    }

    template <class From, class To>
    void compareToString(const SystemCodePage& codePage, const char* name,
                         bool (*convert)(const From*, int, std::basic_string<To>&),
                         const From* text, int length) {
        std::basic_string<To> result(3, To('x'));
        const bool converted = convert(text, length, result);
        const bool isTerminated = result.data()[result.size()] == To();
        recordDifference(
            name, text, length,
            converted && isTerminated && result == expected<To>(codePage, text, length));
    }

    void compareToBstr(const SystemCodePage& codePage, const char* name,
                       bool (*convert)(const char*, int, wchar_t**), const char* text, int length) {
        ATL::CComBSTR result;
        const bool converted = convert(text, length, &result.m_str);
        const std::wstring wide = expected<wchar_t>(codePage, text, length);
        recordDifference(
            name, text, length,
            converted && ::SysStringLen(result.m_str) == wide.size() &&
                std::equal(wide.c_str(), wide.c_str() + wide.size() + 1, result.m_str));
    }

    // Converts into a buffer that is exactly large enough for the result, and then into a smaller
    // buffer. The memory after the first buffer is inaccessible.
    void compareToBuffer(const wchar_t* text, int length) {
        const std::string narrow = expected<char>(kAnsi, text, length);
        const std::size_t size = narrow.size() + 1;
        char* const buffer = m_buffer.last<char>(size);
        const bool converted = i18nstr::wide2mb(text, length, buffer, size);
        recordDifference("wide2mb to a buffer", text, length,
                         converted && std::equal(buffer, buffer + size, narrow.c_str()));
        const bool isTooSmall = !i18nstr::wide2mb(text, length, buffer, size - 1);
        recordDifference("wide2mb to a small buffer", text, length,
                         isTooSmall && buffer[0] == '\0');
    }

    template <class Char>
    void recordDifference(const char* function, const Char* text, int length, bool isSame) {
        if (isSame || !m_difference.empty()) return;
        const std::basic_string_view<Char> units =
            length < 0 ? std::basic_string_view<Char>(text)
                       : std::basic_string_view<Char>(text, static_cast<std::size_t>(length) + 1);
        m_difference = function + (" of " + shown(units)) + "length " + std::to_string(length);
    }

    testsupport::EndOfPage m_texts{16384};
    testsupport::EndOfPage m_buffer{16384};
    int m_count = 0;
    std::string m_difference;
};

// Adds all strings of at most `longest` code units that consist of `one`, preceded and followed by
// any number of copies of `other`.
template <class Char>
void addMixtures(Comparison& comparison, const std::basic_string<Char>& one,
                 const std::basic_string<Char>& other, std::size_t longest) {
    for (std::size_t before = 0; before * other.size() <= longest; ++before) {
        std::basic_string<Char> text;
        for (std::size_t i = 0; i < before; ++i) text += other;
        text += one;
        while (text.size() <= longest) {
            comparison.add(text);
            text += other;
        }
    }
}

constexpr std::size_t kLong = 64;
constexpr std::size_t kShort = 40;  // more code units than two SIMD vectors hold

TEST_CASE("Every UTF-16 code unit is converted in the same way as by the system") {
    Comparison comparison;
    for (unsigned unit = 1; unit <= 0xFFFF; ++unit) {
        comparison.add(std::wstring(1, static_cast<wchar_t>(unit)));
    }
    CHECK(comparison.difference() == "");
    CHECK(comparison.texts() == 2 * 0xFFFF);
}

TEST_CASE("A code unit of every kind is converted at every position of strings of every length") {
    const std::wstring kSequences[] = {L"b",      L"\u007f", L"\u0080",     L"\u00e9", L"\u02ff",
                                       L"\u0301", L"\u07ff", L"\u0800",     L"\u4e2d", L"\xd7ff",
                                       L"\xe000", L"\xffff", L"\U0001f600", L"\xd83d", L"\xde00"};
    Comparison comparison;
    for (const std::wstring& one : kSequences) {
        addMixtures<wchar_t>(comparison, one, L"a", kLong);
        addMixtures<wchar_t>(comparison, one, L"\u00e9", kShort);
        addMixtures<wchar_t>(comparison, one, L"\u4e2d", kShort);
        addMixtures<wchar_t>(comparison, one, L"\U0001f600", kShort);
    }
    CHECK(comparison.difference() == "");
}

TEST_CASE("Every sequence of two bytes is converted in the same way as by the system") {
    Comparison comparison;
    for (unsigned first = 1; first <= 0xFF; ++first) {
        for (unsigned second = 0; second <= 0xFF; ++second) {
            comparison.add(std::string{static_cast<char>(first), static_cast<char>(second)});
        }
    }
    CHECK(comparison.difference() == "");
}

TEST_CASE("Sequences at the limits of UTF-8 are converted in the same way as by the system") {
    constexpr std::string_view kBounds =
        "\x01\x7f\x80\x8f\x90\x9f\xa0\xbf\xc0\xc1\xc2\xdf\xe0\xed\xef\xf0\xf4\xf5";
    Comparison comparison;
    for (const char first : kBounds) {
        for (const char second : kBounds) {
            for (const char third : kBounds) {
                comparison.add(std::string{first, second, third});
                for (const char fourth : {'\x7f', '\x80', '\xbf', '\xc2'}) {
                    comparison.add(std::string{first, second, third, fourth});
                }
            }
        }
    }
    CHECK(comparison.difference() == "");
}

TEST_CASE("A sequence of every kind is converted at every position of strings of every length") {
    const std::string kSequences[] = {"b",
                                      "\x7f",
                                      "\x80",
                                      "\xc2\x80",
                                      "\xc3\xa9",
                                      "\xdf\xbf",
                                      "\xe0\xa0\x80",
                                      "\xe4\xb8\xad",
                                      "\xef\xbf\xbf",
                                      "\xf0\x9f\x98\x80",
                                      "\xff",
                                      "\xc3",
                                      "\xe4\xb8",
                                      "\xf0\x9f\x98",
                                      "\xc0\xaf",
                                      "\xed\xa0\x80",
                                      "\xe0\x9f\xbf",
                                      "\xf4\x90\x80\x80",
                                      "\xf8\x88\x80\x80"};
    Comparison comparison;
    for (const std::string& one : kSequences) {
        addMixtures<char>(comparison, one, "a", kLong);
        addMixtures<char>(comparison, one, "\xc3\xa9", kShort);
        addMixtures<char>(comparison, one, "\xe4\xb8\xad", kShort);
        addMixtures<char>(comparison, one, "\xf0\x9f\x98\x80", kShort);
    }
    CHECK(comparison.difference() == "");
}

TEST_CASE("Random wide text is converted in the same way as by the system") {
    RandomText random(1);
    Comparison comparison;
    for (int i = 0; i < 5000; ++i) comparison.add(random.wide());
    CHECK(comparison.difference() == "");
}

TEST_CASE("Random UTF-8 is converted in the same way as by the system") {
    RandomText random(2);
    Comparison comparison;
    for (int i = 0; i < 10000; ++i) comparison.add(random.utf8());
    CHECK(comparison.difference() == "");
}

TEST_CASE("Random bytes are converted in the same way as by the system") {
    RandomText random(3);
    Comparison comparison;
    for (int i = 0; i < 5000; ++i) comparison.add(random.bytes());
    CHECK(comparison.difference() == "");
}

TEST_CASE("No two code units below the first combining mark compose") {
    constexpr wchar_t kEnd = 0x300;
    for (wchar_t one = 1; one < kEnd; ++one) {
        std::wstring text;
        for (wchar_t other = 1; other < kEnd; ++other) text.append({one, other});
        std::string narrow;
        CHECK(i18nstr::wide2mb(text.c_str(), static_cast<int>(text.size()), narrow));
        CHECK(narrow.size() == text.size());
        CHECK(narrow == expected<char>(kAnsi, text.c_str(), static_cast<int>(text.size())));
    }
}

bool hasMultiByteAnsiCodePage() {
    CPINFO codePage;
    return !::GetCPInfo(CP_ACP, &codePage) || codePage.MaxCharSize > 1;
}

TEST_CASE("Well-formed UTF-8 and UTF-16 are converted without calls to the system") {
    const ScriptedConverters converters;
    std::wstring wide;
    ATL::CComBSTR bstr;
    std::string utf8;

    CHECK(i18nstr::UTF82wide("caf\xc3\xa9 \xe4\xb8\xad \xf0\x9f\x98\x80", -1, wide));
    CHECK(i18nstr::UTF82wide("caf\xc3\xa9", 5, &bstr.m_str));
    CHECK(i18nstr::wide2UTF8(L"caf\u00e9 \u4e2d \U0001f600", -1, utf8));

    CHECK(converters.calls().empty());
}

TEST_CASE("ANSI text without combining marks is converted without calls to the system" *
          doctest::skip(hasMultiByteAnsiCodePage())) {
    std::wstring wide;
    REQUIRE(i18nstr::mb2wide("the first conversion makes the tables", -1, wide));
    const ScriptedConverters converters;
    ATL::CComBSTR bstr;
    std::string narrow;
    char buffer[8];

    CHECK(i18nstr::mb2wide("caf\xe9 \x80 \xff", -1, wide));
    CHECK(i18nstr::mb2wide("caf\xe9", 4, &bstr.m_str));
    CHECK(i18nstr::wide2mb(L"caf\u00e9 \u02ff", -1, narrow));
    CHECK(i18nstr::wide2mb(L"caf\u00e9", 4, buffer, sizeof buffer));

    CHECK(converters.calls().empty());
}

}  // namespace
