#include <windows.h>

// Nothing else may happen here: code that runs under the loader lock must not load libraries,
// start COM or wait.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) ::DisableThreadLibraryCalls(module);
    return TRUE;
}
