#include "i18nstr/Utf8.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "tests/i18nstr/RandomText.h"
#include "tests/support/EndOfPage.h"

namespace {

namespace utf8 = i18nstr::utf8;

constexpr std::size_t kRoom = 16384;

// Converts texts that end where nothing can be read behind them, into exactly the room that their
// length asks for, at the end of which nothing can be written.
class Converter {
public:
    bool toWide(std::string_view text) {
        const std::string_view copy(m_text.put(text), text.size());
        const std::size_t length = utf8::wideLength(copy);
        return utf8::toWide(copy, {m_room.last<wchar_t>(length), length});
    }

    bool toNarrow(std::wstring_view text) {
        const std::wstring_view copy(m_text.put(text), text.size());
        const std::size_t length = utf8::narrowLength(copy);
        return utf8::toNarrow(copy, {m_room.last<char>(length), length});
    }

private:
    testsupport::EndOfPage m_text{kRoom};
    testsupport::EndOfPage m_room{kRoom};
};

TEST_CASE("neither conversion goes beyond its text and its room whatever the text") {
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

TEST_CASE("a text that is shorter than its bytes promise stays in its room") {
    Converter converter;
    // Trail bytes give no units, so nothing is left for what stands before them.
    CHECK_FALSE(converter.toWide(std::string(100, '\x80')));
    CHECK_FALSE(converter.toWide(std::string(40, 'a') + std::string(100, '\x80')));
    CHECK_FALSE(converter.toWide('\xc3' + std::string(40, 'a') + std::string(100, '\x80')));
    CHECK_FALSE(converter.toNarrow(std::wstring(100, L'\xdc00')));
    CHECK_FALSE(converter.toNarrow(std::wstring(40, L'a') + std::wstring(100, L'\xd800')));
}

TEST_CASE("long runs of one kind are counted whole") {
    // Longer than what the counters of one round hold.
    constexpr std::size_t kMany = 300'000;
    std::string utf8;
    for (std::size_t i = 0; i < kMany; ++i) utf8 += "\xf0\x9f\x98\x80";
    CHECK(utf8::wideLength(utf8) == 2 * kMany);
    CHECK(utf8::wideLength(std::string(kMany, 'a')) == kMany);
    CHECK(utf8::wideLength("\xc3\xa9" + std::string(kMany, 'a')) == kMany + 1);

    CHECK(utf8::narrowLength(std::wstring(kMany, L'a')) == kMany);
    CHECK(utf8::narrowLength(L'\u00e9' + std::wstring(kMany, L'a')) == kMany + 2);
    CHECK(utf8::narrowLength(std::wstring(kMany, L'\u07ff')) == 2 * kMany);
    CHECK(utf8::narrowLength(std::wstring(kMany, L'\uffff')) == 3 * kMany);
    CHECK(utf8::narrowLength(std::wstring(kMany, L'\xd83d')) == 2 * kMany);
}

}  // namespace
