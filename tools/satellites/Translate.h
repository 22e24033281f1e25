#pragma once

#include <functional>
#include <optional>
#include <string>

#include "tools/satellites/ResourceFile.h"

namespace satellites {

/// Returns the translation of a text, or nothing if the text is not translated.
using Translator = std::function<std::optional<std::wstring>(const std::wstring& context,
                                                             const std::wstring& text)>;

/// Makes a satellite of a module from translated texts. Strings that are not translated are
/// omitted, so that the library finds them in another file. In menus and dialogs, texts that are
/// not translated are those of the module. Accelerator tables that `base` does not have are copied
/// from the module.
///
/// @param moduleName  The file name of the module.
/// @param base        Optional: a satellite from which all resources without texts are copied.
/// @throws Failure if the satellite cannot be made. In this case, nothing is written.
void makeSatellite(const ResourceFile& module, const std::wstring& moduleName,
                   const std::wstring& culture, const std::optional<std::wstring>& base,
                   const std::wstring& target, const Translator& translate);

/// Makes a satellite from a PO file. Fuzzy entries are skipped. Entries whose original text differs
/// from the module's text are also skipped, and are reported on standard error.
/// @throws Failure that lists all unusable entries with their lines.
void applyPo(const std::wstring& modulePath, const std::wstring& poPath,
             const std::wstring& culture, const std::optional<std::wstring>& base,
             const std::wstring& target);

/// Makes a satellite with altered texts. This satellite shows which texts of a program are not
/// localized, and where longer texts do not fit.
/// @param growth  How much longer the texts become, in percent.
void makePseudoSatellite(const std::wstring& modulePath, const std::wstring& culture,
                         unsigned growth, const std::wstring& target);

/// Alters a text: its letters get accents, characters are added to its end, and brackets enclose
/// it. Inserts, conversions, access keys, markup and the text after a tab do not change.
std::wstring pseudoTranslation(const std::wstring& text, unsigned growth);

}  // namespace satellites
