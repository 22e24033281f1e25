#pragma once

#include <windows.h>

#include <msxml2.h>

#include "dll/atl.h"

/// Functions that create documents for untrusted content, such as XML from the clipboard. The
/// library uses these functions to load XML from a data object, and for every document that
/// `FormatXML` or `FormatXML4Spdsheet` imports or copies. The library does not use these functions
/// for the XML resources of modules or for the text that `FormatCCFPersistData::ExportData` parses.
/// Documents for that content have the default settings of their classes.
namespace platform {

enum class Contents {
    markup,    ///< Bytes or characters that the document parses.
    document,  ///< The contents or the XML text of another document.
};

/// Creates an empty document for untrusted content. The document loads synchronously, does not
/// resolve external definitions or entities, and does not validate. `Interface` is IXMLDOMDocument
/// or IXMLDOMDocument2.
///
/// For `Contents::markup`, the document also has two limits. The document rejects document type
/// declarations, because they can define entities that expand to a huge amount of text. The
/// document also rejects elements that are nested more than 256 levels deep. The function does not
/// change a limit that is on by default, and skips a limit that the class does not support. In the
/// MSXML 3.0 class, both limits are off by default.
///
/// For `Contents::document`, the function does not set these limits. Without the limits, an MSXML
/// 3.0 document accepts document type declarations and elements at any depth.
///
/// If the document rejects a setting, the function still succeeds.
///
/// @param[out] document  Null on failure.
/// @return S_OK on success; E_FAIL if CoCreateInstance succeeds but returns no document; otherwise
///         the error code from CoCreateInstance.
/// @throws _com_error with E_OUTOFMEMORY if memory runs out.
template <class Interface>
HRESULT createUntrustedDocument(REFCLSID documentClass, Contents contents,
                                ATL::CComPtr<Interface>& document);

/// Creates a document with createUntrustedDocument() and copies the contents of `source` to it. The
/// copy preserves white space if the `preserveWhiteSpace` property of `source` is true.
/// @param[out] copy  Null on failure.
/// @return S_OK on success; E_FAIL if `load` succeeds but reports that the document was not loaded;
///         otherwise the error code from the call that failed.
/// @throws _com_error with E_OUTOFMEMORY if memory runs out.
HRESULT copyDocument(REFCLSID documentClass, IXMLDOMDocument& source,
                     ATL::CComPtr<IXMLDOMDocument2>& copy);

}  // namespace platform
