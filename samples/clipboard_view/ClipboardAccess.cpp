#include "samples/clipboard_view/ClipboardAccess.h"

OpenedClipboard::OpenedClipboard()
    // Without a window the system may not distinguish one program from another.
    : m_window(::CreateWindowW(L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                               nullptr)),
      m_isOpen(::OpenClipboard(m_window)) {}

OpenedClipboard::~OpenedClipboard() {
    if (m_isOpen) ::CloseClipboard();
    ::DestroyWindow(m_window);
}

HRESULT probeClipboard() { return OpenedClipboard().isOpen() ? S_OK : CLIPBRD_E_CANT_OPEN; }
