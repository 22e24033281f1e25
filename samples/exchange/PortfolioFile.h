#pragma once

#include <string>

#include <I18nResource.h>

#include "samples/exchange/CsvFile.h"

/// Reads a portfolio from a CSV file and writes it to `document`, which must be new. The name of
/// the portfolio is the file name without its extension.
/// @throws Failure with kBadFile if the file does not contain a portfolio, or with kRefused if the
///         document cannot be written. For kBadFile, the message includes the line number.
void writePortfolio(const CsvFile& file, OrvexClipboard::FormatXML& document);

/// Writes the rows of the file, including the header, to `workbook`, which must be new. Call this
/// function only after writePortfolio() has succeeded for the file.
void writeWorkbook(const CsvFile& file, OrvexClipboard::FormatXML4Spdsheet& workbook);
