#include "platform/WineAddedFolders.h"

#include <windows.h>

#include "platform/ModuleHandle.h"
#include "platform/Wine.h"

namespace platform::wine {

namespace {

// Functions that Wine's ntdll.dll exports: LdrGetDllPath returns a list of folders, and
// RtlReleasePath frees the list. The folders are separated by semicolons, as in PATH. The list is
// empty if the program has added no folder with AddDllDirectory or SetDllDirectory.
using GetSearchList = LONG(WINAPI*)(const wchar_t* module, ULONG flags, wchar_t** list,
                                    wchar_t** unused);
using FreeSearchList = void(WINAPI*)(wchar_t* list);

}  // namespace

bool isInAddedFolders(const wchar_t* fileName) noexcept {
    if (isRunning()) {
        const HMODULE loader = ::GetModuleHandleW(L"ntdll.dll");
        const auto getList = findFunction<GetSearchList>(loader, "LdrGetDllPath");
        const auto freeList = findFunction<FreeSearchList>(loader, "RtlReleasePath");
        wchar_t *list = nullptr, *unused = nullptr;
        if (getList && freeList &&
            getList(fileName, LOAD_LIBRARY_SEARCH_USER_DIRS, &list, &unused) == 0) {
            const bool isFound =
                *list && ::SearchPathW(list, fileName, nullptr, 0, nullptr, nullptr) != 0;
            freeList(list);
            return isFound;
        }
    }
    const ModuleHandle file(::LoadLibraryExW(
        fileName, nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_SEARCH_USER_DIRS));
    if (file) return true;
    const DWORD error = ::GetLastError();
    return error != ERROR_MOD_NOT_FOUND && error != ERROR_FILE_NOT_FOUND;
}

}  // namespace platform::wine
