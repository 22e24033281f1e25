#pragma once

#include <string>

#include <I18nResource.h>

/// Parses an XML file. What it refers to outside itself is not fetched.
/// @throws Failure with kBadFile, which names the line when the parser does.
ATL::CComPtr<IXMLDOMDocument2> readXmlFile(const std::wstring& path);

/// The document as text.
std::wstring textOf(IXMLDOMDocument2& document);
