#pragma once
// Watches the memory of an unmodified DLL from the test program. Replaces the imports malloc,
// calloc, realloc and free of the DLL and of the test program (operator new and delete of a
// statically linked libstdc++ call them), and the DLL's imports of the system's allocation
// functions.
#include <windows.h>

namespace testsupport {

struct AllocCount {
    long blocks = 0;  // malloc family: allocated by the DLL and not freed yet
    long long bytes = 0;
    long libraries = 0;  // LoadLibrary*/GetModuleHandleEx minus FreeLibrary, made by the DLL
};

// Call this first in main(), before the DLL allocates memory. With null (a program that does not
// link the DLL) nothing is watched, and all counts stay 0.
void installAllocSpy(HMODULE dll);
AllocCount allocCount();
// Starts a measurement. dumpLeaks() prints the DLL's blocks that were allocated since then and not
// freed, each with its call stack as "frame: module+0xRVA" lines.
void markLeaks();
void dumpLeaks();
// Sets whether blocks that the DLL allocates from now on store their call stack. This takes longer
// than the allocation.
void recordStacks(bool on);

// Lets the n-th allocation of the DLL from now on fail once; 0 switches this off. These functions
// are counted: malloc family, SysAllocString*, SysReAllocString*, GlobalAlloc, GlobalReAlloc,
// LocalAlloc, CoTaskMemAlloc, HeapAlloc.
void failNth(long n);
bool failureFired();

// During the lifetime of this object, calls with which the DLL lets the system allocate memory are
// counted and fail as well: CoCreateInstance, CreateStreamOnHGlobal, CreateDataAdviseHolder,
// OleDuplicateData, CopyImage, and FormatMessageW if it allocates the buffer.
class SystemCallsFail {
public:
    SystemCallsFail();
    SystemCallsFail(const SystemCallsFail&) = delete;
    SystemCallsFail& operator=(const SystemCallsFail&) = delete;
    ~SystemCallsFail();
};

// From now on, every malloc block ends at an inaccessible page, and freed blocks stay inaccessible:
// an overrun or a use after free is an access violation.
void guardPages(bool on);

// Runs `body` with the 1st, 2nd, ... allocation failing until a run has no failure. Calls `check`
// after each failed run. Returns the number of failures.
template <class Body, class Check>
long sweepAllocationFailures(Body&& body, Check&& check, long limit = 100000) {
    body();      // fills caches that remain until the end of the process
    failNth(1);  // the first throw of a thread allocates its exception state
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
