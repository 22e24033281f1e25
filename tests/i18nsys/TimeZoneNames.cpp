// A library with time zone names that sets an environment variable if its code runs.
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH)
        ::SetEnvironmentVariableW(L"I18NSYS_TEST_LIBRARY_RAN", L"yes");
    return TRUE;
}
