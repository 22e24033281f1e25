// A library that contains time zone names. Its DllMain sets an environment variable.
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH)
        ::SetEnvironmentVariableW(L"I18NSYS_TEST_LIBRARY_RAN", L"yes");
    return TRUE;
}
