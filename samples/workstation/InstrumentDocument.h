#pragma once

#include <optional>

#include <I18nResource.h>

#include "samples/workstation/Instrument.h"

// Instruments as the instrument document of the library.

/// @return false when the document refuses them.
bool writeDocument(const Instruments& instruments, OrvexClipboard::FormatXML& document);

/// Nothing for a document of another kind.
std::optional<Instruments> readDocument(IXMLDOMDocument2& document);
