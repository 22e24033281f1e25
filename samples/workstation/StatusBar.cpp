#include "samples/workstation/StatusBar.h"

#include <commctrl.h>

#include <iterator>

#include "samples/workstation/Controls.h"

namespace {

enum Part { kMessage, kProgress, kCounts };

void setPart(HWND bar, Part part, const std::wstring& text) {
    ::SendMessageW(bar, SB_SETTEXTW, part, reinterpret_cast<LPARAM>(text.c_str()));
}

}  // namespace

StatusBar::StatusBar(HWND parent)
    : m_bar(addControl(parent, STATUSCLASSNAMEW, SBARS_SIZEGRIP)),
      m_progress(addControl(m_bar, PROGRESS_CLASSW, PBS_MARQUEE)) {
    // Create the parts here, because text can be set only for existing parts. arrange() sets their
    // positions.
    const int ends[] = {1, 2, -1};
    ::SendMessageW(m_bar, SB_SETPARTS, std::size(ends), reinterpret_cast<LPARAM>(ends));
    showProgress(false);
}

void StatusBar::showMessage(const std::wstring& message) { setPart(m_bar, kMessage, message); }

void StatusBar::showCounts(const std::wstring& counts) { setPart(m_bar, kCounts, counts); }

void StatusBar::showProgress(bool on) {
    ::SendMessageW(m_progress, PBM_SETMARQUEE, on, 30);
    ::ShowWindow(m_progress, on ? SW_SHOW : SW_HIDE);
}

int StatusBar::arrange(const Appearance& appearance) {
    ::SendMessageW(m_bar, WM_SIZE, 0, 0);
    RECT area{};
    ::GetClientRect(m_bar, &area);
    const int countsAt = area.right - appearance.scaled(280);
    const int ends[] = {countsAt - appearance.scaled(130), countsAt, -1};
    ::SendMessageW(m_bar, SB_SETPARTS, std::size(ends), reinterpret_cast<LPARAM>(ends));

    RECT progress{};
    ::SendMessageW(m_bar, SB_GETRECT, kProgress, reinterpret_cast<LPARAM>(&progress));
    ::InflateRect(&progress, -appearance.scaled(2), -appearance.scaled(2));
    setPosition(m_progress, progress);

    RECT window{};
    ::GetWindowRect(m_bar, &window);
    return static_cast<int>(window.bottom - window.top);
}
