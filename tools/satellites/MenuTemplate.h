#pragma once

#include <windows.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace satellites {

/// An entry of a menu, and the entries of its popup.
struct MenuEntry {
    DWORD type = 0;   ///< MENUEX only.
    DWORD state = 0;  ///< MENUEX only.
    WORD flags = 0;   ///< MENU: MF_...; MENUEX: 1 for a popup. Without the mark of the last entry.
    DWORD id = 0;
    DWORD helpId = 0;  ///< MENUEX popups only.
    std::wstring text;
    bool isPopup = false;
    std::vector<MenuEntry> entries;

    bool isSeparator() const noexcept { return !isPopup && text.empty(); }
};

/// A menu resource in either format (MENU or MENUEX).
struct MenuTemplate {
    bool isExtended = false;
    DWORD helpId = 0;  ///< MENUEX only.
    std::vector<MenuEntry> entries;
};

/// @throws Unreadable when the template is truncated, or nested deeper than any menu is.
MenuTemplate readMenu(std::span<const std::byte> data);
std::vector<std::byte> writeMenu(const MenuTemplate& menu);

/// Whether two menus have the same entries, by their ids and kinds.
bool sameShape(const MenuTemplate& a, const MenuTemplate& b);

}  // namespace satellites
