#pragma once

#include <string>

#include <I18nResource.h>

/// Prints the cells of a workbook and the requests of its formulas.
/// @throws Failure with kBadFile for a file that is not a workbook, with kRefused, after the cells
///         are printed, when a formula cannot be read.
void printFile(const std::wstring& path, OrvexClipboard::FormatXML4Spdsheet::Reading reading);

/// The same for the workbook in `object`.
/// @throws Failure with kNothingToPaste when there is none, with kRefused.
void printPasted(IDataObject& object, OrvexClipboard::FormatXML4Spdsheet::Reading reading);
