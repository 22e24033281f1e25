#pragma once

#include <string>

#include <I18nResource.h>

#include "samples/exchange/CsvFile.h"

/// Writes the portfolio of a CSV file, whose name becomes that of the portfolio, into a document
/// that has not begun yet.
/// @throws Failure with kBadFile, which names the line.
void writePortfolio(const CsvFile& file, OrvexClipboard::FormatXML& document);

/// Writes the same file as it stands, header and all, into a workbook that has not begun yet. For a
/// file that writePortfolio took.
void writeWorkbook(const CsvFile& file, OrvexClipboard::FormatXML4Spdsheet& workbook);
