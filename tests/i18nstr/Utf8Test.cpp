#include "i18nstr/Utf8.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "tests/i18nstr/RandomText.h"
#include "tests/support/EndOfPage.h"

namespace {

using i18nstr::Utf8;

constexpr std::size_t kRoom = 16384;

// Converts strings. Each output has exactly the length that convertedLength() returns. The memory
// after each string is not readable, and the memory after each output is not writable.
class Converter {
public:
    bool toWide(std::string_view text) { return convert<wchar_t>(text); }
    bool toNarrow(std::wstring_view text) { return convert<char>(text); }

private:
    template <class To, class From>
    bool convert(std::basic_string_view<From> text) {
        const std::basic_string_view<From> copy(m_text.put(text), text.size());
        const std::size_t length = Utf8::convertedLength(copy);
        return Utf8::convert(copy, {m_output.last<To>(length), length});
    }

    testsupport::EndOfPage m_text{kRoom};
    testsupport::EndOfPage m_output{kRoom};
};

TEST_CASE("UTF-8 conversions access no memory past their input and output") {
    RandomText random(4);
    Converter converter;
    int wellFormed = 0;
    for (int i = 0; i < 20000; ++i) {
        wellFormed += converter.toNarrow(random.wide());
        wellFormed += converter.toWide(random.utf8());
        wellFormed += converter.toWide(random.bytes());
    }
    CHECK(wellFormed > 10000);
    CHECK(wellFormed < 50000);
}

TEST_CASE("Ill-formed text is not written past the end of a short output") {
    Converter converter;
    // convertedLength() does not count trail bytes, so the output is too short for the result of a
    // whole SIMD vector.
    CHECK_FALSE(converter.toWide(std::string(100, '\x80')));
    CHECK_FALSE(converter.toWide(std::string(40, 'a') + std::string(100, '\x80')));
    CHECK_FALSE(converter.toWide('\xc3' + std::string(40, 'a') + std::string(100, '\x80')));
    CHECK_FALSE(converter.toNarrow(std::wstring(100, L'\xdc00')));
    CHECK_FALSE(converter.toNarrow(std::wstring(40, L'a') + std::wstring(100, L'\xd800')));
}

TEST_CASE("Long runs of characters of one kind are counted completely") {
    constexpr std::size_t kMany = 300'000;
    const auto wideLength = [](std::string_view text) { return Utf8::convertedLength(text); };
    const auto narrowLength = [](std::wstring_view text) { return Utf8::convertedLength(text); };
    std::string utf8;
    for (std::size_t i = 0; i < kMany; ++i) utf8 += "\xf0\x9f\x98\x80";
    CHECK(wideLength(utf8) == 2 * kMany);
    CHECK(wideLength(std::string(kMany, 'a')) == kMany);
    CHECK(wideLength("\xc3\xa9" + std::string(kMany, 'a')) == kMany + 1);

    CHECK(narrowLength(std::wstring(kMany, L'a')) == kMany);
    CHECK(narrowLength(L'\u00e9' + std::wstring(kMany, L'a')) == kMany + 2);
    CHECK(narrowLength(std::wstring(kMany, L'\u07ff')) == 2 * kMany);
    CHECK(narrowLength(std::wstring(kMany, L'\uffff')) == 3 * kMany);
    CHECK(narrowLength(std::wstring(kMany, L'\xd83d')) == 2 * kMany);
}

}  // namespace
