#pragma once

#include <windows.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace satellites {

/// A field of a dialog template. The field contains either a string or a resource ordinal.
struct TextOrNumber {
    bool isNumber = false;
    WORD number = 0;
    std::wstring text;
};

/// A control of a dialog. The parts that are not translated are stored as bytes.
struct DialogControl {
    DWORD id = 0;
    /// Bytes from the start of the control through its window class.
    std::vector<std::byte> header;
    TextOrNumber title;
    /// The size word of the creation data, followed by the creation data.
    std::vector<std::byte> creationData;
};

/// A dialog resource in either format (DIALOG or DIALOGEX).
struct DialogTemplate {
    bool isExtended = false;
    /// Bytes from the start of the template through its window class.
    std::vector<std::byte> header;
    std::wstring caption;
    std::vector<std::byte> font;
    std::vector<DialogControl> controls;
};

/// @throws Unreadable if the template is truncated or damaged.
DialogTemplate readDialog(std::span<const std::byte> data);
std::vector<std::byte> writeDialog(const DialogTemplate& dialog);

/// Returns true if two dialogs have controls with the same ids in the same order.
bool haveSameStructure(const DialogTemplate& a, const DialogTemplate& b);

}  // namespace satellites
