#include "i18nres/StringTable.h"

#include <doctest/doctest.h>

#include <random>
#include <string>
#include <string_view>

#include "tests/support/EndOfPage.h"

namespace {

using i18nres::StringTable;

// A block that ends at an inaccessible page. Reading past the end causes an access violation.
class FencedBlock {
public:
    explicit FencedBlock(const std::wstring& units, std::size_t bytes)
        : m_memory(bytes),
          m_size(bytes),
          m_begin(
              m_memory.put(std::string_view(reinterpret_cast<const char*>(units.data()), bytes))) {}

    StringTable table() const { return {m_begin, m_size}; }

private:
    testsupport::EndOfPage m_memory;
    std::size_t m_size;
    const char* m_begin;
};

std::wstring entryOf(const std::wstring& units, unsigned position) {
    const FencedBlock block(units, units.size() * sizeof(wchar_t));
    return std::wstring(block.table().entry(position));
}

const std::wstring kFirstAndLast = std::wstring(L"\4Open") + std::wstring(14, L'\0') + L"\5Close";

TEST_CASE("blockOf returns one-based numbers of blocks of sixteen identifiers") {
    CHECK(StringTable::blockOf(0) == 1);
    CHECK(StringTable::blockOf(15) == 1);
    CHECK(StringTable::blockOf(16) == 2);
    CHECK(StringTable::blockOf(0xFFFF) == 0x1000);
    CHECK(StringTable::blockOf(0xFFFFFFFF) == 0x10000000);
}

TEST_CASE("positionOf returns the identifier modulo sixteen") {
    CHECK(StringTable::positionOf(0) == 0);
    CHECK(StringTable::positionOf(15) == 15);
    CHECK(StringTable::positionOf(16) == 0);
}

TEST_CASE("A string table returns the first and the last entry of its block") {
    CHECK(entryOf(kFirstAndLast, 0) == L"Open");
    CHECK(entryOf(kFirstAndLast, 15) == L"Close");
}

TEST_CASE("An entry of length 0 in a string table is empty") {
    CHECK(entryOf(kFirstAndLast, 7).empty());
}

TEST_CASE("An entry of a string table can contain embedded NULs") {
    CHECK(entryOf(std::wstring(L"\3a\0b", 4), 0) == std::wstring(L"a\0b", 3));
}

TEST_CASE("A string table returns no entry whose length extends past its block") {
    CHECK(entryOf(L"\5Open", 0).empty());
    CHECK(entryOf(L"\xFFFFOpen", 0).empty());
}

TEST_CASE("A string table returns no entry after a length that extends past its block") {
    CHECK(entryOf(L"\5Open", 1).empty());
    CHECK(entryOf(L"\5Open", 15).empty());
}

TEST_CASE("A string table with fewer than sixteen entries returns its existing entries") {
    CHECK(entryOf(L"\4Open\5Close", 1) == L"Close");
    CHECK(entryOf(L"\4Open\5Close", 2).empty());
    CHECK(entryOf(L"\4Open\5Close", 15).empty());
}

TEST_CASE("An odd last byte of a block is ignored") {
    const FencedBlock block(L"\4Open", 9);

    CHECK(block.table().entry(0).empty());
}

TEST_CASE("A block that ends after a length has no text for that length") {
    CHECK(entryOf(L"\4", 0).empty());
}

TEST_CASE("An empty block and a missing block have no entries") {
    CHECK(entryOf(L"", 0).empty());
    CHECK(StringTable(nullptr, 0).entry(0).empty());
    CHECK(StringTable(nullptr, 32).entry(0).empty());
}

TEST_CASE("A string table never returns text past its block") {
    std::mt19937 random(7);  // fixed seed: every run tests the same blocks
    for (int round = 0; round < 2000; ++round) {
        std::wstring units(random() % 24, L'\0');
        for (wchar_t& unit : units) {
            unit = static_cast<wchar_t>(random() % 8 ? random() % 6 : random());
        }
        const std::size_t bytes =
            units.size() * sizeof(wchar_t) - (units.empty() ? 0 : random() % 2);
        const FencedBlock block(units, bytes);
        std::size_t total = 0;
        for (unsigned position = 0; position < StringTable::kEntries; ++position) {
            const std::wstring text(block.table().entry(position));  // reads the whole entry
            total += text.size();
        }
        CHECK(total <= units.size());
    }
}

TEST_CASE("A block at an odd address has no entries") {
    alignas(wchar_t) char bytes[] = "x\1\0a";

    CHECK(StringTable(bytes + 1, 4).entry(0).empty());
}

}  // namespace
