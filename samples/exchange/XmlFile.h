#pragma once

#include <string>

#include <I18nResource.h>

/// Parses an XML file. The parser does not read external files to which the XML refers.
/// @throws Failure
/// - with kBadFile if the file cannot be read or is not well-formed XML. The message for a parse
///   error includes the line number if the parser reports one.
/// - with kRefused if the system has no XML parser or if memory runs out.
ATL::CComPtr<IXMLDOMDocument2> readXmlFile(const std::wstring& path);

/// Returns the XML text of the document.
/// @throws Failure with kRefused if the text cannot be created.
std::wstring textOf(IXMLDOMDocument2& document);
