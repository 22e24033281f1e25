#pragma once
// Functions that return the files of loaded libraries, as paths relative to a folder of the test.
#include <windows.h>

#include <string>

#include "tests/i18nres/ProtectedManager.h"
#include "tests/support/LeakListener.h"
#include "tests/support/SatelliteFolder.h"

// The file that a handle was loaded from, relative to a folder; "none" for null.
inline std::wstring fileOf(HINSTANCE library, const testsupport::SatelliteFolder& folder) {
    if (!library) return L"none";
    wchar_t path[2 * MAX_PATH];
    ::GetModuleFileNameW(library, path, 2 * MAX_PATH);
    const std::wstring text = path;
    return text.rfind(folder.path(), 0) == 0 ? text.substr(folder.path().size()) : text;
}

inline bool isLoaded(const wchar_t* name) { return ::GetModuleHandleW(name) != nullptr; }

// The file that loadLibrary loads, relative to a folder; "none" if it loads none. The test frees
// the library, so the leak listener reports a reference that the manager adds and does not release.
inline std::wstring satelliteOf(const std::wstring& modulePath, const wchar_t* tag,
                                const testsupport::SatelliteFolder& folder) {
    const HINSTANCE library = ProtectedManager::satellite(modulePath, tag);
    const std::wstring file = fileOf(library, folder);
    if (library) ::FreeLibrary(library);
    testsupport::forgiveLeaks();
    return file;
}
