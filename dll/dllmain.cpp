#include <windows.h>

#include "dll/export.h"

#if defined(I18NRESOURCE_RUNTIME)
// Never called. Programs link to its name: see dll/export.h.
void I18NRESOURCE_RUNTIME_NAME(I18NRESOURCE_RUNTIME, _ITERATOR_DEBUG_LEVEL)() {}
#endif

// Does nothing else: code that runs under the loader lock must not load libraries, use COM or wait.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) ::DisableThreadLibraryCalls(module);
    return TRUE;
}
