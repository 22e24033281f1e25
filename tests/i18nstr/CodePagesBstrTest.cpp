#include <windows.h>

#include <doctest/doctest.h>
#include <oleauto.h>

#include <algorithm>
#include <climits>
#include <string>
#include <vector>

#include "i18nstr/i18nstr.h"
#include "tests/i18nstr/CodePageTexts.h"
#include "tests/i18nstr/ScriptedConverters.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"

namespace {

// The functions have the same parameters and are tested with the same strings.
struct ToBstr {
    const char* name;
    bool (*convert)(const char*, int, wchar_t**);
};
const ToBstr kToBstr[] = {{"mb2wide", i18nstr::mb2wide}, {"UTF82wide", i18nstr::UTF82wide}};

// Records the BSTRs that the DLL allocates and frees while this object exists.
class BstrLedger {
public:
    BstrLedger() { s_current = this; }
    BstrLedger(const BstrLedger&) = delete;
    BstrLedger& operator=(const BstrLedger&) = delete;
    ~BstrLedger() { s_current = nullptr; }

    bool hasFreed(const wchar_t* text) const {
        return std::find(m_freed.begin(), m_freed.end(), text) != m_freed.end();
    }
    const std::vector<BSTR>& allocated() const { return m_allocated; }

private:
    static BSTR WINAPI allocate(const OLECHAR* text, UINT length) {
        BSTR allocated = s_current->m_allocate.original()(text, length);
        s_current->m_allocated.push_back(allocated);
        return allocated;
    }
    static void WINAPI free(BSTR text) {
        if (text) s_current->m_freed.push_back(text);
        s_current->m_free.original()(text);
    }

    static inline BstrLedger* s_current = nullptr;

    std::vector<BSTR> m_allocated;
    std::vector<BSTR> m_freed;
    testsupport::ReplacedImport<decltype(allocate)> m_allocate{"SysAllocStringLen", allocate};
    testsupport::ReplacedImport<decltype(free)> m_free{"SysFreeString", free};
};

TEST_CASE("A BSTR conversion fails without an output pointer") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        CHECK_FALSE(overload.convert("abc", -1, nullptr));
        CHECK_FALSE(overload.convert("", -1, nullptr));
        CHECK_FALSE(overload.convert(nullptr, -1, nullptr));
    }
}

TEST_CASE("A null string frees the previous BSTR and fails") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        const BSTR before = ::SysAllocString(L"before");
        BSTR text = before;
        const BstrLedger ledger;

        CHECK_FALSE(overload.convert(nullptr, 0, &text));

        CHECK(text == nullptr);
        CHECK(ledger.hasFreed(before));
    }
}

TEST_CASE("An empty string frees the previous BSTR and leaves null") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        for (const auto& empty : kEmptyNarrow) {
            CAPTURE(empty.label);
            const BSTR before = ::SysAllocString(L"before");
            BSTR text = before;
            const BstrLedger ledger;

            CHECK(overload.convert(empty.text, empty.length, &text));

            CHECK(text == nullptr);
            CHECK(ledger.hasFreed(before));
        }
    }
}

TEST_CASE("A string that the system fails to measure frees the previous BSTR") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        const BSTR before = ::SysAllocString(L"before");
        BSTR text = before;
        const BstrLedger ledger;
        const ScriptedConverters converters(1);

        CHECK_FALSE(overload.convert(kForTheSystem, kLengthForTheSystem, &text));

        CHECK(text == nullptr);
        CHECK(ledger.hasFreed(before));
        CHECK(ledger.allocated().empty());
    }
}

TEST_CASE("A string of the maximum length frees the previous BSTR and fails") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        const BSTR before = ::SysAllocString(L"before");
        BSTR text = before;
        const BstrLedger ledger;

        CHECK_FALSE(overload.convert("abc", INT_MAX, &text));

        CHECK(text == nullptr);
        CHECK(ledger.hasFreed(before));
    }
}

TEST_CASE("A BSTR has the length of the converted text and a terminator") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        BSTR text = nullptr;

        CHECK(overload.convert("Open\0more", -1, &text));

        REQUIRE(text != nullptr);
        CHECK(::SysStringLen(text) == 4);
        CHECK(std::wstring(text) == L"Open");
        ::SysFreeString(text);
    }
}

TEST_CASE("A BSTR keeps the embedded NULs of a string with a length") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        BSTR text = nullptr;

        CHECK(overload.convert("a\0b", 3, &text));

        REQUIRE(text != nullptr);
        CHECK(::SysStringLen(text) == 3);
        CHECK(std::wstring(text, 4) == std::wstring(L"a\0b\0", 4));
        ::SysFreeString(text);
    }
}

TEST_CASE("Without a terminator at the given length, a BSTR ends before the removed unit") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        BSTR text = nullptr;

        CHECK(overload.convert("abcdef", 3, &text));

        REQUIRE(text != nullptr);
        CHECK(::SysStringLen(text) == 3);
        CHECK(std::wstring(text) == L"abc");
        ::SysFreeString(text);
    }
}

TEST_CASE("UTF82wide creates a BSTR from characters of every length") {
    BSTR text = nullptr;

    CHECK(i18nstr::UTF82wide("\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80", -1, &text));

    REQUIRE(text != nullptr);
    CHECK(std::wstring(text, ::SysStringLen(text)) == L"\u00e9\u4e2d\U0001f600");
    ::SysFreeString(text);
}

TEST_CASE("mb2wide creates a BSTR from ANSI text" * doctest::skip(isOtherAnsiCodePage())) {
    BSTR text = nullptr;

    CHECK(i18nstr::mb2wide("\x80 5", -1, &text));

    REQUIRE(text != nullptr);
    CHECK(std::wstring(text, ::SysStringLen(text)) == L"\u20ac 5");
    ::SysFreeString(text);
}

TEST_CASE("A successful conversion replaces the previous BSTR without freeing it") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        const BSTR before = ::SysAllocString(L"before");
        BSTR text = before;
        const BstrLedger ledger;

        CHECK(overload.convert("after", -1, &text));

        CHECK(text != before);
        CHECK(std::wstring(text) == L"after");
        CHECK_FALSE(ledger.hasFreed(before));
        ::SysFreeString(before);
        ::SysFreeString(text);
    }
}

TEST_CASE("A conversion that fails after it allocated a BSTR frees the BSTR and leaves null") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        const BSTR before = ::SysAllocString(L"before");
        BSTR text = before;
        const BstrLedger ledger;
        const ScriptedConverters converters(2);

        CHECK_FALSE(overload.convert(kForTheSystem, kLengthForTheSystem, &text));

        CHECK(text == nullptr);
        REQUIRE(ledger.allocated().size() == 1);
        CHECK(ledger.hasFreed(ledger.allocated()[0]));
        CHECK_FALSE(ledger.hasFreed(before));
        ::SysFreeString(before);
    }
}

TEST_CASE("A conversion to a BSTR fails without an exception when memory runs out") {
    for (const auto& overload : kToBstr) {
        CAPTURE(overload.name);
        const BSTR before = ::SysAllocString(L"before");
        BSTR text = before;
        testsupport::failNth(1);

        CHECK_FALSE(overload.convert("abc", -1, &text));

        CHECK(testsupport::failureFired());
        testsupport::failNth(0);
        CHECK(text == nullptr);
        ::SysFreeString(before);
    }
}

}  // namespace
