#pragma once

#include <string>

#include <I18nResource.h>

/// Creates a workbook from a CSV file. A cell that begins with "=" is written as a formula, and any
/// other cell is written as text. The program that opens the workbook computes the values of
/// formulas.
/// @throws Failure with kBadFile if the CSV file cannot be read or parsed. If it cannot be parsed,
/// the message includes the line number.
ATL::CComPtr<IXMLDOMDocument2> workbookOf(const std::wstring& csvFile);

/// Writes the workbook to a file in UTF-8. An existing file is replaced.
/// @throws Failure with kBadFile if the file cannot be written.
void save(IXMLDOMDocument2& workbook, const std::wstring& path);

/// Stores the workbook in a data object, for programs that read the "XML Spreadsheet" format.
/// @throws Failure with kRefused if the workbook cannot be stored.
void put(IDataObject& object, IXMLDOMDocument2& workbook);
