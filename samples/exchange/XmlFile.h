#pragma once

#include <string>

#include <I18nResource.h>

/// Parses an XML file. External files that it names are not read.
/// @throws Failure with kBadFile, which names the line if the parser reports it.
ATL::CComPtr<IXMLDOMDocument2> readXmlFile(const std::wstring& path);

/// The document as text.
std::wstring textOf(IXMLDOMDocument2& document);
