#pragma once

#include <optional>

#include <I18nResource.h>

#include "samples/workstation/Instrument.h"

// Functions that convert instruments to and from an instrument document of the library (FormatXML).

/// @return false if an instrument cannot be added to the document.
bool writeDocument(const Instruments& instruments, OrvexClipboard::FormatXML& document);

/// Returns no value if the document is not an instrument document.
std::optional<Instruments> readDocument(IXMLDOMDocument2& document);
