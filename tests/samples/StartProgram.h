#pragma once

#include <windows.h>

#include <string>

// A command line of words, each in quotes.
inline std::wstring commandLineOf(int count, wchar_t** words) {
    std::wstring commandLine;
    for (int i = 0; i < count; ++i)
        commandLine += (i == 0 ? L"\"" : L" \"") + std::wstring(words[i]) + L"\"";
    return commandLine;
}

// Starts a program with the input and output of this process. Null if there is no such program.
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

// Closes a process that start() returned. Its exit status if it has ended.
inline int finish(HANDLE process) {
    DWORD status = 125;
    GetExitCodeProcess(process, &status);
    CloseHandle(process);
    return static_cast<int>(status);
}
