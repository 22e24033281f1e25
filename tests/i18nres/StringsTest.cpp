#include <windows.h>

#include <comdef.h>
#include <doctest/doctest.h>

#include <atomic>
#include <climits>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <thread>

#include "i18nres/Manager.h"
#include "tests/i18nres/StringForms.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/LeakListener.h"
#include "tests/support/OtherThread.h"

namespace {

using i18nres::Manager;
using testsupport::otherThreadFinishes;
using testsupport::ResourceLibrary;
using testsupport::Switches;

// Buffers

TEST_CASE("loadStringW copies a string completely or not at all") {
    const LedgerWithStrings ledger;
    wchar_t buffer[8] = L"@@@@@@@";

    CHECK(ledger->loadStringW(kLedger, kInDefault, buffer, 5) == 4);
    CHECK(std::wstring(buffer, 8) == std::wstring(L"Open\0@@", 7) + L'\0');

    CHECK(ledger->loadStringW(kLedger, kInDefault, buffer, 4) == 0);
    CHECK(buffer[0] == L'\0');
}

TEST_CASE("loadDefaultStringW copies a string completely or not at all") {
    const LedgerWithStrings ledger;
    wchar_t buffer[8] = L"@@@@@@@";

    CHECK(ledger->loadDefaultStringW(kLedger, kInModule, buffer, 7) == 6);
    CHECK(std::wstring(buffer) == L"module");

    CHECK(ledger->loadDefaultStringW(kLedger, kInModule, buffer, 6) == 0);
    CHECK(buffer[0] == L'\0');
}

TEST_CASE("The wide buffer functions write nothing past a buffer that is too small") {
    const LedgerWithStrings ledger;
    for (const int size : {1, 2, 3}) {
        wchar_t buffer[8] = L"@@@@@@@";
        CHECK(ledger->loadStringW(kLedger, kInDefault, buffer, size) == 0);
        CHECK(ledger->loadDefaultStringW(kLedger, kInModule, buffer, size) == 0);
        CHECK(buffer[0] == L'\0');
        CHECK(std::wstring(buffer + size, 7 - static_cast<std::size_t>(size)) ==
              std::wstring(7 - static_cast<std::size_t>(size), L'@'));
    }
}

TEST_CASE("The buffer functions reject a null buffer and a size below 1") {
    const LedgerWithStrings ledger;
    wchar_t wide = L'@';
    char narrow = '@';
    for (const int size : {0, -1, INT_MIN}) {
        CHECK(ledger->loadStringW(kLedger, kInDefault, &wide, size) == 0);
        CHECK(ledger->loadDefaultStringW(kLedger, kInModule, &wide, size) == 0);
        CHECK(ledger->loadStringA(kLedger, kInDefault, &narrow, size) == 0);
        CHECK(ledger->loadDefaultStringA(kLedger, kInModule, &narrow, size) == 0);
    }
    CHECK(wide == L'@');
    CHECK(narrow == '@');

    CHECK(ledger->loadStringW(kLedger, kInDefault, nullptr, 8) == 0);
    CHECK(ledger->loadDefaultStringW(kLedger, kInModule, nullptr, 8) == 0);
    CHECK(ledger->loadStringA(kLedger, kInDefault, nullptr, 8) == 0);
    CHECK(ledger->loadDefaultStringA(kLedger, kInModule, nullptr, 8) == 0);
}

TEST_CASE("The wide buffer functions allocate nothing for a resolved module") {
    const LedgerWithStrings ledger;
    wchar_t buffer[16];
    REQUIRE(ledger->loadStringW(kLedger, kEverywhere, buffer, 16) == 7);
    REQUIRE(ledger->loadDefaultStringW(kLedger, kEverywhere, buffer, 16) == 6);

    testsupport::failNth(1);
    const int counts[] = {ledger->loadStringW(kLedger, kEverywhere, buffer, 16),
                          ledger->loadDefaultStringW(kLedger, kEverywhere, buffer, 16),
                          ledger->loadStringW(kLedger, kNowhere, buffer, 16)};
    const bool fired = testsupport::failureFired();
    testsupport::failNth(0);

    CHECK_FALSE(fired);
    CHECK(counts[0] == 7);
    CHECK(counts[1] == 6);
    CHECK(counts[2] == 0);
}

TEST_CASE("The narrow buffer functions return the wide count if the text does not fit") {
    const LedgerWithStrings ledger;
    char buffer[8] = "@@@@@@@";

    CHECK(ledger->loadStringA(kLedger, kInDefault, buffer, 4) == 4);
    CHECK(std::string(buffer, 8) == std::string("\0@@@@@@", 8));

    CHECK(ledger->loadDefaultStringA(kLedger, kInModule, buffer, 6) == 6);
    CHECK(buffer[0] == '\0');

    CHECK(ledger->loadStringA(kLedger, kInDefault, buffer, 5) == 4);
    CHECK(std::string(buffer) == "Open");
}

TEST_CASE("The narrow functions convert to the ANSI code page and count wide characters") {
    const LedgerWithStrings ledger;
    char buffer[16];
    std::string text;

    CHECK(ledger->loadStringA(kLedger, kAccented, buffer, 16) == 7);
    CHECK(std::string(buffer) == "\xe9t\xe9 ? \x80");
    CHECK(ledger->loadStdStringA(kLedger, kAccented, text) == 7);
    CHECK(text == "\xe9t\xe9 ? \x80");
    CHECK(ledger->loadDefaultStdStringA(kLedger, kAccented, text) == 7);
    CHECK(text == "\xe9t\xe9 ? \x80");
}

TEST_CASE("The narrow functions count characters even if the text takes fewer bytes") {
    const Ledger ledger(ResourceLibrary(), ResourceLibrary().string(1, L"e\u0301"),
                        ResourceLibrary());
    for (const Form& form : kForms) {
        if (form.name[std::string_view(form.name).size() - 1] != 'A') continue;
        CAPTURE(form.name);
        CHECK(form.load(*ledger, kLedger, 2) == notFound(form));  // loads the satellites
        CHECK(form.load(*ledger, kLedger, 1) == Loaded{2, L"\u00e9"});
    }
}

TEST_CASE("The functions for standard strings replace the contents of the string") {
    const LedgerWithStrings ledger;
    std::wstring wide(100, L'x');
    std::string narrow(100, 'x');

    CHECK(ledger->loadStdStringW(kLedger, kInDefault, wide) == 4);
    CHECK(wide == L"Open");
    CHECK(ledger->loadStdStringA(kLedger, kInDefault, narrow) == 4);
    CHECK(narrow == "Open");
}

TEST_CASE("A long string is returned completely") {
    const LedgerWithStrings ledger;
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        const std::wstring expected(3000, form.isDefault ? L'x' : L'y');
        CHECK(form.load(*ledger, kLedger, kLong) == Loaded{3000, expected});
    }
}

TEST_CASE("The BSTR functions reject a null pointer") {
    const LedgerWithStrings ledger;

    CHECK(ledger->loadBString(kLedger, kInDefault, nullptr) == E_POINTER);
    CHECK(ledger->loadDefaultBString(kLedger, kInModule, nullptr) == E_POINTER);
}

// Memory and threads

TEST_CASE("Every string function throws if one of its allocations fails, and releases the lock") {
    const LedgerWithStrings ledger(Switches::both);
    for (const Form& form : kForms) {
        CAPTURE(form.name);
        bool threw = false;
        const long failures = testsupport::sweepAllocationFailures(
            [&] {
                threw = false;
                try {
                    form.load(*ledger, kLedger, kLong);
                } catch (const std::bad_alloc&) {
                    threw = true;
                } catch (const _com_error& error) {
                    threw = error.Error() == E_OUTOFMEMORY;
                }
            },
            [&](long failure) {
                CAPTURE(failure);
                CHECK(threw);
                CHECK(otherThreadFinishes([&] { ledger->setResourcePath(L""); }));
            });
        CHECK(failures >= 0);
        if (std::string(form.name).find("Std") != std::string::npos) CHECK(failures > 0);
        if (std::string(form.name).find("BString") != std::string::npos) CHECK(failures == 1);
    }
}

TEST_CASE("loadStdStringW keeps the string when memory runs out") {
    const LedgerWithStrings ledger;
    std::wstring text = L"before";
    testsupport::failNth(1);

    CHECK_THROWS_AS(ledger->loadStdStringW(kLedger, kLong, text), std::bad_alloc);
    testsupport::failNth(0);

    CHECK(text == L"before");
}

TEST_CASE("loadBString throws E_OUTOFMEMORY and clears the output when memory runs out") {
    const LedgerWithStrings ledger;
    REQUIRE(ledger->loadStringW(kLedger, kInDefault, std::make_unique<wchar_t[]>(8).get(), 8) == 4);
    BSTR text = reinterpret_cast<BSTR>(1);
    HRESULT hr = S_OK;
    testsupport::failNth(1);
    try {
        ledger->loadBString(kLedger, kInDefault, &text);
    } catch (const _com_error& error) {
        hr = error.Error();
    }
    testsupport::failNth(0);

    CHECK(hr == E_OUTOFMEMORY);
    CHECK(text == nullptr);
}

TEST_CASE("Lookups return complete strings while another thread changes the culture") {
    const LedgerWithStrings ledger;
    std::atomic<int> wrong = 0;
    const auto lookUpStrings = [&] {
        for (int round = 0; round < 200; ++round) {
            std::wstring text;
            ledger->loadStdStringW(kLedger, kEverywhere, text);
            if (text != L"culture" && text != L"default") ++wrong;
        }
    };
    const auto change = [&] {
        for (int round = 0; round < 25; ++round) {
            ledger->setCulture(round % 2 ? L"fr-CA" : L"en-GB");
        }
    };
    testsupport::ignoreHandles();
    std::thread first(lookUpStrings), second(lookUpStrings);
    change();
    first.join();
    second.join();

    CHECK(wrong == 0);
}

}  // namespace
