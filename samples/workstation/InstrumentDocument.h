#pragma once

#include <optional>

#include <I18nResource.h>

#include "samples/workstation/Instrument.h"

// Functions that convert instruments to and from an instrument document (see FormatXML).

/// @return false if an instrument cannot be added to the document.
bool writeDocument(const Instruments& instruments, OrvexClipboard::FormatXML& document);

/// Returns std::nullopt if the document is not an instrument document.
std::optional<Instruments> readDocument(IXMLDOMDocument2& document);
