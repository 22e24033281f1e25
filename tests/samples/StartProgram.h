#pragma once

#include <windows.h>

#include <string>

// Joins words into a command line, and encloses each word in double quotation marks.
inline std::wstring commandLineOf(int count, wchar_t** words) {
    std::wstring commandLine;
    for (int i = 0; i < count; ++i)
        commandLine += (i == 0 ? L"\"" : L" \"") + std::wstring(words[i]) + L"\"";
    return commandLine;
}

// Starts a program that inherits the standard input and output of this process. Returns the process
// handle, or null if the program cannot be started.
inline HANDLE start(std::wstring commandLine) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION info{};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &startup, &info))
        return nullptr;
    CloseHandle(info.hThread);
    return info.hProcess;
}

// Closes a handle that start() returned. Returns the exit status of the process, or 125 if the
// handle is null.
inline int finish(HANDLE process) {
    DWORD status = 125;
    GetExitCodeProcess(process, &status);
    CloseHandle(process);
    return static_cast<int>(status);
}
