#pragma once

#include <string>
#include <vector>

#include <I18nResource.h>

/// Returns the child elements named `name`, in document order. Names are compared exactly,
/// including the prefix, as the library compares them by default.
std::vector<ATL::CComPtr<IXMLDOMElement>> elements(IXMLDOMNode& parent, const wchar_t* name);

/// Returns the rows of the first worksheet.
std::vector<ATL::CComPtr<IXMLDOMElement>> rowsOf(IXMLDOMDocument2& workbook);
