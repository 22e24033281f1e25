// Opens the clipboard and starts PROGRAM. Closes the clipboard when PROGRAM ends, or after N
// milliseconds if this time is specified.
//
//   clipboard_holder [--milliseconds N] [--without-window] PROGRAM [ARGUMENT...]
//
// The exit status is the exit status of PROGRAM, or 125 if the clipboard cannot be opened or
// PROGRAM cannot be started.
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>

#include "tests/samples/StartProgram.h"

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
        if (word == L"--milliseconds" && i + 1 < argc) {
            task.milliseconds = std::wcstoul(argv[++i], nullptr, 10);
        } else if (word == L"--without-window") {
            task.withWindow = false;
        } else {
            task.commandLine = commandLineOf(argc - i, argv + i);
            break;
        }
    }
    return task;
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
    WaitForSingleObject(program, INFINITE);
    if (window) DestroyWindow(window);
    return finish(program);
}
