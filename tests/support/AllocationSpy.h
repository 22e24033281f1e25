#pragma once
// Counts the memory allocations of a DLL in the test process, and can make allocations fail. For
// this purpose, installAllocSpy() replaces the following imports: malloc, calloc, realloc and free
// in the DLL and in the test program, and the system's allocation functions in the DLL. Operator
// new and operator delete in a statically linked libstdc++ also use the malloc and free imports.
#include <windows.h>

namespace testsupport {

struct AllocCount {
    long blocks = 0;  // allocated by the DLL with malloc, calloc or realloc and not freed
    long long bytes = 0;
    long libraries = 0;  // library references that the DLL has added and not released
};

// Call this function at the beginning of main(), before the DLL allocates memory. If `dll` is null
// because the program does not link to the DLL, no imports are replaced and all counts stay 0.
void installAllocSpy(HMODULE dll);
AllocCount allocCount();
void markLeaks();
// Prints each block that the DLL has allocated since the last call to markLeaks() and has not
// freed. If the call stack was recorded, it is also printed as "frame: module+0xRVA" lines.
void dumpLeaks();
// Enables or disables the recording of call stacks for blocks that the DLL allocates after this
// call. Recording is disabled by default, because it takes longer than the allocation itself.
void recordStacks(bool on);

// After this call, only the n-th allocation by the DLL fails. If `n` is 0, no allocation fails.
// Calls to these functions count as allocations: malloc, calloc, realloc, SysAllocString*,
// SysReAllocString*, GlobalAlloc, GlobalReAlloc, LocalAlloc, CoTaskMemAlloc, HeapAlloc.
void failNth(long n);
bool failureFired();

// While this object exists, the DLL's calls to these functions also count as allocations for
// failNth(): CoCreateInstance, CreateStreamOnHGlobal, CreateDataAdviseHolder, OleDuplicateData,
// CopyImage, and FormatMessageW if it allocates the buffer.
class SystemCallsFail {
public:
    SystemCallsFail();
    SystemCallsFail(const SystemCallsFail&) = delete;
    SystemCallsFail& operator=(const SystemCallsFail&) = delete;
    ~SystemCallsFail();
};

// If `on` is true, each block that is allocated with malloc, calloc or realloc after this call ends
// at an inaccessible page. The block becomes inaccessible when it is freed. An overrun or a use
// after free then causes an access violation.
void guardPages(bool on);

// Runs `body` repeatedly. In the n-th run, the n-th allocation by the DLL fails. Stops after the
// first run in which no allocation fails. Calls `check(n)` after each run with a failed allocation.
// Returns the number of runs with a failed allocation, or -1 if this number reaches `limit`.
template <class Body, class Check>
long sweepAllocationFailures(Body&& body, Check&& check, long limit = 100000) {
    body();      // fills caches that remain until the end of the process
    failNth(1);  // a thread's first throw allocates the thread's exception state
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
