#include "samples/workstation/MainWindow.h"

#include <commctrl.h>

#include "samples/workstation/Area.h"
#include "samples/workstation/Controls.h"
#include "samples/workstation/Resource.h"
#include "samples/workstation/Texts.h"

MainWindow::MainWindow(const Options& options, Localization& localization)
    : m_options(options), m_localization(localization) {
    create(L"Workstation", nullptr, WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, 0);
    m_appearance = std::make_unique<Appearance>(dpiOf(handle()));
    m_resources = std::make_unique<ResourcesPane>(handle(), localization);
    m_resources->onCulture = [this](const std::wstring& tag) { setCulture(tag); };
    m_resources->onStringOrigin = [this](bool on) { setStringOrigin(on); };
    m_resources->onFallbackMarks = [this](bool on) { setFallbackMarks(on); };
    m_status = addControl(handle(), STATUSCLASSNAMEW, SBARS_SIZEGRIP);
    setFonts(handle(), m_appearance->font());
    refresh();
}

void MainWindow::show(int showCommand) {
    ::SetWindowPos(handle(), nullptr, 0, 0, m_appearance->scaled(1040), m_appearance->scaled(620),
                   SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    ::ShowWindow(handle(), showCommand);
    ::SetFocus(::GetNextDlgTabItem(handle(), nullptr, FALSE));
}

LRESULT MainWindow::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_COMMAND:
            if (lParam == 0) onCommand(LOWORD(wParam));
            return 0;
        case WM_INITMENUPOPUP:
            checkMenu(reinterpret_cast<HMENU>(wParam));
            return 0;
        case WM_SIZE:
            if (wParam != SIZE_MINIMIZED) arrange();
            return 0;
        case WM_GETMINMAXINFO:
            if (m_appearance)
                reinterpret_cast<MINMAXINFO*>(lParam)->ptMinTrackSize = {m_appearance->scaled(720),
                                                                         m_appearance->scaled(460)};
            return 0;
        case WM_DPICHANGED:
            onDpi(HIWORD(wParam), *reinterpret_cast<const RECT*>(lParam));
            return 0;
        case WM_ACTIVATE:
            if (LOWORD(wParam) == WA_INACTIVE) m_focus = ::GetFocus();
            break;
        case WM_SETFOCUS:
            ::SetFocus(::IsChild(handle(), m_focus)
                           ? m_focus
                           : ::GetNextDlgTabItem(handle(), nullptr, FALSE));
            return 0;
        case WM_DESTROY:
            ::PostQuitMessage(0);
            return 0;
        default:
            break;
    }
    return Window::onMessage(message, wParam, lParam);
}

void MainWindow::onCommand(int command) {
    switch (command) {
        case ID_FILE_EXIT:
            ::PostMessageW(handle(), WM_CLOSE, 0, 0);
            break;
        case ID_VIEW_REFRESH:
            m_localization.refresh();
            refresh();
            break;
        case ID_VIEW_STRING_ORIGIN:
            setStringOrigin(!m_localization.showsOrigin());
            break;
        case ID_VIEW_FALLBACK_MARKS:
            setFallbackMarks(!m_localization.marksFallbacks());
            break;
        default:
            break;
    }
}

/// The window has come to a monitor of another resolution, or the user has changed it.
void MainWindow::onDpi(unsigned dpi, const RECT& area) {
    auto appearance = std::make_unique<Appearance>(dpi);
    setFonts(handle(), appearance->font());
    m_appearance = std::move(appearance);
    ::SetWindowPos(handle(), nullptr, area.left, area.top, area.right - area.left,
                   area.bottom - area.top, SWP_NOZORDER | SWP_NOACTIVATE);
    arrange();
}

void MainWindow::setCulture(const std::wstring& tag) {
    m_localization.setCulture(tag);
    refresh();
}

void MainWindow::setStringOrigin(bool on) {
    m_localization.showOrigin(on);
    refresh();
}

void MainWindow::setFallbackMarks(bool on) {
    m_localization.markFallbacks(on);
    refresh();
}

void MainWindow::refresh() {
    const std::wstring& culture = m_localization.culture();
    setText(handle(), (culture.empty() ? L"" : culture + L" - ") + text(IDS_TITLE));
    loadMenu();
    m_resources->refresh();
    setText(m_status, text(IDS_READY));
    arrange();
}

void MainWindow::loadMenu() {
    Menu menu(i18nres::loadMenu(kThisProgram, MAKEINTRESOURCEW(IDR_MAIN)));
    // Only satellites are asked for menus: without any, the one in the program itself serves.
    if (!menu) menu.reset(::LoadMenuW(::GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDR_MAIN)));
    const Menu before(::GetMenu(handle()));
    if (::SetMenu(handle(), menu.get())) menu.release();  // it is the window's now
}

void MainWindow::checkMenu(HMENU menu) {
    const auto check = [menu](UINT command, bool on) {
        ::CheckMenuItem(menu, command, on ? MF_CHECKED : MF_UNCHECKED);
    };
    check(ID_VIEW_STRING_ORIGIN, m_localization.showsOrigin());
    check(ID_VIEW_FALLBACK_MARKS, m_localization.marksFallbacks());
}

void MainWindow::arrange() {
    if (!m_status) return;  // still being made
    ::SendMessageW(m_status, WM_SIZE, 0, 0);
    RECT client{}, status{};
    ::GetClientRect(handle(), &client);
    ::GetWindowRect(m_status, &status);
    client.bottom -= status.bottom - status.top;
    place(m_resources->handle(), client);
    m_resources->arrange(*m_appearance);
}
