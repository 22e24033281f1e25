#include <windows.h>

#include "dll/export.h"

#if defined(I18NRESOURCE_RUNTIME)
// This function is never called: programs only link to its name. See dll/export.h.
void I18NRESOURCE_RUNTIME_NAME(I18NRESOURCE_RUNTIME, _ITERATOR_DEBUG_LEVEL)() {}
#endif

// DllMain only disables thread notifications, because code that runs under the loader lock must not
// load libraries, use COM or wait.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) ::DisableThreadLibraryCalls(module);
    return TRUE;
}
