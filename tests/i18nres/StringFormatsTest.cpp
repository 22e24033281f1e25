#include <windows.h>

#include <doctest/doctest.h>

#include <climits>
#include <cstdarg>
#include <new>
#include <string>

#include "i18nres/i18nres.h"
#include "tests/i18nres/Ledger.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/OtherThread.h"
#include "tests/support/ProcessCounts.h"
#include "tests/support/ReplacedImport.h"

namespace {

using i18nres::Manager;
using i18nres::detail::UNSAFE_loadStringPrintfW;
using testsupport::otherThreadFinishes;
using testsupport::ResourceLibrary;
using testsupport::Switches;

enum : unsigned {
    kPage = 1,      // "%1 of %2" in the module, "page %1 sur %2" in the satellite for fr-CA
    kNumber = 2,    // "%1!d! items"
    kPrintf = 3,    // "%s of %1"
    kBroken = 4,    // "Open %1!"
    kFallback = 5,  // "%1" in the satellite for the default culture
    kNarrow = 6,    // "%1!hs!"
    kConstant = 7,  // "Open"
    kAccented = 8,  // U+00E9 "%1"
    kNowhere = 9,
};

class Patterns : public Ledger {
public:
    explicit Patterns(Switches switches = Switches::none)
        : Ledger(ResourceLibrary()
                     .string(kPage, L"%1 of %2")
                     .string(kNumber, L"%1!d! items")
                     .string(kPrintf, L"%s of %1")
                     .string(kBroken, L"Open %1!")
                     .string(kNarrow, L"%1!hs!")
                     .string(kConstant, L"Open")
                     .string(kAccented, L"\u00e9%1"),
                 ResourceLibrary().string(kFallback, L"%1"),
                 ResourceLibrary().string(kPage, L"page %1 sur %2"), switches) {
        std::wstring resolved;
        (*this)->loadStdStringW(kLedger, kPage, resolved);
    }
};

// The methods of the manager take a va_list. The following functions accept variable arguments and
// pass them to the methods as a va_list.

using BufferMethod = int (Manager::*)(const wchar_t*, unsigned, wchar_t*, int, va_list) const;

int intoBuffer(BufferMethod method, const wchar_t* module, unsigned id, wchar_t* buf, int size,
               ...) {
    va_list args;
    va_start(args, size);
    const int count = (Manager::Instance()->*method)(module, id, buf, size, args);
    va_end(args);
    return count;
}

template <class String>
int intoString(int (Manager::*method)(const wchar_t*, unsigned, String&, va_list) const,
               const wchar_t* module, unsigned id, String* out, ...) {
    va_list args;
    va_start(args, out);
    const int count = (Manager::Instance()->*method)(module, id, *out, args);
    va_end(args);
    return count;
}

// Buffers

TEST_CASE("loadStringFormatW replaces numbered inserts with wide text") {
    const Patterns patterns;
    wchar_t buffer[32] = L"";

    CHECK(intoBuffer(&Manager::loadStringFormatW, kLedger, kPage, buffer, 32, L"3", L"12") == 13);

    CHECK(std::wstring(buffer) == L"page 3 sur 12");
}

TEST_CASE("loadDefaultStringFormatW uses the pattern of the module") {
    const Patterns patterns;
    wchar_t buffer[32] = L"";

    CHECK(intoBuffer(&Manager::loadDefaultStringFormatW, kLedger, kPage, buffer, 32, L"3", L"12") ==
          7);

    CHECK(std::wstring(buffer) == L"3 of 12");
}

TEST_CASE("loadStringFormatW formats an insert with the format after its number") {
    const Patterns patterns;
    wchar_t buffer[32] = L"";

    CHECK(intoBuffer(&Manager::loadStringFormatW, kLedger, kNumber, buffer, 32, 42) == 8);
    CHECK(std::wstring(buffer) == L"42 items");
    CHECK(intoBuffer(&Manager::loadStringFormatW, kLedger, kNarrow, buffer, 32, "Open") == 4);
    CHECK(std::wstring(buffer) == L"Open");
}

TEST_CASE("loadStringFormatW does not treat a printf conversion as an insert") {
    const Patterns patterns;
    wchar_t buffer[32] = L"";

    CHECK(intoBuffer(&Manager::loadStringFormatW, kLedger, kPrintf, buffer, 32, L"12") == 7);

    CHECK(std::wstring(buffer) == L"s of 12");
}

TEST_CASE("The Format functions copy a string to a buffer completely or not at all") {
    const Patterns patterns;
    wchar_t buffer[16];
    for (const auto method : {&Manager::loadStringFormatW, &Manager::loadDefaultStringFormatW}) {
        CHECK(intoBuffer(method, kLedger, kNumber, buffer, 9, 42) == 8);
        CHECK(std::wstring(buffer) == L"42 items");

        for (const int size : {8, 7, 2, 1}) {
            CAPTURE(size);
            buffer[size] = L'@';
            CHECK(intoBuffer(method, kLedger, kNumber, buffer, size, 42) == 0);
            CHECK(buffer[0] == L'\0');
            CHECK(buffer[size] == L'@');
        }
    }
}

TEST_CASE("The Format functions accept a buffer size of 0 and still write the terminator") {
    const Patterns patterns;
    wchar_t buffer[4] = L"@@@";
    for (const auto method : {&Manager::loadStringFormatW, &Manager::loadDefaultStringFormatW}) {
        buffer[1] = L'@';
        CHECK(intoBuffer(method, kLedger, kNumber, buffer + 1, 0, 42) == -1);
        CHECK(std::wstring(buffer, 3) == std::wstring(L"@\0@", 3));
        CHECK(intoBuffer(method, kLedger, kNowhere, buffer + 1, 0, 42) == 0);
    }
}

TEST_CASE("The Format functions reject a null buffer and a negative size") {
    const Patterns patterns;
    wchar_t untouched = L'@';
    for (const auto method : {&Manager::loadStringFormatW, &Manager::loadDefaultStringFormatW}) {
        CHECK(intoBuffer(method, kLedger, kNumber, nullptr, 8, 42) == 0);
        CHECK(intoBuffer(method, kLedger, kNumber, &untouched, -1, 42) == 0);
        CHECK(intoBuffer(method, kLedger, kNumber, &untouched, INT_MIN, 42) == 0);
    }
    CHECK(untouched == L'@');
}

TEST_CASE("The Format functions clear the buffer if the pattern is missing or invalid") {
    const Patterns patterns;
    for (const auto method : {&Manager::loadStringFormatW, &Manager::loadDefaultStringFormatW}) {
        for (const unsigned id : {unsigned(kNowhere), unsigned(kBroken)}) {
            CAPTURE(id);
            wchar_t buffer[8] = L"before";
            CHECK(intoBuffer(method, kLedger, id, buffer, 8, L"x") == 0);
            CHECK(buffer[0] == L'\0');
        }
        wchar_t buffer[8] = L"before";
        CHECK(intoBuffer(method, nullptr, kPage, buffer, 8, L"x") == 0);
        CHECK(buffer[0] == L'\0');
    }
}

// Standard strings

TEST_CASE("The Format functions for standard strings return the text and the count") {
    const Patterns patterns;
    std::wstring wide;
    std::string narrow;

    CHECK(intoString(&Manager::loadStdStringFormatW, kLedger, kPage, &wide, L"3", L"12") == 13);
    CHECK(wide == L"page 3 sur 12");
    CHECK(intoString(&Manager::loadDefaultStdStringFormatW, kLedger, kPage, &wide, L"3", L"12") ==
          7);
    CHECK(wide == L"3 of 12");
    CHECK(intoString(&Manager::loadStdStringFormatA, kLedger, kPage, &narrow, L"3", L"12") == 13);
    CHECK(narrow == "page 3 sur 12");
    CHECK(intoString(&Manager::loadDefaultStdStringFormatA, kLedger, kPage, &narrow, L"3", L"12") ==
          7);
    CHECK(narrow == "3 of 12");
}

TEST_CASE("The narrow Format functions convert to the ANSI code page and count wide characters") {
    const Patterns patterns;
    std::string narrow;

    CHECK(intoString(&Manager::loadStdStringFormatA, kLedger, kAccented, &narrow, L"\u65b9") == 2);

    CHECK(narrow == "\xe9?");
}

TEST_CASE("The narrow Format functions count characters even if the text takes fewer bytes") {
    const Patterns patterns;
    std::string narrow;
    const wchar_t* const composed = L"e\u0301";  // two characters, but one byte in code page 1252

    CHECK(intoString(&Manager::loadStdStringFormatA, kLedger, kAccented, &narrow, composed) == 3);
    CHECK(narrow == "\xe9\xe9");
    CHECK(intoString(&Manager::loadDefaultStdStringFormatA, kLedger, kAccented, &narrow,
                     composed) == 3);
    CHECK(narrow == "\xe9\xe9");
}

TEST_CASE(
    "The Format functions for standard strings clear the string if the pattern is missing or "
    "invalid") {
    const Patterns patterns;
    for (const unsigned id : {unsigned(kNowhere), unsigned(kBroken)}) {
        CAPTURE(id);
        std::wstring wide = L"before";
        std::string narrow = "before";
        CHECK(intoString(&Manager::loadStdStringFormatW, kLedger, id, &wide, L"x") == 0);
        CHECK(wide.empty());
        wide = L"before";
        CHECK(intoString(&Manager::loadDefaultStdStringFormatW, kLedger, id, &wide, L"x") == 0);
        CHECK(wide.empty());
        CHECK(intoString(&Manager::loadStdStringFormatA, kLedger, id, &narrow, L"x") == 0);
        CHECK(narrow.empty());
        narrow = "before";
        CHECK(intoString(&Manager::loadDefaultStdStringFormatA, kLedger, id, &narrow, L"x") == 0);
        CHECK(narrow.empty());
    }
}

TEST_CASE("The Format functions for standard strings format text of any length") {
    const Patterns patterns;
    const std::wstring insert(20000, L'x');
    std::wstring text;

    CHECK(intoString(&Manager::loadStdStringFormatW, kLedger, kFallback, &text, insert.c_str()) ==
          20000);

    CHECK(text == insert);
}

TEST_CASE("The Format functions for standard strings free the system's buffer") {
    const Patterns patterns;
    std::wstring text;
    const auto format = [&] {
        intoString(&Manager::loadStdStringFormatW, kLedger, kPage, &text, L"3", L"12");
    };
    format();
    const long before = testsupport::heapBlocks();

    for (int round = 0; round < 50; ++round) format();

    CHECK(testsupport::heapBlocks() - before < 25);
}

DWORD WINAPI countNothing(DWORD, const void*, DWORD, DWORD, wchar_t*, DWORD, va_list*) { return 5; }

TEST_CASE(
    "loadStdStringFormatW returns the count and an empty string if the system returns only a "
    "count") {
    const Patterns patterns;
    const testsupport::ReplacedImport formatMessage("FormatMessageW", countNothing);
    std::wstring text = L"before";

    CHECK(intoString(&Manager::loadStdStringFormatW, kLedger, kPage, &text, L"3", L"12") == 5);

    CHECK(text.empty());
}

TEST_CASE("The origin and the marks are part of the pattern") {
    const Patterns patterns(Switches::both);
    wchar_t buffer[32];
    std::wstring text;

    CHECK(intoBuffer(&Manager::loadStringFormatW, kLedger, kFallback, buffer, 32, L"Open") == 22);
    CHECK(std::wstring(buffer) == L"\u65b9\u672cledger.dll(5):Open\u6587\u65b9");
    CHECK(intoString(&Manager::loadStdStringFormatW, kLedger, kFallback, &text, L"Open") == 22);
    CHECK(text == L"\u65b9\u672cledger.dll(5):Open\u6587\u65b9");
    CHECK(intoString(&Manager::loadDefaultStdStringFormatW, kLedger, kFallback, &text, L"Open") ==
          18);
    CHECK(text == L"ledger.dll(5):Open");
}

decltype(&::FormatMessageW) g_formatMessage;
bool g_lockWasFree;

DWORD WINAPI observeLock(DWORD flags, LPCVOID source, DWORD id, DWORD language, LPWSTR buffer,
                         DWORD size, va_list* args) {
    g_lockWasFree = otherThreadFinishes([] { Manager::Instance()->setResourcePath(L""); });
    return g_formatMessage(flags, source, id, language, buffer, size, args);
}

TEST_CASE("The Format functions do not hold the lock while they format") {
    const Patterns patterns;
    const testsupport::ReplacedImport formatMessage("FormatMessageW", &observeLock);
    g_formatMessage = formatMessage.original();
    wchar_t buffer[32];
    std::wstring text;

    g_lockWasFree = false;
    CHECK(intoBuffer(&Manager::loadStringFormatW, kLedger, kConstant, buffer, 32) == 4);
    CHECK(g_lockWasFree);
    g_lockWasFree = false;
    CHECK(intoString(&Manager::loadStdStringFormatW, kLedger, kConstant, &text) == 4);
    CHECK(g_lockWasFree);
}

DWORD WINAPI refuseFormat(DWORD, LPCVOID, DWORD, DWORD, LPWSTR buffer, DWORD size, va_list*) {
    // FormatMessageW may write a terminator at the end of the buffer before it fails.
    buffer[static_cast<int>(size) - 1] = L'\0';
    return 0;
}

TEST_CASE("A buffer of size 0 is not passed to the system") {
    const Patterns patterns;
    const testsupport::ReplacedImport formatMessage("FormatMessageW", &refuseFormat);
    wchar_t buffer[3] = L"@@";

    CHECK(intoBuffer(&Manager::loadStringFormatW, kLedger, kConstant, buffer + 1, 0) == -1);

    CHECK(buffer[0] == L'@');
    CHECK(buffer[1] == L'\0');
}

TEST_CASE("The Format functions release the lock when memory runs out") {
    const Patterns patterns;
    const std::wstring insert(500, L'x');
    std::wstring wide;
    std::string narrow;
    wchar_t buffer[16];

    const long failures = testsupport::sweepAllocationFailures(
        [&] {
            try {
                intoBuffer(&Manager::loadStringFormatW, kLedger, kPage, buffer, 16, L"3", L"12");
                intoString(&Manager::loadStdStringFormatW, kLedger, kPage, &wide, insert.c_str(),
                           L"12");
                intoString(&Manager::loadStdStringFormatA, kLedger, kPage, &narrow, insert.c_str(),
                           L"12");
            } catch (const std::bad_alloc&) {
            }
        },
        [&](long failure) {
            CAPTURE(failure);
            CHECK(otherThreadFinishes([&] { patterns->setResourcePath(L""); }));
        });

    CHECK(failures >= 4);
}

// printf

// Loads ledger.dll. String 7 is a printf format string that only the satellite for the default
// culture contains.
class PrintfPattern : public Ledger {
public:
    explicit PrintfPattern(const wchar_t* pattern, Switches switches = Switches::none)
        : Ledger(ResourceLibrary(), ResourceLibrary().string(7, pattern), ResourceLibrary(),
                 switches) {}
};

TEST_CASE("UNSAFE_loadStringPrintfW formats like printf") {
    const PrintfPattern pattern(L"%d items, %5.1f%%");
    wchar_t buffer[32];

    CHECK(UNSAFE_loadStringPrintfW(kLedger, 7, buffer, 32, 42, 99.5) == 16);

    CHECK(std::wstring(buffer) == L"42 items,  99.5%");
}

TEST_CASE("UNSAFE_loadStringPrintfW reads wide text for s and narrow text for hs") {
    const PrintfPattern pattern(L"%s %ls %hs %S %c");
    wchar_t buffer[32];

    CHECK(UNSAFE_loadStringPrintfW(kLedger, 7, buffer, 32, L"\u65b9", L"b", "c", "d", L'e') == 9);

    CHECK(std::wstring(buffer) == L"\u65b9 b c d e");
}

TEST_CASE("UNSAFE_loadStringPrintfW copies a string completely or returns -1") {
    const PrintfPattern pattern(L"%d items");
    wchar_t buffer[16];

    CHECK(UNSAFE_loadStringPrintfW(kLedger, 7, buffer, 9, 42) == 8);
    CHECK(std::wstring(buffer) == L"42 items");

    for (const int size : {8, 7, 2, 1}) {
        CAPTURE(size);
        buffer[size] = L'@';
        CHECK(UNSAFE_loadStringPrintfW(kLedger, 7, buffer, size, 42) == -1);
        CHECK(buffer[0] == L'\0');
        CHECK(buffer[size] == L'@');
    }
}

TEST_CASE("UNSAFE_loadStringPrintfW accepts a size of 0 and still writes the terminator") {
    const PrintfPattern pattern(L"%d items");
    wchar_t buffer[4] = L"@@@";

    CHECK(UNSAFE_loadStringPrintfW(kLedger, 7, buffer + 1, 0, 42) == -1);

    CHECK(std::wstring(buffer, 3) == std::wstring(L"@\0@", 3));
}

TEST_CASE("UNSAFE_loadStringPrintfW rejects a null buffer and a negative size") {
    const PrintfPattern pattern(L"%d items");
    wchar_t untouched = L'@';

    CHECK(UNSAFE_loadStringPrintfW(kLedger, 7, nullptr, 8, 42) == 0);
    CHECK(UNSAFE_loadStringPrintfW(kLedger, 7, &untouched, -1, 42) == 0);
    CHECK(UNSAFE_loadStringPrintfW(kLedger, 7, &untouched, INT_MIN, 42) == 0);

    CHECK(untouched == L'@');
}

TEST_CASE("UNSAFE_loadStringPrintfW clears the buffer if the string is missing") {
    const PrintfPattern pattern(L"%d items");
    wchar_t buffer[8] = L"before";

    CHECK(UNSAFE_loadStringPrintfW(kLedger, 8, buffer, 8, 42) == 0);

    CHECK(buffer[0] == L'\0');
}

TEST_CASE("UNSAFE_loadStringPrintfW returns 0 for an empty result") {
    const PrintfPattern pattern(L"%s");
    wchar_t buffer[8] = L"before";

    CHECK(UNSAFE_loadStringPrintfW(kLedger, 7, buffer, 8, L"") == 0);

    CHECK(buffer[0] == L'\0');
}

TEST_CASE("UNSAFE_loadStringPrintfW returns -1 for a string that is not a valid pattern") {
    for (const wchar_t* text : {L"100%", L"%d%", L"%y", L"%5%", L"%1!d!"}) {
        CAPTURE(text);
        const PrintfPattern pattern(text);
        wchar_t buffer[32] = L"before";
        CHECK(UNSAFE_loadStringPrintfW(kLedger, 7, buffer, 32, 42) == -1);
        CHECK(buffer[0] == L'\0');
    }
}

TEST_CASE("UNSAFE_loadStringPrintfW never writes through its arguments") {
    const PrintfPattern pattern(L"Open%n");
    wchar_t buffer[32] = L"before";
    int untouched = 42;

    CHECK(UNSAFE_loadStringPrintfW(kLedger, 7, buffer, 32, &untouched) == -1);

    CHECK(untouched == 42);
}

TEST_CASE("The origin and the marks are part of the pattern of UNSAFE_loadStringPrintfW") {
    const PrintfPattern pattern(L"%d", Switches::both);
    wchar_t buffer[32];

    CHECK(UNSAFE_loadStringPrintfW(kLedger, 7, buffer, 32, 42) == 20);

    CHECK(std::wstring(buffer) == L"\u65b9\u672cledger.dll(7):42\u6587\u65b9");
}

}  // namespace
