#pragma once
// What the whole process holds; compare before and after to find what was not given back.
// (GetGuiResources and GetProcessHandleCount are stubs under Wine and always give 0.)
#include <windows.h>
#include <vector>

namespace testsupport {

// Busy blocks of all heaps: C++ blocks, BSTRs, task memory, GlobalAlloc blocks, and the
// system's own objects such as streams and DOM documents.  Run with OANOCACHE=1 in the
// environment, or freed BSTRs stay cached.
inline long heapBlocks() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    long n = 0;
    // A heap that checks freed blocks keeps the latest of them (Wine: 1024) and counts them as
    // busy: newer ones push them out.
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

// Whether no block of any heap was written past its end or after it was freed.  The checks
// are on with GlobalFlag 0x70 in HKLM/System/CurrentControlSet/Control/Session Manager.
inline bool heapsIntact() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    bool intact = true;
    for (DWORD i = 0; i < count && i < 64; ++i)
        intact = HeapValidate(heaps[i], 0, nullptr) && intact;
    return intact;
}

// Open kernel handles of this process (events, mutexes, files, registry keys, threads); -1 where the
// system does not tell.
inline long kernelHandles() {
    struct Entry {
        void* object;
        ULONG_PTR process, handle;
        ULONG access;
        USHORT trace, type;
        ULONG attributes, reserved;
    };
    struct Table {
        ULONG_PTR count, reserved;
        Entry entry[1];
    };
    using Query = LONG(WINAPI*)(ULONG kind, void* buffer, ULONG size, ULONG* needed);
    constexpr ULONG kExtendedHandles = 64;
    constexpr LONG kTooSmall = static_cast<LONG>(0xC0000004);

    const auto query = reinterpret_cast<Query>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    std::vector<char> buffer(size_t(1) << 20);
    ULONG needed = 0;
    LONG status;
    while ((status = query(kExtendedHandles, buffer.data(), static_cast<ULONG>(buffer.size()),
                           &needed)) == kTooSmall)
        buffer.resize(buffer.size() * 2);
    if (status < 0) return -1;
    const auto* table = reinterpret_cast<const Table*>(buffer.data());
    long open = 0;
    for (ULONG_PTR i = 0; i < table->count; ++i)
        open += table->entry[i].process == GetCurrentProcessId();
    return open;
}

}  // namespace testsupport
