#pragma once
// Functions that show which libraries are loaded.
#include <windows.h>

#include <string>

#include "tests/i18nres/ProtectedManager.h"
#include "tests/support/LeakListener.h"
#include "tests/support/SatelliteFolder.h"

// Returns the path of a loaded library relative to a folder. Returns the full path if the library
// is not in the folder, and "none" if `library` is null.
inline std::wstring fileOf(HINSTANCE library, const testsupport::SatelliteFolder& folder) {
    if (!library) return L"none";
    wchar_t path[2 * MAX_PATH];
    ::GetModuleFileNameW(library, path, 2 * MAX_PATH);
    const std::wstring text = path;
    return text.rfind(folder.path(), 0) == 0 ? text.substr(folder.path().size()) : text;
}

inline bool isLoaded(const wchar_t* name) { return ::GetModuleHandleW(name) != nullptr; }

// Calls Manager::loadLibrary, and returns the path of the loaded library relative to a folder, or
// "none" if the method loads no library. The function also frees the library. It calls
// ignoreLeaks(), because the leak listener does not count FreeLibrary calls by the test program.
inline std::wstring satelliteOf(const std::wstring& modulePath, const wchar_t* tag,
                                const testsupport::SatelliteFolder& folder) {
    const HINSTANCE library = ProtectedManager::satellite(modulePath, tag);
    const std::wstring file = fileOf(library, folder);
    if (library) ::FreeLibrary(library);
    testsupport::ignoreLeaks();
    return file;
}
