// charts.dll contains only resources: its strings in charts.rc, and their translations in the
// satellites charts_<culture>.dll in the same folder.
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) ::DisableThreadLibraryCalls(module);
    return TRUE;
}
