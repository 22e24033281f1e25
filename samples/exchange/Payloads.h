#pragma once

#include <optional>
#include <string>

#include <I18nResource.h>

/// Reads the narrow text that `object` contains in the given format, up to the first NUL, and
/// returns it as wide text. Returns std::nullopt if the text cannot be read.
std::optional<std::wstring> narrowText(IDataObject& object, unsigned int format);

/// Returns the text that `object` contains as CF_UNICODETEXT. If it cannot be read, returns the
/// text that `object` contains as CF_TEXT. Returns std::nullopt if neither format can be read.
std::optional<std::wstring> plainText(IDataObject& object);
