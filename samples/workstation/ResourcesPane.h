#pragma once

#include <windows.h>

#include <commctrl.h>

#include <functional>
#include <string>
#include <vector>

#include "samples/workstation/Appearance.h"
#include "samples/workstation/ChartsModule.h"
#include "samples/workstation/Localization.h"
#include "samples/workstation/Window.h"

/// The left pane of the program. The user selects a culture, and the pane shows the resources of
/// charts.dll for this culture.
class ResourcesPane : public Window {
public:
    ResourcesPane(HWND parent, const Localization& localization);

    // Functions that are called when the user selects a culture or changes a switch.
    std::function<void(const std::wstring& tag)> onCulture;
    std::function<void(bool on)> onStringOrigin;
    std::function<void(bool on)> onFallbackMarks;

    /// Reloads and shows all resources for the current culture.
    void refresh();
    /// Sets the positions of the controls.
    void arrange(const Appearance& appearance);

private:
    LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void onCommand(HWND control, WORD notification);
    void onGetDispInfo(NMLVDISPINFOW& request) const;

    void listCultures();
    void showMenu();
    void showIcon();
    void setTitles(const Appearance& appearance);
    void arrangeIconMenuAndPage(RECT area, const Appearance& appearance);

    const Localization& m_localization;
    ChartsModule m_charts;
    std::vector<std::wstring> m_cultures;  // in the order of the combo box; the first tag is empty
    std::vector<std::wstring> m_cultureLabels;
    std::vector<ChartsModule::String> m_strings;
    Icon m_icon;
    int m_iconSize = 32;

    HWND m_cultureLabel = nullptr, m_culture = nullptr;
    HWND m_origin = nullptr, m_marks = nullptr;
    HWND m_stringsLabel = nullptr, m_list = nullptr;
    HWND m_iconLabel = nullptr, m_iconView = nullptr;
    HWND m_menuLabel = nullptr, m_menu = nullptr;
    HWND m_pageLabel = nullptr, m_page = nullptr;
};
