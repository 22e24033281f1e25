#pragma once

#include <optional>

#include <I18nResource.h>

#include "samples/workstation/Instrument.h"

// Instruments as a workbook: a row for each field, whose last cell is a formula that asks for the
// value.

/// @param titles  Of the columns: instrument, field, value.
/// @return false when the workbook refuses them.
bool writeWorkbook(const Instruments& instruments, const std::vector<std::wstring>& titles,
                   OrvexClipboard::FormatXML4Spdsheet& workbook);

/// The formulas of a workbook that was imported, as instruments with requests. A formula that
/// cannot be understood ends the reading.
Instruments readWorkbook(OrvexClipboard::FormatXML4Spdsheet& workbook);
