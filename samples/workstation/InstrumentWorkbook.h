#pragma once

#include <optional>

#include <I18nResource.h>

#include "samples/workstation/Instrument.h"

// Functions that convert instruments to and from a workbook. The first row of the workbook contains
// the titles. Each of the other rows represents a field. The last cell of such a row contains the
// value and a formula that requests the value. Fields without names are skipped.

/// @param titles  The titles of the three columns: instrument, field, value.
/// @return false if the workbook cannot be written.
bool writeWorkbook(const Instruments& instruments, const std::vector<std::wstring>& titles,
                   OrvexClipboard::FormatXML4Spdsheet& workbook);

/// Returns the instruments and fields that the formulas of an imported workbook request. Formulas
/// after the first invalid formula are not read.
Instruments readWorkbook(OrvexClipboard::FormatXML4Spdsheet& workbook);
