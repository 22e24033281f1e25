// messages.dll holds strings only, as many as a dialogue-heavy application has. Its string table
// and those of its satellites are made by CMakeLists.txt.
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) ::DisableThreadLibraryCalls(module);
    return TRUE;
}
