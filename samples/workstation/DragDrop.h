#pragma once

#include <windows.h>

#include <ole2.h>

#include <functional>

#include <I18nResource.h>

/// Lets the user drag a data object out of this program, to be copied where it is dropped.
/// @return whether a program accepted it.
bool drag(IDataObject& object);

/// Accepts instruments that are dropped on a window, from construction to destruction.
class DropArea {
public:
    /// @param drop  Receives a copy of the dropped data.
    DropArea(HWND window, std::function<void(const ATL::CComPtr<IDataObject>&)> drop);
    DropArea(const DropArea&) = delete;
    DropArea& operator=(const DropArea&) = delete;
    ~DropArea();

    /// Whether drops are refused, as while the window itself is where the drag began.
    void refuse(bool refuse);

private:
    class Target;

    HWND m_window;
    ATL::CComPtr<Target> m_target;
};
