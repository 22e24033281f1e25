// messages.dll contains only strings, about as many as a large application has. CMakeLists.txt
// generates the string tables of messages.dll and its satellites.
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) ::DisableThreadLibraryCalls(module);
    return TRUE;
}
