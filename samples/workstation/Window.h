#pragma once

#include <windows.h>

/// A window whose messages reach the object that made it.
class Window {
public:
    Window() = default;
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    virtual ~Window();

    HWND handle() const { return m_handle; }

protected:
    /// Makes the window, without text and size. Its class is registered with its first window.
    /// @return false when the system has no window to give.
    bool create(const wchar_t* className, HWND parent, DWORD style, DWORD extendedStyle);

    /// Handles a message, or leaves it to the system by calling this one.
    virtual LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam);

private:
    static LRESULT CALLBACK dispatch(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    HWND m_handle = nullptr;
};
