#pragma once
// Counts objects in the whole process. To find leaks, a test compares the counts before and after a
// call. GDI and USER objects are not counted, because GetGuiResources always returns 0 under Wine.
#include <windows.h>
#include <vector>

namespace testsupport {

// Counts the allocated blocks of all heaps: memory from operator new, BSTRs, task memory,
// GlobalAlloc blocks, and the system's own objects such as streams and DOM documents. Set
// OANOCACHE=1 in the environment of the process. Otherwise, freed BSTRs stay in a cache and are
// counted.
inline long heapBlocks() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    long n = 0;
    // If heap checks are enabled, a heap keeps the blocks that were freed most recently (1024
    // blocks under Wine), and HeapWalk reports them as allocated. Free many small blocks, so that
    // the heap releases the blocks that were freed earlier.
    constexpr int kKeptWhenFreed = 1100;
    for (DWORD i = 0; i < count && i < 64; ++i)
        for (int k = 0; k < kKeptWhenFreed; ++k) HeapFree(heaps[i], 0, HeapAlloc(heaps[i], 0, 16));
    for (DWORD i = 0; i < count && i < 64; ++i) {
        PROCESS_HEAP_ENTRY e = {};
        HeapLock(heaps[i]);
        while (HeapWalk(heaps[i], &e)) n += (e.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
        HeapUnlock(heaps[i]);
    }
    return n;
}

// Calls `leftByOneRun` up to 30 times, until the result is `allowedBlocks` or less. Returns the
// last result. `leftByOneRun` must run the code under test once and return the number of blocks
// that this code has not freed.
//
// More than one call may be needed, because some blocks that are not freed are not leaks. For
// example, the heap of Wine 10 sometimes allocates a large block for each thread, divides the
// block into small blocks, and does not free the large block. A real leak occurs in every call.
template <class LeftByOneRun>
long blocksLeftByEachRun(LeftByOneRun&& leftByOneRun, long allowedBlocks) {
    long left = leftByOneRun();
    for (int run = 1; run < 30 && left > allowedBlocks; ++run) left = leftByOneRun();
    return left;
}

// Returns false if the system detects a write past the end of a heap block or to a freed block. The
// system detects these writes only if GlobalFlag is 0x70 in
// HKLM/System/CurrentControlSet/Control/Session Manager.
inline bool heapsIntact() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    bool intact = true;
    for (DWORD i = 0; i < count && i < 64; ++i)
        intact = HeapValidate(heaps[i], 0, nullptr) && intact;
    return intact;
}

// Counts the open kernel handles of this process (events, mutexes, files, registry keys, threads).
// Under Wine, GetProcessHandleCount always reports 0, and listing all handles with
// NtQuerySystemInformation sometimes terminates the wineserver. Under Wine, this function therefore
// tests the possible handle values in ascending order. It stops after a long gap, because a new
// handle always has the lowest free value.
inline long kernelHandles() {
    DWORD count = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &count) && count > 0)
        return static_cast<long>(count);

    constexpr ULONG_PTR kStep = 4;
    constexpr int kLongestGap = 256;
    long open = 0;
    int gap = 0;
    for (ULONG_PTR value = kStep; gap < kLongestGap; value += kStep) {
        DWORD flags = 0;
        const bool isOpen = GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != FALSE;
        open += isOpen;
        gap = isOpen ? 0 : gap + 1;
    }
    return open;
}

}  // namespace testsupport
