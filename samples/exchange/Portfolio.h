#pragma once

#include <string>
#include <vector>

#include <I18nResource.h>

#include "samples/exchange/CsvFile.h"

/// An instrument as the instrument document gives it to its readers.
struct Instrument {
    std::wstring itemCode, keyLetter;
    std::vector<std::wstring> fields;  ///< NAME or NAME:ID
};

struct Portfolio {
    std::vector<std::wstring> names;
    std::vector<Instrument> instruments;
};

/// Writes the portfolio of a CSV file, whose name becomes that of the portfolio, into a document
/// that has not begun yet.
/// @throws Failure with kBadFile, which names the line.
void writePortfolio(const CsvFile& file, OrvexClipboard::FormatXML& document);

/// Writes the same file as it stands, header and all, into a workbook that has not begun yet. For a
/// file that writePortfolio took.
void writeWorkbook(const CsvFile& file, OrvexClipboard::FormatXML4Spdsheet& workbook);

/// Reads a document that was imported; it is walked once.
Portfolio readPortfolio(OrvexClipboard::FormatXML& document);

/// An aligned table with a line for each instrument.
std::wstring tableOf(const Portfolio& portfolio);
