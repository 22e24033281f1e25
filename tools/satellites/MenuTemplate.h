#pragma once

#include <windows.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace satellites {

/// An entry of a menu and, if the entry is a popup, the entries of that popup.
struct MenuEntry {
    DWORD type = 0;   ///< MENUEX only.
    DWORD state = 0;  ///< MENUEX only.
    WORD flags = 0;   ///< MENU: MF_* flags. MENUEX: 1 for a popup. Never contains MF_END.
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

/// @throws Unreadable if the template is truncated or damaged, or if its popups are nested more
///         than 64 levels deep.
MenuTemplate readMenu(std::span<const std::byte> data);
std::vector<std::byte> writeMenu(const MenuTemplate& menu);

/// Returns true if two menus have entries with the same ids and kinds in the same order. The kinds
/// are command, popup and separator.
bool haveSameStructure(const MenuTemplate& a, const MenuTemplate& b);

}  // namespace satellites
