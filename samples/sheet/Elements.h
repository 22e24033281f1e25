#pragma once

#include <string>
#include <vector>

#include <I18nResource.h>

/// The child elements of that name in their order. Names are compared exactly, prefix included, as
/// the library compares them.
std::vector<ATL::CComPtr<IXMLDOMElement>> elements(IXMLDOMNode& parent, const wchar_t* name);

/// The rows of the first sheet.
std::vector<ATL::CComPtr<IXMLDOMElement>> rowsOf(IXMLDOMDocument2& workbook);
