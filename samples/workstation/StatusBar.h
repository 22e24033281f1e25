#pragma once

#include <windows.h>

#include <string>

#include "samples/workstation/Appearance.h"

/// The bar at the bottom: the last event, the current activity, and the number of instruments.
class StatusBar {
public:
    explicit StatusBar(HWND parent);

    void tell(const std::wstring& message);
    void count(const std::wstring& counts);
    void showProgress(bool on);

    /// Moves to the bottom of the parent.
    /// @return the height.
    int arrange(const Appearance& appearance);

private:
    HWND m_bar;
    HWND m_progress;
};
