#pragma once

#include <windows.h>

#include <string>

#include "samples/workstation/Appearance.h"

/// The status bar. Shows the last event, the progress of a read, and the number of instruments.
class StatusBar {
public:
    explicit StatusBar(HWND parent);

    void showMessage(const std::wstring& message);
    void showCounts(const std::wstring& counts);
    void showProgress(bool on);

    /// Moves the bar to the bottom of the parent window.
    /// @return The height of the bar in pixels.
    int arrange(const Appearance& appearance);

private:
    HWND m_bar;
    HWND m_progress;
};
