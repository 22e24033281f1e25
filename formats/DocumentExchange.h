#pragma once

#include <windows.h>

#include "clipboard/CDataObject.h"
#include "dll/atl.h"

namespace OrvexClipboard {

/// Reads the XML text of `data` in the format `cf` into `document`, which is of any class with
/// importFromXML.
/// @return S_OK; E_FAIL when the text cannot be read, or `document` refuses it.
template <class Document>
HRESULT importDocument(IDataObject& data, unsigned int cf, Document& document) {
    ATL::CComPtr<IXMLDOMDocument2> source;
    if (FAILED(CDataObject::QueryXMLAsUTF8Data(data, cf, &source))) return E_FAIL;
    return document.importFromXML(*source) ? S_OK : E_FAIL;
}

/// Stores the XML text of `document`, which is of any class with exportToXML, in the format `cf`.
/// @return SetData's result; E_FAIL if `document` has no contents.
template <class Document>
HRESULT exportDocument(IDataObject& data, unsigned int cf, Document& document) {
    ATL::CComPtr<IXMLDOMDocument2> copy;
    if (!document.exportToXML(&copy)) return E_FAIL;
    return CDataObject::SetXMLAsUTF8Data(data, cf, *copy);
}

}  // namespace OrvexClipboard
