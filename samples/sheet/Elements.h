#pragma once

#include <string>
#include <vector>

#include <I18nResource.h>

/// The child elements of that name in their order. Names are compared exactly, prefix included, as
/// the library compares them.
std::vector<ATL::CComPtr<IXMLDOMElement>> elements(IXMLDOMNode& parent, const wchar_t* name);

/// The rows of the first sheet.
std::vector<ATL::CComPtr<IXMLDOMElement>> rowsOf(IXMLDOMDocument2& workbook);

/// The value of the attribute; empty when there is none.
std::wstring attribute(IXMLDOMElement& element, const wchar_t* name);

/// The text between the element's tags.
std::wstring textOf(IXMLDOMElement& element);
