#pragma once

#include <optional>
#include <string>

#include <I18nResource.h>

/// The narrow text that `object` holds under a format, up to its terminator.
std::optional<std::wstring> narrowText(IDataObject& object, unsigned int format);

/// The plain text that `object` holds: the wide one where there is one.
std::optional<std::wstring> plainText(IDataObject& object);
