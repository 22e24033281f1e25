#include <windows.h>

#include <doctest/doctest.h>

#include <algorithm>
#include <climits>
#include <iterator>
#include <string>
#include <string_view>

#include "i18nstr/i18nstr.h"
#include "tests/i18nstr/CodePageTexts.h"
#include "tests/i18nstr/ScriptedConverters.h"

namespace {

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
