#include "samples/workstation/ResourcesPane.h"

#include <commctrl.h>

#include <algorithm>
#include <iterator>

#include "samples/workstation/Area.h"
#include "samples/workstation/Controls.h"
#include "samples/workstation/Resource.h"
#include "samples/workstation/Texts.h"

namespace {

/// Returns the tag of a culture, followed by the name of the culture in its own language.
std::wstring label(const std::wstring& tag) {
    wchar_t name[128] = L"";
    ::GetLocaleInfoEx(tag.c_str(), LOCALE_SNATIVEDISPLAYNAME, name,
                      static_cast<int>(std::size(name)));
    return *name ? tag + L"   " + name : tag;
}

std::wstring withoutMnemonic(std::wstring name) {
    std::erase(name, L'&');
    return name;
}

/// Adds the items of a menu to a tree view below a parent item.
void addEntries(HWND tree, HTREEITEM parent, HMENU menu) {
    const int count = ::GetMenuItemCount(menu);
    for (int i = 0; i < count; ++i) {
        wchar_t entryText[256] = L"";
        ::GetMenuStringW(menu, static_cast<UINT>(i), entryText,
                         static_cast<int>(std::size(entryText)), MF_BYPOSITION);
        if (!*entryText) continue;  // a separator
        std::wstring name = withoutMnemonic(entryText);
        TVINSERTSTRUCTW entry{};
        entry.hParent = parent;
        entry.hInsertAfter = TVI_LAST;
        entry.item.mask = TVIF_TEXT | TVIF_STATE;
        entry.item.pszText = name.data();
        entry.item.state = entry.item.stateMask = TVIS_EXPANDED;
        const auto node = reinterpret_cast<HTREEITEM>(
            ::SendMessageW(tree, TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&entry)));
        if (const HMENU below = ::GetSubMenu(menu, i)) addEntries(tree, node, below);
    }
}

void setChecked(HWND box, bool on) {
    ::SendMessageW(box, BM_SETCHECK, on ? BST_CHECKED : BST_UNCHECKED, 0);
}

bool isChecked(HWND box) { return ::SendMessageW(box, BM_GETCHECK, 0, 0) == BST_CHECKED; }

}  // namespace

ResourcesPane::ResourcesPane(HWND parent, const Localization& localization)
    : m_localization(localization) {
    create(L"WorkstationResources", parent, WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN,
           WS_EX_CONTROLPARENT);
    // The Tab key moves the focus through the controls in the order in which they are created.
    m_cultureLabel = addLabel(handle());
    m_culture = addControl(handle(), WC_COMBOBOXW, WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST);
    m_origin = addControl(handle(), WC_BUTTONW, WS_TABSTOP | BS_AUTOCHECKBOX);
    m_marks = addControl(handle(), WC_BUTTONW, WS_TABSTOP | BS_AUTOCHECKBOX);
    m_stringsLabel = addLabel(handle());
    m_list = addList(handle(), LVS_OWNERDATA | LVS_SINGLESEL);
    m_iconLabel = addLabel(handle());
    m_iconView = addControl(handle(), WC_STATICW, SS_ICON | SS_CENTERIMAGE);
    m_menuLabel = addLabel(handle());
    m_menu =
        addControl(handle(), WC_TREEVIEWW,
                   WS_TABSTOP | TVS_HASLINES | TVS_HASBUTTONS | TVS_LINESATROOT, WS_EX_CLIENTEDGE);
    m_pageLabel = addLabel(handle());
    m_page = addTextView(handle(), 0);
}

void ResourcesPane::refresh() {
    setText(m_cultureLabel, text(IDS_CULTURE));
    setText(m_origin, text(IDS_STRING_ORIGIN));
    setText(m_marks, text(IDS_FALLBACK_MARKS));
    setText(m_stringsLabel, text(IDS_STRINGS));
    setText(m_iconLabel, text(IDS_ICON));
    setText(m_menuLabel, text(IDS_MENU));
    setText(m_pageLabel, text(IDS_PAGE));

    listCultures();
    setChecked(m_origin, m_localization.showsOrigin());
    setChecked(m_marks, m_localization.marksFallbacks());
    m_strings = m_charts.strings();
    ::SendMessageW(m_list, LVM_SETITEMCOUNT, m_strings.size(), LVSICF_NOSCROLL);
    ::InvalidateRect(m_list, nullptr, TRUE);
    showIcon();
    showMenu();
    setText(m_page, m_charts.pageText());
}

void ResourcesPane::listCultures() {
    m_cultures = m_charts.cultures();
    m_cultures.insert(m_cultures.begin(), std::wstring());
    std::vector<std::wstring> labels;
    for (const std::wstring& tag : m_cultures)
        labels.push_back(tag.empty() ? text(IDS_NO_CULTURE, m_localization.defaultCulture().c_str())
                                     : label(tag));
    if (labels != m_cultureLabels) {
        m_cultureLabels = labels;
        ::SendMessageW(m_culture, CB_RESETCONTENT, 0, 0);
        for (const std::wstring& each : labels)
            ::SendMessageW(m_culture, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(each.c_str()));
    }
    const auto selected = std::ranges::find(m_cultures, m_localization.culture());
    // If the culture was specified on the command line and charts.dll has no satellite for it, no
    // item is selected.
    const auto index = selected == m_cultures.end() ? -1 : selected - m_cultures.begin();
    ::SendMessageW(m_culture, CB_SETCURSEL, static_cast<WPARAM>(index), 0);
}

void ResourcesPane::showIcon() {
    Icon icon = m_charts.icon(m_iconSize);
    ::SendMessageW(m_iconView, STM_SETICON, reinterpret_cast<WPARAM>(icon.get()), 0);
    m_icon = std::move(icon);  // frees the previous icon, which is no longer displayed
}

void ResourcesPane::showMenu() {
    ::SendMessageW(m_menu, TVM_DELETEITEM, 0, reinterpret_cast<LPARAM>(TVI_ROOT));
    if (const Menu menu = m_charts.menu()) addEntries(m_menu, TVI_ROOT, menu.get());
}

LRESULT ResourcesPane::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_COMMAND:
            onCommand(reinterpret_cast<HWND>(lParam), HIWORD(wParam));
            return 0;
        case WM_NOTIFY: {
            auto& notification = *reinterpret_cast<NMHDR*>(lParam);
            if (notification.hwndFrom == m_list && notification.code == LVN_GETDISPINFOW)
                onGetDispInfo(reinterpret_cast<NMLVDISPINFOW&>(notification));
            return 0;
        }
        default:
            return Window::onMessage(message, wParam, lParam);
    }
}

void ResourcesPane::onCommand(HWND control, WORD notification) {
    if (control == m_culture && notification == CBN_SELCHANGE) {
        const LRESULT index = ::SendMessageW(m_culture, CB_GETCURSEL, 0, 0);
        if (index >= 0 && index < std::ssize(m_cultures))
            onCulture(m_cultures[static_cast<std::size_t>(index)]);
    } else if (control == m_origin && notification == BN_CLICKED) {
        onStringOrigin(isChecked(m_origin));
    } else if (control == m_marks && notification == BN_CLICKED) {
        onFallbackMarks(isChecked(m_marks));
    }
}

void ResourcesPane::onGetDispInfo(NMLVDISPINFOW& request) const {
    LVITEMW& item = request.item;
    if (!(item.mask & LVIF_TEXT) || item.iItem < 0 || item.iItem >= std::ssize(m_strings)) return;
    const ChartsModule::String& string = m_strings[static_cast<std::size_t>(item.iItem)];
    const std::wstring cells[] = {std::to_wstring(string.id), string.text, string.library};
    copyToBuffer(item.pszText, item.cchTextMax, cells[item.iSubItem]);
}

void ResourcesPane::arrange(const Appearance& appearance) {
    RECT client{};
    ::GetClientRect(handle(), &client);
    Area area(client, appearance.gap());
    area.shrink(appearance.gap());

    // A combo box sets the height of its selection field automatically. The height that is set here
    // includes the drop-down list.
    const int boxHeight = appearance.lineHeight() + appearance.scaled(10);
    Area top(area.cutTop(boxHeight), appearance.gap());
    RECT labelArea = top.cutLeft(appearance.textWidth(m_cultureLabel));
    labelArea.top += appearance.scaled(5);
    setPosition(m_cultureLabel, labelArea);
    RECT boxArea = top.remaining();
    boxArea.bottom += appearance.scaled(240);
    setPosition(m_culture, boxArea);

    setPosition(m_origin, area.cutTop(appearance.controlHeight()));
    setPosition(m_marks, area.cutTop(appearance.controlHeight()));
    arrangeIconMenuAndPage(area.cutBottom(appearance.lineHeight() + appearance.scaled(100)),
                           appearance);
    setPosition(m_stringsLabel, area.cutTop(appearance.lineHeight()));
    setPosition(m_list, area.remaining());
    setTitles(appearance);

    if (m_iconSize != appearance.iconSize()) {
        m_iconSize = appearance.iconSize();
        showIcon();
    }
}

/// Arranges the icon, the menu and the page side by side, each below its label.
void ResourcesPane::arrangeIconMenuAndPage(RECT rect, const Appearance& appearance) {
    Area area(rect, appearance.gap());
    const auto arrangeColumn = [&](HWND heading, HWND control, RECT columnRect) {
        Area below(columnRect, appearance.scaled(3));
        setPosition(heading, below.cutTop(appearance.lineHeight()));
        setPosition(control, below.remaining());
    };
    const int iconWidth = std::max(std::min(appearance.textWidth(m_iconLabel), area.width() / 4),
                                   appearance.iconSize());
    RECT iconColumn = area.cutLeft(iconWidth);
    iconColumn.bottom =
        std::min<LONG>(iconColumn.bottom, iconColumn.top + appearance.lineHeight() +
                                              appearance.scaled(3) + appearance.iconSize());
    arrangeColumn(m_iconLabel, m_iconView, iconColumn);
    arrangeColumn(m_menuLabel, m_menu, area.cutLeft((area.width() - appearance.gap()) * 2 / 5));
    arrangeColumn(m_pageLabel, m_page, area.remaining());
}

void ResourcesPane::setTitles(const Appearance& appearance) {
    setColumns(m_list, {{text(IDS_STRING_ID), appearance.scaled(50)},
                        {text(IDS_STRING_TEXT), 0},
                        {text(IDS_STRING_LIBRARY), appearance.scaled(130)}});
}
