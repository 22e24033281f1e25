#pragma once

#include <string>

#include <I18nResource.h>

/// Parses an XML file. The parser does not read external files to which the XML refers.
/// @throws Failure with kBadFile if the file cannot be read or is not well-formed XML, or with
///         kRefused if the system has no XML parser or memory runs out. For invalid XML, the
///         message includes the line number if the parser reports one.
ATL::CComPtr<IXMLDOMDocument2> readXmlFile(const std::wstring& path);

/// Returns the XML text of the document.
std::wstring textOf(IXMLDOMDocument2& document);
