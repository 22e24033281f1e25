#pragma once

#include <optional>

#include <I18nResource.h>

#include "samples/workstation/Instrument.h"

// Instruments as a workbook: a row for each field, whose last cell is a formula that requests the
// value.

/// @param titles  The titles of the three columns: instrument, field, value.
/// @return false when the workbook refuses them.
bool writeWorkbook(const Instruments& instruments, const std::vector<std::wstring>& titles,
                   OrvexClipboard::FormatXML4Spdsheet& workbook);

/// The formulas of an imported workbook, as instruments with requests. The first invalid formula
/// ends the reading.
Instruments readWorkbook(OrvexClipboard::FormatXML4Spdsheet& workbook);
