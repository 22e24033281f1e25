#pragma once
// Strings for the tests of code page conversions.

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <memory>

// Tests with special characters are skipped if this function returns true, because the strings of
// these tests are encoded in code page 1252.
inline bool isOtherAnsiCodePage() { return ::GetACP() != 1252; }

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
