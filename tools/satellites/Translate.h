#pragma once

#include <functional>
#include <optional>
#include <string>

#include "tools/satellites/ResourceFile.h"

namespace satellites {

/// Makes the translation of a text; nothing leaves the module's text.
using Translator = std::function<std::optional<std::wstring>(const std::wstring& context,
                                                             const std::wstring& text)>;

/// Makes a satellite of a module out of translated texts. Strings that are not translated are left
/// out, so that the library finds them elsewhere; in menus and dialogs the module's text stays.
/// Accelerator tables are the module's.
///
/// @param moduleName  The file name of the module.
/// @param base        Optional: a satellite from which all resources are taken that hold no texts.
/// @throws Failure; nothing is written then.
void makeSatellite(const ResourceFile& module, const std::wstring& moduleName,
                   const std::wstring& culture, const std::optional<std::wstring>& base,
                   const std::wstring& target, const Translator& translate);

/// Makes a satellite out of a PO file. Fuzzy entries and those of an earlier text are left out; the
/// latter are reported on standard error.
/// @throws Failure with all entries that cannot be used and their lines.
void applyPo(const std::wstring& modulePath, const std::wstring& poPath,
             const std::wstring& culture, const std::optional<std::wstring>& base,
             const std::wstring& target);

/// Makes a satellite of altered texts, to see which texts of a program are not localized and where
/// translations do not fit.
/// @param growth  By which the texts become longer, in percent.
void makePseudoSatellite(const std::wstring& modulePath, const std::wstring& culture,
                         unsigned growth, const std::wstring& target);

/// Alters a text: accents on its letters, more characters, brackets at both ends. Inserts,
/// conversions, access keys, markup and the text after a tab stay.
std::wstring pseudoTranslation(const std::wstring& text, unsigned growth);

}  // namespace satellites
