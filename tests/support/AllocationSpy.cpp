#include "tests/support/AllocationSpy.h"

#include <ole2.h>
#include <oleauto.h>

#include <cstring>
#include <initializer_list>
#if defined(_MSC_VER)
#include <intrin.h>
#endif

#include "tests/support/ImportHook.h"

namespace testsupport {
namespace {

constexpr size_t kPage = 4096;
constexpr unsigned kFrames = 14;
constexpr size_t kSlots = size_t(1) << 20;

struct Block {
    void* p;  // null if the slot is free; kDeleted if eraseBlock() could not free the slot
    size_t size;
    long serial;
    bool guarded, fromDll;
    void* frames[kFrames];
};
void* const kDeleted = reinterpret_cast<void*>(1);

HMODULE g_dll;
SRWLOCK g_lock = SRWLOCK_INIT;
Block* g_blocks;
AllocCount g_count;
long g_serial, g_mark;
bool g_guard;
bool g_recordStacks;
long g_failAt, g_failSeen;
bool g_fired;
bool g_systemCallsFail;

struct Lock {
    Lock() { AcquireSRWLockExclusive(&g_lock); }
    ~Lock() { ReleaseSRWLockExclusive(&g_lock); }
};

size_t slotOf(const void* p) {
    return (reinterpret_cast<size_t>(p) >> 4) * 0x9E3779B97F4A7C15ull >> 44;
}

Block* findBlock(const void* p) {
    for (size_t i = slotOf(p), k = 0; k < kSlots; ++k, i = (i + 1) & (kSlots - 1)) {
        if (g_blocks[i].p == p) return &g_blocks[i];
        if (!g_blocks[i].p) return nullptr;
    }
    return nullptr;
}

// Removes a block from the table. A search stops at the first free slot. If the next slot is not
// free, the slot of the block therefore becomes kDeleted instead of free. Otherwise, the slot of
// the block and all kDeleted slots directly before it become free, to keep searches short.
void eraseBlock(Block* block) {
    block->p = kDeleted;
    auto i = static_cast<size_t>(block - g_blocks);
    if (g_blocks[(i + 1) & (kSlots - 1)].p) return;
    for (; g_blocks[i].p == kDeleted; i = (i - 1) & (kSlots - 1)) g_blocks[i].p = nullptr;
}

bool shouldFail(const void* caller) {
    if (!g_failAt || !isInside(g_dll, caller)) return false;
    Lock lock;
    if (!g_failAt || ++g_failSeen != g_failAt) return false;
    g_fired = true;
    return true;
}

bool shouldSystemCallFail(const void* caller) { return g_systemCallsFail && shouldFail(caller); }

#define ORIGINAL(name) decltype(&::name) real_##name
ORIGINAL(malloc);
ORIGINAL(calloc);
ORIGINAL(realloc);
ORIGINAL(free);
ORIGINAL(SysAllocString);
ORIGINAL(SysAllocStringLen);
ORIGINAL(SysAllocStringByteLen);
ORIGINAL(SysReAllocString);
ORIGINAL(SysReAllocStringLen);
ORIGINAL(GlobalAlloc);
ORIGINAL(GlobalReAlloc);
ORIGINAL(LocalAlloc);
ORIGINAL(CoTaskMemAlloc);
ORIGINAL(HeapAlloc);
ORIGINAL(CoCreateInstance);
ORIGINAL(CreateStreamOnHGlobal);
ORIGINAL(CreateDataAdviseHolder);
ORIGINAL(OleDuplicateData);
ORIGINAL(CopyImage);
ORIGINAL(FormatMessageW);
ORIGINAL(LoadLibraryW);
ORIGINAL(LoadLibraryExW);
ORIGINAL(GetModuleHandleExW);
ORIGINAL(FreeLibrary);

void* allocate(size_t n, bool zero, const void* caller) {
    if (shouldFail(caller)) return nullptr;
    const bool guarded = g_guard;
    void* p;
    if (guarded) {
        const size_t roundedSize = (n + kPage - 1) / kPage * kPage;
        auto* base = static_cast<char*>(
            VirtualAlloc(nullptr, roundedSize + kPage, MEM_RESERVE, PAGE_NOACCESS));
        if (!base || (roundedSize && !VirtualAlloc(base, roundedSize, MEM_COMMIT, PAGE_READWRITE)))
            return nullptr;
        std::memset(base, 0xCD, roundedSize);
        p = base + roundedSize - n;  // the block ends at the inaccessible page
        if (zero) std::memset(p, 0, n);
    } else {
        p = zero ? real_calloc(1, n) : real_malloc(n);
    }
    if (!p) return nullptr;
    void* frames[kFrames] = {};
    const bool fromDll = isInside(g_dll, caller);
    if (fromDll && g_recordStacks) RtlCaptureStackBackTrace(2, kFrames, frames, nullptr);
    Lock lock;
    for (size_t i = slotOf(p), k = 0; k < kSlots; ++k, i = (i + 1) & (kSlots - 1)) {
        Block& b = g_blocks[i];
        if (b.p && b.p != kDeleted) continue;
        b.p = p;
        b.size = n;
        b.serial = ++g_serial;
        b.guarded = guarded;
        b.fromDll = fromDll;
        std::memcpy(b.frames, frames, sizeof frames);
        if (fromDll) {
            ++g_count.blocks;
            g_count.bytes += static_cast<long long>(n);
        }
        break;
    }
    return p;
}

// Removes the block from the table. If the block is guarded, also frees it and returns true.
bool freeGuarded(void* p) {
    Lock lock;
    Block* b = findBlock(p);
    if (!b) return false;
    if (b->fromDll) {
        --g_count.blocks;
        g_count.bytes -= static_cast<long long>(b->size);
    }
    const bool guarded = b->guarded;
    eraseBlock(b);
    if (!guarded) return false;  // the caller passes the block to real_free
    MEMORY_BASIC_INFORMATION info;
    VirtualQuery(p, &info, sizeof info);
    VirtualFree(info.AllocationBase, 0, MEM_DECOMMIT);  // later accesses cause access violations
    return true;
}

#if defined(_MSC_VER)
#define CALLER _ReturnAddress()
#else
#define CALLER __builtin_return_address(0)
#endif
void* __cdecl my_malloc(size_t n) { return allocate(n, false, CALLER); }
void* __cdecl my_calloc(size_t n, size_t m) { return allocate(n * m, true, CALLER); }
void __cdecl my_free(void* p) {
    if (!p || freeGuarded(p)) return;
    MEMORY_BASIC_INFORMATION info;
    if (g_guard && VirtualQuery(p, &info, sizeof info) && info.State != MEM_COMMIT)
        ::RaiseException(EXCEPTION_ILLEGAL_INSTRUCTION, EXCEPTION_NONCONTINUABLE, 0,
                         nullptr);  // the block was already freed
    real_free(p);
}
void* __cdecl my_realloc(void* p, size_t n) {
    if (!p) return allocate(n, false, CALLER);
    size_t old = 0;
    {
        Lock lock;
        if (Block* b = findBlock(p))
            old = b->size;
        else
            old = size_t(-1);
    }
    if (old == size_t(-1)) return real_realloc(p, n);
    void* q = n ? allocate(n, false, CALLER) : nullptr;
    if (q) std::memcpy(q, p, old < n ? old : n);
    if (q || !n) my_free(p);
    return q;
}
BSTR WINAPI my_SysAllocString(const OLECHAR* s) {
    return shouldFail(CALLER) ? nullptr : real_SysAllocString(s);
}
BSTR WINAPI my_SysAllocStringLen(const OLECHAR* s, UINT n) {
    return shouldFail(CALLER) ? nullptr : real_SysAllocStringLen(s, n);
}
BSTR WINAPI my_SysAllocStringByteLen(LPCSTR s, UINT n) {
    return shouldFail(CALLER) ? nullptr : real_SysAllocStringByteLen(s, n);
}
INT WINAPI my_SysReAllocString(BSTR* b, const OLECHAR* s) {
    return shouldFail(CALLER) ? FALSE : real_SysReAllocString(b, s);
}
INT WINAPI my_SysReAllocStringLen(BSTR* b, const OLECHAR* s, UINT n) {
    return shouldFail(CALLER) ? FALSE : real_SysReAllocStringLen(b, s, n);
}
HGLOBAL WINAPI my_GlobalAlloc(UINT f, SIZE_T n) {
    return shouldFail(CALLER) ? (SetLastError(ERROR_NOT_ENOUGH_MEMORY), nullptr)
                              : real_GlobalAlloc(f, n);
}
HGLOBAL WINAPI my_GlobalReAlloc(HGLOBAL h, SIZE_T n, UINT f) {
    return shouldFail(CALLER) ? (SetLastError(ERROR_NOT_ENOUGH_MEMORY), nullptr)
                              : real_GlobalReAlloc(h, n, f);
}
HLOCAL WINAPI my_LocalAlloc(UINT f, SIZE_T n) {
    return shouldFail(CALLER) ? (SetLastError(ERROR_NOT_ENOUGH_MEMORY), nullptr)
                              : real_LocalAlloc(f, n);
}
LPVOID WINAPI my_CoTaskMemAlloc(SIZE_T n) {
    return shouldFail(CALLER) ? nullptr : real_CoTaskMemAlloc(n);
}
LPVOID WINAPI my_HeapAlloc(HANDLE h, DWORD f, SIZE_T n) {
    return shouldFail(CALLER) ? nullptr : real_HeapAlloc(h, f, n);
}
HRESULT WINAPI my_CoCreateInstance(REFCLSID c, LPUNKNOWN o, DWORD x, REFIID i, LPVOID* p) {
    if (!shouldSystemCallFail(CALLER)) return real_CoCreateInstance(c, o, x, i, p);
    *p = nullptr;
    return E_OUTOFMEMORY;
}
HRESULT WINAPI my_CreateStreamOnHGlobal(HGLOBAL h, BOOL f, LPSTREAM* s) {
    if (!shouldSystemCallFail(CALLER)) return real_CreateStreamOnHGlobal(h, f, s);
    *s = nullptr;
    return E_OUTOFMEMORY;
}
HRESULT WINAPI my_CreateDataAdviseHolder(LPDATAADVISEHOLDER* h) {
    if (!shouldSystemCallFail(CALLER)) return real_CreateDataAdviseHolder(h);
    *h = nullptr;
    return E_OUTOFMEMORY;
}
HANDLE WINAPI my_OleDuplicateData(HANDLE h, CLIPFORMAT cf, UINT f) {
    return shouldSystemCallFail(CALLER) ? nullptr : real_OleDuplicateData(h, cf, f);
}
HANDLE WINAPI my_CopyImage(HANDLE h, UINT t, int cx, int cy, UINT f) {
    return shouldSystemCallFail(CALLER) ? nullptr : real_CopyImage(h, t, cx, cy, f);
}
DWORD WINAPI my_FormatMessageW(DWORD f, LPCVOID s, DWORD id, DWORD l, LPWSTR b, DWORD n,
                               va_list* a) {
    return (f & FORMAT_MESSAGE_ALLOCATE_BUFFER) && shouldSystemCallFail(CALLER)
               ? 0
               : real_FormatMessageW(f, s, id, l, b, n, a);
}
void countLibraries(long d) {
    Lock lock;
    g_count.libraries += d;
}
HMODULE WINAPI my_LoadLibraryW(LPCWSTR s) {
    HMODULE m = real_LoadLibraryW(s);
    if (m) countLibraries(1);
    return m;
}
HMODULE WINAPI my_LoadLibraryExW(LPCWSTR s, HANDLE h, DWORD f) {
    HMODULE m = real_LoadLibraryExW(s, h, f);
    if (m) countLibraries(1);
    return m;
}
BOOL WINAPI my_GetModuleHandleExW(DWORD f, LPCWSTR s, HMODULE* m) {
    BOOL ok = real_GetModuleHandleExW(f, s, m);
    if (ok && !(f & GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT)) countLibraries(1);
    return ok;
}
BOOL WINAPI my_FreeLibrary(HMODULE m) {
    BOOL ok = real_FreeLibrary(m);
    if (ok) countLibraries(-1);
    return ok;
}

}  // namespace

void installAllocSpy(HMODULE dll) {
    if (!dll) return;
    g_dll = dll;
    g_blocks = static_cast<Block*>(
        VirtualAlloc(nullptr, kSlots * sizeof(Block), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
#if defined(_MSC_VER)
    HMODULE crt = GetModuleHandleA("ucrtbase.dll");
#else
    HMODULE crt = GetModuleHandleA("msvcrt.dll");
#endif
#define CRT(name)                                          \
    real_##name = reinterpret_cast<decltype(real_##name)>( \
        reinterpret_cast<void*>(GetProcAddress(crt, #name)))
    CRT(malloc);
    CRT(calloc);
    CRT(realloc);
    CRT(free);
#define HOOK(m, name)                                                                 \
    {                                                                                 \
        void* old = nullptr;                                                          \
        if (hookImport(m, #name, reinterpret_cast<void*>(&my_##name), &old) && old && \
            !real_##name)                                                             \
            real_##name = reinterpret_cast<decltype(real_##name)>(old);               \
    }
    for (HMODULE m : {dll, GetModuleHandleA(nullptr)}) {
        HOOK(m, malloc);
        HOOK(m, calloc);
        HOOK(m, realloc);
        HOOK(m, free);
    }
    HOOK(dll, SysAllocString);
    HOOK(dll, SysAllocStringLen);
    HOOK(dll, SysAllocStringByteLen);
    HOOK(dll, SysReAllocString);
    HOOK(dll, SysReAllocStringLen);
    HOOK(dll, GlobalAlloc);
    HOOK(dll, GlobalReAlloc);
    HOOK(dll, LocalAlloc);
    HOOK(dll, CoTaskMemAlloc);
    HOOK(dll, HeapAlloc);
    HOOK(dll, CoCreateInstance);
    HOOK(dll, CreateStreamOnHGlobal);
    HOOK(dll, CreateDataAdviseHolder);
    HOOK(dll, OleDuplicateData);
    HOOK(dll, CopyImage);
    HOOK(dll, FormatMessageW);
    HOOK(dll, LoadLibraryW);
    HOOK(dll, LoadLibraryExW);
    HOOK(dll, GetModuleHandleExW);
    HOOK(dll, FreeLibrary);
}

AllocCount allocCount() {
    Lock lock;
    return g_count;
}
void markLeaks() {
    Lock lock;
    g_mark = g_serial;
}

void dumpLeaks() {
    Lock lock;
    if (!g_blocks) return;
    for (size_t i = 0; i < kSlots; ++i) {
        const Block& b = g_blocks[i];
        if (!b.p || b.p == kDeleted || !b.fromDll || b.serial <= g_mark) continue;
        char line[MAX_PATH + 64];
        DWORD written;
        HANDLE err = GetStdHandle(STD_ERROR_HANDLE);
        int n = wsprintfA(line, "leak: %d bytes\n", static_cast<int>(b.size));
        WriteFile(err, line, static_cast<DWORD>(n), &written, nullptr);
        for (void* f : b.frames) {
            HMODULE m = nullptr;
            char path[MAX_PATH];
            if (!f || !GetModuleHandleExA(6, static_cast<const char*>(f), &m)) break;
            GetModuleFileNameA(m, path, MAX_PATH);
            n = wsprintfA(
                line, "frame: %s+0x%x\n", path,
                static_cast<unsigned>(static_cast<char*>(f) - reinterpret_cast<char*>(m)) - 1);
            WriteFile(err, line, static_cast<DWORD>(n), &written, nullptr);
        }
    }
}

void failNth(long n) {
    Lock lock;
    g_failAt = n;
    g_failSeen = 0;
    g_fired = false;
}
bool failureFired() {
    Lock lock;
    return g_fired;
}
SystemCallsFail::SystemCallsFail() { g_systemCallsFail = true; }
SystemCallsFail::~SystemCallsFail() { g_systemCallsFail = false; }
void guardPages(bool on) { g_guard = on; }
void recordStacks(bool on) { g_recordStacks = on; }

}  // namespace testsupport
