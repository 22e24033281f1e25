#pragma once

#include <optional>
#include <string>

#include <I18nResource.h>

/// Returns the narrow text of `object` in a format, up to the terminator. Returns no value if the
/// object does not have this format.
std::optional<std::wstring> narrowText(IDataObject& object, unsigned int format);

/// Returns the CF_UNICODETEXT text of `object`, or its CF_TEXT text if that fails.
std::optional<std::wstring> plainText(IDataObject& object);
