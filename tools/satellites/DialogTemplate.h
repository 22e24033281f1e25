#pragma once

#include <windows.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace satellites {

/// A field of a dialog template that holds text or the number of a resource.
struct TextOrNumber {
    bool isNumber = false;
    WORD number = 0;
    std::wstring text;
};

/// A control of a dialog. The parts that are not translated are kept as bytes.
struct DialogControl {
    DWORD id = 0;
    std::vector<std::byte> before;  ///< From the style to the window class.
    TextOrNumber title;
    std::vector<std::byte> creationData;
};

/// A dialog resource in either format (DIALOG or DIALOGEX).
struct DialogTemplate {
    bool isExtended = false;
    std::vector<std::byte> before;  ///< From the start to the window class.
    std::wstring caption;
    std::vector<std::byte> font;
    std::vector<DialogControl> controls;
};

/// @throws Unreadable when the template is truncated or damaged.
DialogTemplate readDialog(std::span<const std::byte> data);
std::vector<std::byte> writeDialog(const DialogTemplate& dialog);

/// Whether two dialogs have the same controls, by their ids.
bool sameShape(const DialogTemplate& a, const DialogTemplate& b);

}  // namespace satellites
