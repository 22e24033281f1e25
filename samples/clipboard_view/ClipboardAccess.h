#pragma once

#include <windows.h>

#include <ole2.h>

/// Waits for the given time, and handles messages that other threads send in the meantime. For
/// example, the thread that has the clipboard open may have sent a message that requests data from
/// this thread, and may be waiting for the data.
void waitAndHandleSentMessages(DWORD milliseconds);

/// Calls `action` up to 10 times within 500 ms, as long as the result is CLIPBRD_E_CANT_OPEN.
/// Returns the last result. Other programs usually have the clipboard open only for a short time.
template <class Action>
HRESULT retryWhileClipboardIsBusy(Action action) {
    constexpr int kMaxAttempts = 10;
    constexpr DWORD kRetryIntervalMilliseconds = 50;
    HRESULT hr = action();
    for (int i = 1; i < kMaxAttempts && hr == CLIPBRD_E_CANT_OPEN; ++i) {
        waitAndHandleSentMessages(kRetryIntervalMilliseconds);
        hr = action();
    }
    return hr;
}

/// Opens the clipboard for reading, and closes it at the end of the scope. While the clipboard is
/// open, no other program can open it.
class OpenedClipboard {
public:
    OpenedClipboard();
    OpenedClipboard(const OpenedClipboard&) = delete;
    OpenedClipboard& operator=(const OpenedClipboard&) = delete;
    ~OpenedClipboard();

    /// Returns false if another program had the clipboard open when this object was created.
    bool isOpen() const { return m_isOpen; }

private:
    HWND m_window;
    bool m_isOpen;
};

/// Tests whether the clipboard can be opened. Call this function before OleGetClipboard. If another
/// program has the clipboard open, the methods of the data object that OleGetClipboard returns may
/// fail with error codes other than CLIPBRD_E_CANT_OPEN.
/// @return S_OK, or CLIPBRD_E_CANT_OPEN if another program has the clipboard open.
HRESULT probeClipboard();
