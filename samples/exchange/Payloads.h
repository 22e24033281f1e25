#pragma once

#include <optional>
#include <string>

#include <I18nResource.h>

/// Returns the narrow text that `object` contains in a format, up to the terminator. Returns no
/// value if the object does not have this format.
std::optional<std::wstring> narrowText(IDataObject& object, unsigned int format);

/// Returns the text that `object` contains as CF_UNICODETEXT or, if that cannot be read, as
/// CF_TEXT.
std::optional<std::wstring> plainText(IDataObject& object);
