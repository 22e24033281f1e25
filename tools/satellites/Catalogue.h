#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tools/satellites/DialogTemplate.h"
#include "tools/satellites/MenuTemplate.h"
#include "tools/satellites/ResourceFile.h"
#include "tools/satellites/StringTable.h"

namespace satellites {

/// A text of a file and its context, which is the name of its position:
/// - "STRING.7" for a string;
/// - "MENU.1/0/2" for a menu entry, with positions that count from 0;
/// - "DIALOG.101" for the caption of a dialog;
/// - "DIALOG.101/1002" for a control, and "DIALOG.101/1002#2" for the second control with this id.
struct PlacedText {
    std::wstring context;
    std::wstring text;
};

/// Called with a text, which the function may change, and the position of the text in its resource.
/// For example, the position is "0/2" for a menu entry and "1002" for a control. It is empty for
/// the caption of a dialog.
using TextVisitor = std::function<void(const std::wstring& entry, std::wstring& text)>;

/// Calls `visit` for each non-empty text of a menu or dialog, in the order of the resource.
void forEachText(MenuTemplate& menu, const TextVisitor& visit);
void forEachText(DialogTemplate& dialog, const TextVisitor& visit);

/// Returns the names that the controls of a dialog have in contexts, in the order of the controls:
/// "1002", and "1002#2" for the second control with this id.
std::vector<std::wstring> entriesOf(const DialogTemplate& dialog);

std::wstring contextOf(unsigned stringId);
std::wstring contextOf(const wchar_t* kind, const ResourceId& name, const std::wstring& entry);

/// @throws Failure if the file cannot be read.
ResourceFile readResourceFile(const std::wstring& path);

/// Reads a module in order to make or check its satellites.
/// @throws Failure if the module cannot be read or has no resources, or if one of its resources
/// with texts is damaged.
ResourceFile readModule(const std::wstring& path);

/// Returns all texts of a file: first those of the strings, then those of the menus, then those of
/// the dialogs.
/// @throws Unreadable if a resource is truncated or damaged.
std::vector<PlacedText> textsOf(const ResourceFile& file);

/// Returns all texts of a file by their contexts.
std::map<std::wstring, std::wstring> textsByContext(const ResourceFile& file);

}  // namespace satellites
