// Holds the clipboard open while another program runs, or for as long as is said.
//
//   clipboard_holder [--milliseconds N] [--without-window] PROGRAM [ARGUMENT...]
//
// Ends as the program does; 125 when it cannot do its own part.
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>

namespace {

constexpr int kFailed = 125;

struct Task {
    DWORD milliseconds = INFINITE;
    bool withWindow = true;
    std::wstring commandLine;
};

Task parseTask(int argc, wchar_t** argv) {
    Task task;
    for (int i = 1; i < argc; ++i) {
        const std::wstring word = argv[i];
        if (task.commandLine.empty() && word == L"--milliseconds" && i + 1 < argc) {
            task.milliseconds = std::wcstoul(argv[++i], nullptr, 10);
        } else if (task.commandLine.empty() && word == L"--without-window") {
            task.withWindow = false;
        } else {
            task.commandLine += (task.commandLine.empty() ? L"\"" : L" \"") + word + L"\"";
        }
    }
    return task;
}

// The program, started with our own input and output; null when there is none.
HANDLE start(std::wstring commandLine) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION info{};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &startup, &info))
        return nullptr;
    CloseHandle(info.hThread);
    return info.hProcess;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const Task task = parseTask(argc, argv);
    const HWND window = task.withWindow
                            ? CreateWindowW(L"STATIC", L"Clipboard holder", WS_OVERLAPPED, 0, 0, 10,
                                            10, nullptr, nullptr, nullptr, nullptr)
                            : nullptr;
    if (!OpenClipboard(window)) {
        std::fputs("clipboard_holder: the clipboard cannot be opened\n", stderr);
        return kFailed;
    }
    std::printf("clipboard_holder is process %lu\n", GetCurrentProcessId());
    std::fflush(stdout);

    const HANDLE program = start(task.commandLine);
    WaitForSingleObject(program, task.milliseconds);
    CloseClipboard();
    DWORD status = kFailed;
    WaitForSingleObject(program, INFINITE);
    GetExitCodeProcess(program, &status);
    CloseHandle(program);
    if (window) DestroyWindow(window);
    return static_cast<int>(status);
}
