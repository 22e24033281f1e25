// charts.dll contains only the resources in charts.rc. The satellites charts_<culture>.dll in the
// same folder contain translations of these resources.
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) ::DisableThreadLibraryCalls(module);
    return TRUE;
}
