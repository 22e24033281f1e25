#include "platform/BoundedCopy.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <string>

namespace {

using platform::copyWhole;

TEST_CASE("copyWhole stores a string that fits and its terminator") {
    wchar_t buffer[5] = L"....";

    CHECK(copyWhole(buffer, 5, L"Open"));

    CHECK(std::wstring(buffer) == L"Open");
}

TEST_CASE("copyWhole stores an empty string if the terminator does not fit") {
    wchar_t buffer[4] = {L'a', L'b', L'c', L'd'};

    CHECK_FALSE(copyWhole(buffer, 4, L"Open"));

    CHECK(buffer[0] == L'\0');
}

TEST_CASE("copyWhole writes nothing past the buffer if the string is too long") {
    wchar_t buffer[6] = {L'a', L'b', L'c', L'd', L'e', L'f'};

    copyWhole(buffer, 2, L"Open");

    CHECK(std::wstring(buffer + 1, 5) == L"bcdef");
}

TEST_CASE("copyWhole copies an empty string to a buffer of one character") {
    wchar_t buffer[1] = {L'x'};

    CHECK(copyWhole(buffer, 1, L""));

    CHECK(buffer[0] == L'\0');
}

TEST_CASE("copyWhole rejects a buffer without room or a null buffer") {
    wchar_t untouched = L'x';

    CHECK_FALSE(copyWhole(&untouched, 0, L""));
    CHECK_FALSE(copyWhole(nullptr, 4, L"Open"));

    CHECK(untouched == L'x');
}

}  // namespace
