#pragma once

#include <functional>
#include <optional>
#include <string>

#include "tools/satellites/ResourceFile.h"

namespace satellites {

/// A function that returns the translation of a string, or std::nullopt if the string is not
/// translated.
using Translator = std::function<std::optional<std::wstring>(const std::wstring& context,
                                                             const std::wstring& text)>;

/// Creates a satellite for a module from translated strings. In string tables, strings that are not
/// translated are omitted, so that I18nResource.dll finds them in another satellite or in the
/// module. In menus and dialogs, strings that are not translated are copied from the module.
/// Accelerator tables that `base` does not contain are copied from the module.
///
/// @param moduleName  The file name of the module.
/// @param base        Optional. The path of an existing satellite. All its resources are copied,
///                    except string tables, menus, dialogs and version information.
/// @throws Failure if the satellite cannot be created. In this case, nothing is written.
void makeSatellite(const ResourceFile& module, const std::wstring& moduleName,
                   const std::wstring& culture, const std::optional<std::wstring>& base,
                   const std::wstring& target, const Translator& translate);

/// Creates a satellite from a PO file. Fuzzy entries are skipped. Entries whose original string
/// differs from the module's string are also skipped, and are reported on standard error.
/// @throws Failure if the satellite cannot be created. If entries of the PO file cannot be used,
///         the text of the Failure lists all of these entries with their line numbers.
void applyPo(const std::wstring& modulePath, const std::wstring& poPath,
             const std::wstring& culture, const std::optional<std::wstring>& base,
             const std::wstring& target);

/// Creates a satellite with altered strings. This satellite shows which strings of a program are
/// not localized, and where longer strings do not fit.
/// @param growth  Percentage by which the strings become longer.
void makePseudoSatellite(const std::wstring& modulePath, const std::wstring& culture,
                         unsigned growth, const std::wstring& target);

/// Alters a string: letters are replaced with accented letters, characters are added to the end,
/// and the string is enclosed in brackets. Inserts, conversions, access keys, markup and the text
/// after a tab do not change.
std::wstring pseudoTranslation(const std::wstring& text, unsigned growth);

}  // namespace satellites
