#pragma once

#include <windows.h>

#include "clipboard/CDataObject.h"
#include "dll/atl.h"

namespace OrvexClipboard {

/// Reads the XML text that `data` offers in the clipboard format `cf` and imports it into
/// `document`. `Document` must have an `importFromXML` member function.
/// @return S_OK; E_FAIL if the text cannot be read, if it is not well-formed XML, or if
///         `importFromXML` returns false.
template <class Document>
HRESULT importDocument(IDataObject& data, unsigned int cf, Document& document) {
    ATL::CComPtr<IXMLDOMDocument2> source;
    if (FAILED(CDataObject::QueryXMLAsUTF8Data(data, cf, &source))) return E_FAIL;
    return document.importFromXML(*source) ? S_OK : E_FAIL;
}

/// Stores the XML text of `document` in `data`, in the clipboard format `cf`. `Document` must have
/// an `exportToXML` member function.
/// @return E_FAIL if `exportToXML` returns false; otherwise see `CDataObject::SetXMLAsUTF8Data`.
template <class Document>
HRESULT exportDocument(IDataObject& data, unsigned int cf, Document& document) {
    ATL::CComPtr<IXMLDOMDocument2> copy;
    if (!document.exportToXML(&copy)) return E_FAIL;
    return CDataObject::SetXMLAsUTF8Data(data, cf, *copy);
}

}  // namespace OrvexClipboard
