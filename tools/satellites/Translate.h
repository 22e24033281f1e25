#pragma once

#include <functional>
#include <optional>
#include <string>

#include "tools/satellites/ResourceFile.h"

namespace satellites {

/// Returns the translation of a text; nothing keeps the module's text.
using Translator = std::function<std::optional<std::wstring>(const std::wstring& context,
                                                             const std::wstring& text)>;

/// Makes a satellite of a module from translated texts. Strings that are not translated are
/// omitted, so that the library finds them elsewhere; menus and dialogs keep the module's text.
/// Accelerator tables that `base` does not have are the module's.
///
/// @param moduleName  The file name of the module.
/// @param base        Optional: a satellite from which all resources without texts are copied.
/// @throws Failure; nothing is written then.
void makeSatellite(const ResourceFile& module, const std::wstring& moduleName,
                   const std::wstring& culture, const std::optional<std::wstring>& base,
                   const std::wstring& target, const Translator& translate);

/// Makes a satellite from a PO file. Fuzzy entries and those of an earlier text are skipped; the
/// latter are reported on standard error.
/// @throws Failure with all entries that cannot be used and their lines.
void applyPo(const std::wstring& modulePath, const std::wstring& poPath,
             const std::wstring& culture, const std::optional<std::wstring>& base,
             const std::wstring& target);

/// Makes a satellite with altered texts, which shows the texts of a program that are not localized
/// and the places where translations do not fit.
/// @param growth  The increase of the texts' length, in percent.
void makePseudoSatellite(const std::wstring& modulePath, const std::wstring& culture,
                         unsigned growth, const std::wstring& target);

/// Alters a text: accents on its letters, more characters, brackets at both ends. Inserts,
/// conversions, access keys, markup and the text after a tab do not change.
std::wstring pseudoTranslation(const std::wstring& text, unsigned growth);

}  // namespace satellites
