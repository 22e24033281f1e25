#pragma once
// Watches the memory of an unmodified DLL from the test program: takes over the imports
// malloc, calloc, realloc and free (operator new and delete of a statically linked
// libstdc++ go through them) of the DLL and of the test program, and the system's
// allocation functions of the DLL.
#include <windows.h>

namespace testsupport {

struct AllocCount {
    long blocks = 0;  // malloc family, allocated by the DLL and not yet freed by anyone
    long long bytes = 0;
    long libraries = 0;  // LoadLibrary*/GetModuleHandleEx minus FreeLibrary, made by the DLL
};

// Call once, first thing in main(), before the DLL hands out any memory. Null (a program that does
// not link the DLL): nothing is watched and all counts stay 0.
void installAllocSpy(HMODULE dll);
AllocCount allocCount();
// Marks where a measurement begins; dumpLeaks() prints the DLL's blocks allocated since
// then that still live, each with its call stack as "frame: module+0xRVA" lines.
void markLeaks();
void dumpLeaks();
// Whether blocks that the DLL allocates from now on keep their call stack. It costs more than the
// allocation itself.
void recordStacks(bool on);

// The n-th allocation that the DLL makes from now on fails (once); 0 switches off.
// Counted: malloc family, SysAllocString*, SysReAllocString*, GlobalAlloc, GlobalReAlloc,
// LocalAlloc, CoTaskMemAlloc, HeapAlloc.
void failNth(long n);
bool failureFired();

// While one lives, what the DLL lets the system allocate for it is counted and fails as well:
// CoCreateInstance, CreateStreamOnHGlobal, CreateDataAdviseHolder, OleDuplicateData, CopyImage
// and FormatMessageW where that makes the buffer.
class SystemCallsFail {
public:
    SystemCallsFail();
    SystemCallsFail(const SystemCallsFail&) = delete;
    SystemCallsFail& operator=(const SystemCallsFail&) = delete;
    ~SystemCallsFail();
};

// From now on every malloc block ends at an inaccessible page and freed blocks stay
// inaccessible: an overrun or a use after free is an access violation on the spot.
void guardPages(bool on);

// Runs body with the 1st, 2nd, ... allocation failing until it gets through without a
// failure; check is called after each failed run.  Returns the number of failures injected.
template <class Body, class Check>
long sweepAllocationFailures(Body&& body, Check&& check, long limit = 100000) {
    body();      // fills caches that live until the end of the process
    failNth(1);  // the first throw of a thread makes its exception state
    body();
    for (long n = 1; n <= limit; ++n) {
        failNth(n);
        body();
        const bool fired = failureFired();
        failNth(0);
        if (!fired) return n - 1;
        check(n);
    }
    return -1;
}

}  // namespace testsupport
