#pragma once

#include <string>

#include <I18nResource.h>

/// Prints the cells of a workbook and the requests for data that its formulas make.
/// @throws Failure with kBadFile for a file that is no workbook, with kRefused, after the cells are
///         printed, when a formula cannot be read.
void printFile(const std::wstring& path);

/// The same for the workbook that `object` offers.
/// @throws Failure with kNothingToPaste when it offers none, with kRefused.
void printPasted(IDataObject& object);
