#pragma once

#include <windows.h>

#include <ole2.h>

/// Waits, and handles the messages that other threads send meanwhile: one of them may have the
/// clipboard open and wait for this thread to deliver data.
void waitAndDeliver(DWORD milliseconds);

/// Calls `action` until it returns something other than CLIPBRD_E_CANT_OPEN, 10 times within 500 ms
/// at most: other programs open the clipboard too, but usually only for a moment.
template <class Action>
HRESULT whileClipboardIsBusy(Action action) {
    constexpr int kTries = 10;
    constexpr DWORD kPauseMilliseconds = 50;
    HRESULT hr = action();
    for (int i = 1; i < kTries && hr == CLIPBRD_E_CANT_OPEN; ++i) {
        waitAndDeliver(kPauseMilliseconds);
        hr = action();
    }
    return hr;
}

/// Keeps the clipboard open for reading. No other program can open it meanwhile.
class OpenedClipboard {
public:
    OpenedClipboard();
    OpenedClipboard(const OpenedClipboard&) = delete;
    OpenedClipboard& operator=(const OpenedClipboard&) = delete;
    ~OpenedClipboard();

    /// false if another program has it open.
    bool isOpen() const { return m_isOpen; }

private:
    HWND m_window;
    bool m_isOpen;
};

/// @return S_OK, or CLIPBRD_E_CANT_OPEN while another program has the clipboard open. A data object
///         of the clipboard then fails as well, but may return a different code.
HRESULT probeClipboard();
