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

/// A text of a file, and the name of its position: "STRING.7", "MENU.1/0/2" (positions from 0),
/// "DIALOG.101" (the caption) or "DIALOG.101/1002" (a control; the second one of an id has "#2").
struct PlacedText {
    std::wstring context;
    std::wstring text;
};

/// Called with the position of a text inside its resource ("0/2", "1002", empty for a caption) and
/// the text, which may be changed.
using TextVisitor = std::function<void(const std::wstring& entry, std::wstring& text)>;

/// Visits the texts of a menu or dialog that are not empty, in order.
void forEachText(MenuTemplate& menu, const TextVisitor& visit);
void forEachText(DialogTemplate& dialog, const TextVisitor& visit);

/// The names of a dialog's controls in contexts, in order: "1002", and "1002#2" for the second one
/// of an id.
std::vector<std::wstring> entriesOf(const DialogTemplate& dialog);

std::wstring contextOf(unsigned stringId);
std::wstring contextOf(const wchar_t* kind, const ResourceId& name, const std::wstring& entry);

/// @throws Failure when the file cannot be read.
ResourceFile readResourceFile(const std::wstring& path);

/// Reads a module whose satellites are made or checked.
/// @throws Failure when it cannot be read, a resource with texts is damaged, or it has no
/// resources.
ResourceFile readModule(const std::wstring& path);

/// All texts of a file, in the order strings, menus, dialogs.
/// @throws Unreadable when a resource is truncated or damaged.
std::vector<PlacedText> textsOf(const ResourceFile& file);

/// The texts by position.
std::map<std::wstring, std::wstring> textsByContext(const ResourceFile& file);

}  // namespace satellites
