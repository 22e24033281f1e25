#pragma once

#include <string>
#include <vector>

#include <I18nResource.h>

/// Returns the child elements named `name`, in document order. Names are compared exactly,
/// including the prefix. By default, the library compares names in the same way.
std::vector<ATL::CComPtr<IXMLDOMElement>> elements(IXMLDOMNode& parent, const wchar_t* name);

/// Returns the rows of the first worksheet.
std::vector<ATL::CComPtr<IXMLDOMElement>> rowsOf(IXMLDOMDocument2& workbook);
