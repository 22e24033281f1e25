#include "samples/clipboard_view/ClipboardAccess.h"

void waitAndHandleSentMessages(DWORD milliseconds) {
    const ULONGLONG end = ::GetTickCount64() + milliseconds;
    for (ULONGLONG now = end - milliseconds; now < end; now = ::GetTickCount64()) {
        ::MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(end - now),
                                    QS_SENDMESSAGE);
        MSG message{};
        ::PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
    }
}

OpenedClipboard::OpenedClipboard()
    // If two programs pass a null window to OpenClipboard, the system may be unable to distinguish
    // the programs, and both calls may succeed. This class therefore creates a window.
    : m_window(::CreateWindowW(L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                               nullptr)),
      m_isOpen(::OpenClipboard(m_window)) {}

OpenedClipboard::~OpenedClipboard() {
    if (m_isOpen) ::CloseClipboard();
    ::DestroyWindow(m_window);
}

HRESULT probeClipboard() { return OpenedClipboard().isOpen() ? S_OK : CLIPBRD_E_CANT_OPEN; }
