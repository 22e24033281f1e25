#pragma once

#include <windows.h>

/// Owns a window and handles its messages.
class Window {
public:
    Window() = default;
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    virtual ~Window();

    HWND handle() const { return m_handle; }

protected:
    /// Creates the window without text or size. Registers the window class if it does not exist
    /// yet.
    /// @return false if the system cannot create the window.
    bool create(const wchar_t* className, HWND parent, DWORD style, DWORD extendedStyle);

    /// Handles a message. Overrides must call this function for messages that they do not handle.
    virtual LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam);

private:
    static LRESULT CALLBACK dispatch(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    HWND m_handle = nullptr;
};
