#include "samples/exchange/Watching.h"

#include <windows.h>

#include <iterator>
#include <string>

#include "samples/clipboard_view/ClipboardFormats.h"
#include "samples/clipboard_view/ClipboardPrograms.h"
#include "samples/exchange/Console.h"
#include "samples/exchange/Failure.h"

namespace {

DWORD watchingThread = 0;  // the thread that runs watch(); the Ctrl+C handler posts WM_QUIT to it

BOOL WINAPI endWatching(DWORD) { return ::PostThreadMessageW(watchingThread, WM_QUIT, 0, 0); }

/// An invisible window to which the system posts a message each time the clipboard changes.
class Listener {
public:
    Listener()
        : m_window(::CreateWindowW(L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                   nullptr, nullptr)) {
        if (!::AddClipboardFormatListener(m_window))
            throw Failure{kRefused, L"the system does not report changes of the clipboard"};
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener() {
        ::RemoveClipboardFormatListener(m_window);
        ::DestroyWindow(m_window);
    }

private:
    HWND m_window;
};

void printChange() {
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    wchar_t time[16];
    ::GetTimeFormatEx(LOCALE_NAME_INVARIANT, 0, &now, L"HH':'mm':'ss", time,
                      static_cast<int>(std::size(time)));
    std::wstring names;
    for (const unsigned format : currentFormats()) {
        const std::wstring name = nameOfFormat(format);
        names += (names.empty() ? L"" : L", ") + (name.empty() ? std::to_wstring(format) : name);
    }
    print(stdout, std::wstring(time) + L"  " + describe(clipboardOwner()) + L"  " +
                      (names.empty() ? L"(empty)" : names) + L"\n");
    std::fflush(stdout);
}

}  // namespace

void watch() {
    watchingThread = ::GetCurrentThreadId();
    const Listener listener;
    ::SetConsoleCtrlHandler(endWatching, TRUE);
    print(stderr, L"exchange: watching the clipboard until Ctrl+C\n");
    MSG message{};
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.message == WM_CLIPBOARDUPDATE) printChange();
        ::DispatchMessageW(&message);
    }
}
