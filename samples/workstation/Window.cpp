#include "samples/workstation/Window.h"

#include "samples/workstation/Resource.h"

Window::~Window() {
    if (!m_handle) return;
    // Messages that the system sends while it destroys the window must not reach this object.
    ::SetWindowLongPtrW(m_handle, GWLP_USERDATA, 0);
    ::DestroyWindow(m_handle);
}

bool Window::create(const wchar_t* className, HWND parent, DWORD style, DWORD extendedStyle) {
    const HINSTANCE program = ::GetModuleHandleW(nullptr);
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = dispatch;
    windowClass.hInstance = program;
    windowClass.hIcon = ::LoadIconW(program, MAKEINTRESOURCEW(IDR_MAIN));
    windowClass.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
    windowClass.hbrBackground = ::GetSysColorBrush(COLOR_BTNFACE);
    windowClass.lpszClassName = className;
    ::RegisterClassExW(&windowClass);  // ignore failure: the class may already exist

    // During the call to CreateWindowExW, dispatch() handles WM_NCCREATE and stores the handle in
    // m_handle.
    return ::CreateWindowExW(extendedStyle, className, nullptr, style, CW_USEDEFAULT, 0, 0, 0,
                             parent, nullptr, program, this) != nullptr;
}

LRESULT Window::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    return ::DefWindowProcW(m_handle, message, wParam, lParam);
}

LRESULT CALLBACK Window::dispatch(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        const auto* const creation = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        static_cast<Window*>(creation->lpCreateParams)->m_handle = window;
        ::SetWindowLongPtrW(window, GWLP_USERDATA,
                            reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
    }
    auto* const object = reinterpret_cast<Window*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!object) return ::DefWindowProcW(window, message, wParam, lParam);
    if (message == WM_NCDESTROY) {
        ::SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        object->m_handle = nullptr;
        return ::DefWindowProcW(window, message, wParam, lParam);
    }
    return object->onMessage(message, wParam, lParam);
}
