// Test cases that fail in different ways. tests/harness/CMakeLists.txt runs them one at a time, and
// checks that the report of each failure contains the name of the test case.
#include <doctest/doctest.h>
#include <windows.h>

#include "clipboard/CDataObject.h"
#include "i18nres/i18nres.h"

TEST_CASE("probe - passes") { CHECK(true); }

TEST_CASE("probe - fails") { CHECK(false); }

TEST_CASE("probe - crashes") { ::RaiseException(EXCEPTION_ACCESS_VIOLATION, 0, 0, nullptr); }

TEST_CASE("probe - hangs") { ::Sleep(INFINITE); }

TEST_CASE("probe - leaks a block") {
    IDataObject* object = nullptr;
    CHECK(CDataObject::CreateInstance(&object) == S_OK);
}

TEST_CASE("probe - opens a handle, and leaks it") {
    CHECK(::CreateEventW(nullptr, FALSE, FALSE, nullptr) != nullptr);
}

TEST_CASE("probe - writes past a block") {
    // The block is large, because Wine 10 does not detect writes past the end of a small block.
    constexpr std::size_t kSize = 5000;
    auto* const block = static_cast<char*>(::HeapAlloc(::GetProcessHeap(), 0, kSize));
    REQUIRE(block);
    volatile char* const end = block + kSize;
    const char before = *end;
    *end = static_cast<char>(before + 1);
    CHECK(*end != before);
}

TEST_CASE("probe - looks a string up without a manager") {
    wchar_t text[8];
    CHECK(i18nres::loadStringW(L"charts.dll", 7, text, 8) == 0);
}
