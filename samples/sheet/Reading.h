#pragma once

#include <string>

#include <I18nResource.h>

/// Prints the cells of a workbook and the requests that its formulas make.
/// @throws Failure with kBadFile if the file cannot be read or is not a workbook, or with kRefused
///         if the cells or a formula cannot be read. The cells are printed even if a formula cannot
///         be read.
void printFile(const std::wstring& path, OrvexClipboard::FormatXML4Spdsheet::Reading reading);

/// Prints the workbook in `object` in the same way as printFile().
/// @throws Failure with kNothingToPaste if `object` contains no workbook, or with kRefused if the
///         workbook or a formula cannot be read.
void printPasted(IDataObject& object, OrvexClipboard::FormatXML4Spdsheet::Reading reading);
