#pragma once

#include <optional>
#include <string>

#include <I18nResource.h>

/// Returns the narrow text that `object` contains in the given format, up to the first NUL. Returns
/// no value if the text cannot be read.
std::optional<std::wstring> narrowText(IDataObject& object, unsigned int format);

/// Returns the text that `object` contains as CF_UNICODETEXT or, if that cannot be read, as
/// CF_TEXT. Returns no value if neither format can be read.
std::optional<std::wstring> plainText(IDataObject& object);
