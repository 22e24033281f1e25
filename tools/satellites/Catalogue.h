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

/// A translatable string in a module or satellite, and its context. The context identifies the
/// string within the module or satellite:
/// - "STRING.7" for the string with the id 7;
/// - "MENU.1/0/2" for the entry at position 2 of the popup at position 0 of menu 1 (positions are
///   zero-based);
/// - "DIALOG.101" for the caption of dialog 101;
/// - "DIALOG.101/1002" for the control with the id 1002, and "DIALOG.101/1002#2" for the second
///   control with this id.
struct TranslatableText {
    std::wstring context;
    std::wstring text;
};

/// A function that is called for each string in a resource. `entry` identifies the string within
/// the resource, for example "0/2" for a menu entry or "1002" for a control. `entry` is empty for
/// the caption of a dialog. The function may change `text`.
using TextVisitor = std::function<void(const std::wstring& entry, std::wstring& text)>;

/// Calls `visit` for each non-empty string in a menu or dialog, in the order in which the strings
/// appear in the resource.
void forEachText(MenuTemplate& menu, const TextVisitor& visit);
void forEachText(DialogTemplate& dialog, const TextVisitor& visit);

/// Returns one string for each control of a dialog. The string is the part of a context that
/// identifies the control within the dialog (see TranslatableText). For example, "1002"
/// identifies the first control with the id 1002, and "1002#2" identifies the second.
std::vector<std::wstring> entriesOf(const DialogTemplate& dialog);

std::wstring contextOf(unsigned stringId);
std::wstring contextOf(const wchar_t* kind, const ResourceId& name, const std::wstring& entry);

/// @throws Failure if the file cannot be read.
ResourceFile readResourceFile(const std::wstring& path);

/// Reads a module in order to create or check its satellites.
/// @throws Failure if the module cannot be read or has no resources, or if one of its string
/// tables, menus or dialogs is damaged.
ResourceFile readModule(const std::wstring& path);

/// Returns all translatable strings of a file: first the strings in the string table, then those in
/// the menus, then those in the dialogs.
/// @throws Unreadable if a resource is truncated or damaged.
std::vector<TranslatableText> textsOf(const ResourceFile& file);

/// Returns a map from contexts to the translatable strings of a file.
std::map<std::wstring, std::wstring> textsByContext(const ResourceFile& file);

}  // namespace satellites
