#include "tests/support/CrashTrace.h"

#include <windows.h>

namespace testsupport {
namespace {

const char* g_case = nullptr;

void put(const char* text) {
    DWORD written;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(lstrlenA(text)), &written,
              nullptr);
}

void putFrame(DWORD64 address) {
    HMODULE module = nullptr;
    char path[MAX_PATH] = "?", line[MAX_PATH + 64];
    GetModuleHandleExA(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const char*>(address), &module);
    if (module) GetModuleFileNameA(module, path, MAX_PATH);
    wsprintfA(line, "frame: %s+0x%x\n", path,
              static_cast<unsigned>(address - reinterpret_cast<DWORD64>(module)));
    put(line);
}

LONG CALLBACK onException(EXCEPTION_POINTERS* info) {
    static LONG inside;
    const EXCEPTION_RECORD& r = *info->ExceptionRecord;
    switch (r.ExceptionCode) {
        case EXCEPTION_ACCESS_VIOLATION:
        case EXCEPTION_ILLEGAL_INSTRUCTION:  // undefined-behavior trap
        case EXCEPTION_INT_DIVIDE_BY_ZERO:
        case EXCEPTION_STACK_OVERFLOW:
        case EXCEPTION_BREAKPOINT:
        case 0xC0000374:  // heap corruption
            break;
        default:
            return EXCEPTION_CONTINUE_SEARCH;
    }
    if (InterlockedCompareExchange(&inside, 1, 0)) return EXCEPTION_CONTINUE_SEARCH;
    char line[128];
    wsprintfA(line, "crash: code %08x", static_cast<unsigned>(r.ExceptionCode));
    put(line);
    if (r.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && r.NumberParameters >= 2) {
        wsprintfA(line, ", %s %08x%08x", r.ExceptionInformation[0] ? "write to" : "read of",
                  static_cast<unsigned>(r.ExceptionInformation[1] >> 32),
                  static_cast<unsigned>(r.ExceptionInformation[1]));
        put(line);
    }
    if (const char* const name = g_case) {
        put(", test case \"");
        put(name);
        put("\"");
    }
    put("\n");
    CONTEXT c = *info->ContextRecord;
    for (int depth = 0; depth < 40 && c.Rip; ++depth) {
        putFrame(depth ? c.Rip - 1 : c.Rip);
        DWORD64 base = 0, frame = 0;
        void* data = nullptr;
        RUNTIME_FUNCTION* f = RtlLookupFunctionEntry(c.Rip, &base, nullptr);
        if (f) {
            RtlVirtualUnwind(UNW_FLAG_NHANDLER, base, c.Rip, f, &c, &data, &frame, nullptr);
        } else {
            c.Rip = *reinterpret_cast<DWORD64*>(c.Rsp);
            c.Rsp += 8;
        }
    }
    inside = 0;
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

void setCrashedCase(const char* name) { g_case = name; }

void installCrashTrace() { AddVectoredExceptionHandler(1, onException); }

}  // namespace testsupport
