#pragma once

#include <string>

#include <I18nResource.h>

/// Parses an XML file. The parser does not read external files to which the XML refers.
/// @throws Failure with kBadFile. The message includes the line number if the parser reports one.
ATL::CComPtr<IXMLDOMDocument2> readXmlFile(const std::wstring& path);

/// Returns the XML text of the document.
std::wstring textOf(IXMLDOMDocument2& document);
