#pragma once

#include <windows.h>

#include "clipboard/CDataObject.h"
#include "dll/atl.h"

namespace OrvexClipboard {

/// Reads the XML text that `data` holds under the format `cf` into `document`, which is any class
/// with importFromXML.
/// @return S_OK; E_FAIL when the text cannot be had, or `document` does not take it.
template <class Document>
HRESULT importDocument(IDataObject& data, unsigned int cf, Document& document) {
    ATL::CComPtr<IXMLDOMDocument2> source;
    if (FAILED(CDataObject::QueryXMLAsUTF8Data(data, cf, &source))) return E_FAIL;
    return document.importFromXML(*source) ? S_OK : E_FAIL;
}

/// Stores what `document`, any class with exportToXML, holds as XML text under the format `cf`.
/// @return SetData's result; E_FAIL if `document` holds nothing.
template <class Document>
HRESULT exportDocument(IDataObject& data, unsigned int cf, Document& document) {
    ATL::CComPtr<IXMLDOMDocument2> copy;
    if (!document.exportToXML(&copy)) return E_FAIL;
    return CDataObject::SetXMLAsUTF8Data(data, cf, *copy);
}

}  // namespace OrvexClipboard
