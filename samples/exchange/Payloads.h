#pragma once

#include <optional>
#include <string>

#include <I18nResource.h>

/// The narrow text of `object` in a format, up to its terminator.
std::optional<std::wstring> narrowText(IDataObject& object, unsigned int format);

/// The plain text of `object`: the wide text if there is one.
std::optional<std::wstring> plainText(IDataObject& object);
