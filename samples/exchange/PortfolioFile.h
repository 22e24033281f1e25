#pragma once

#include <string>

#include <I18nResource.h>

#include "samples/exchange/CsvFile.h"

/// Writes the portfolio of a CSV file into a new document. The name of the file becomes the name of
/// the portfolio.
/// @throws Failure with kBadFile, which names the line.
void writePortfolio(const CsvFile& file, OrvexClipboard::FormatXML& document);

/// Writes the same file, with its header, into a new workbook. For a file that writePortfolio has
/// accepted.
void writeWorkbook(const CsvFile& file, OrvexClipboard::FormatXML4Spdsheet& workbook);
