#pragma once
// Redirects an imported function of a loaded module by changing the module's import address table.
// Functions that the module finds with GetProcAddress are not affected.
#include <windows.h>

namespace testsupport {

// Returns the number of table entries that were changed. If `original` is not null and `*original`
// is null, `*original` receives the previous address from the first of these entries.
inline int hookImport(HMODULE module, const char* function, void* replacement, void** original) {
    auto* base = reinterpret_cast<BYTE*>(module);
    auto* nt = reinterpret_cast<IMAGE_NT_HEADERS*>(
        base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const auto& dir = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    int changed = 0;
    if (!dir.VirtualAddress) return 0;
    for (auto* d = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + dir.VirtualAddress); d->Name;
         ++d) {
        auto* name = reinterpret_cast<IMAGE_THUNK_DATA*>(
            base + (d->OriginalFirstThunk ? d->OriginalFirstThunk : d->FirstThunk));
        auto* slot = reinterpret_cast<IMAGE_THUNK_DATA*>(base + d->FirstThunk);
        for (; name->u1.AddressOfData; ++name, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
            auto* by = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
            if (lstrcmpA(reinterpret_cast<const char*>(by->Name), function) != 0) continue;
            void* old = reinterpret_cast<void*>(slot->u1.Function);
            if (old == replacement) continue;
            DWORD protection;
            VirtualProtect(&slot->u1.Function, sizeof(void*), PAGE_READWRITE, &protection);
            slot->u1.Function = reinterpret_cast<ULONGLONG>(replacement);
            VirtualProtect(&slot->u1.Function, sizeof(void*), protection, &protection);
            if (original && !*original) *original = old;
            ++changed;
        }
    }
    return changed;
}

inline bool isInside(HMODULE module, const void* address) {
    auto* base = reinterpret_cast<BYTE*>(module);
    auto* nt = reinterpret_cast<IMAGE_NT_HEADERS*>(
        base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    return address >= base && address < base + nt->OptionalHeader.SizeOfImage;
}

}  // namespace testsupport
