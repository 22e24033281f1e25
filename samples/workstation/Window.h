#pragma once

#include <windows.h>

/// A window whose messages are handled by the object that created it.
class Window {
public:
    Window() = default;
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    virtual ~Window();

    HWND handle() const { return m_handle; }

protected:
    /// Creates the window, without text and size. The first window of a class registers the class.
    /// @return false when the system cannot create the window.
    bool create(const wchar_t* className, HWND parent, DWORD style, DWORD extendedStyle);

    /// Handles a message, or calls this function to leave it to the system.
    virtual LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam);

private:
    static LRESULT CALLBACK dispatch(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    HWND m_handle = nullptr;
};
