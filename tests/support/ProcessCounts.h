#pragma once
// Counts of objects in the whole process; compare them before and after to find leaks.
// (GetGuiResources and GetProcessHandleCount are stubs under Wine and always return 0.)
#include <windows.h>
#include <vector>

namespace testsupport {

// Counts the busy blocks of all heaps: C++ blocks, BSTRs, task memory, GlobalAlloc blocks, and the
// system's own objects such as streams and DOM documents. Run with OANOCACHE=1 in the environment;
// otherwise freed BSTRs stay in a cache.
inline long heapBlocks() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    long n = 0;
    // A heap that checks freed blocks keeps the last ones (Wine: 1024) and counts them as busy.
    // Newer freed blocks replace them.
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

// Calls `leftByOneRun`, which returns the number of blocks that a run leaves, until it returns at most
// `awaited`, and at most 30 times. Returns the last number.
//
// Wine 10 takes blocks for several small ones, of its own for each thread, and keeps them. A leak happens in
// every run.
template <class LeftByOneRun>
long blocksLeftByEachRun(LeftByOneRun&& leftByOneRun, long awaited) {
    long left = leftByOneRun();
    for (int run = 1; run < 30 && left > awaited; ++run) left = leftByOneRun();
    return left;
}

// Whether no block of any heap was written past its end or after it was freed. GlobalFlag 0x70 in
// HKLM/System/CurrentControlSet/Control/Session Manager switches these checks on.
inline bool heapsIntact() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    bool intact = true;
    for (DWORD i = 0; i < count && i < 64; ++i)
        intact = HeapValidate(heaps[i], 0, nullptr) && intact;
    return intact;
}

// Counts the open kernel handles of this process (events, mutexes, files, registry keys, threads).
// Wine's GetProcessHandleCount always returns 0, and its list of the system's handles
// (NtQuerySystemInformation) sometimes ends the wineserver. Under Wine, each possible handle value
// is therefore tested. Tables are filled from the lowest free entry, so a long gap marks the end.
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
