#pragma once

#include <windows.h>

#include <ole2.h>

#include <functional>

#include <I18nResource.h>

/// Lets the user drag a data object to this or another program. The target program can copy the
/// data but not move it.
/// @return true if the data object was dropped and copied.
bool drag(IDataObject& object);

/// Lets the user drop instruments on a window as long as this object exists.
class DropArea {
public:
    /// @param drop  A function that is called with a copy of the dropped data.
    DropArea(HWND window, std::function<void(const ATL::CComPtr<IDataObject>&)> drop);
    DropArea(const DropArea&) = delete;
    DropArea& operator=(const DropArea&) = delete;
    ~DropArea();

    /// Sets whether this object rejects all drops, for example because the drag began in this
    /// window.
    void rejectDrops(bool reject);

private:
    class Target;

    HWND m_window;
    ATL::CComPtr<Target> m_target;
};
