#include "formats/FormatCCFPersistData.h"

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>

#include <new>

#include "clipboard/CDataObject.h"
#include "dll/atl.h"
#include "formats/RegisteredFormat.h"
#include "platform/ComError.h"
#include "platform/Dom.h"

namespace OrvexClipboard {

namespace {

constinit RegisteredFormat s_format(L"TARLO_CCF_PERSISTDATA");

}  // namespace

const wchar_t* FormatCCFPersistData::GetClipboardName() { return s_format.name(); }

unsigned int FormatCCFPersistData::GetClipboardID() { return s_format.id(); }

HRESULT FormatCCFPersistData::AcceptData(IDataObject& obj) {
    return CDataObject::AcceptXMLData(obj, GetClipboardID());
}

HRESULT FormatCCFPersistData::ImportData(IDataObject& obj, IXMLDOMDocument2** doc) {
    return CDataObject::QueryXMLData(obj, GetClipboardID(), doc);
}

HRESULT FormatCCFPersistData::ImportXML6Data(IDataObject& obj, IXMLDOMDocument2** doc) {
    return CDataObject::QueryXML6Data(obj, GetClipboardID(), doc);
}

HRESULT FormatCCFPersistData::ExportData(IDataObject& obj, IXMLDOMDocument2& doc) {
    return CDataObject::SetXMLData(obj, GetClipboardID(), doc);
}

HRESULT FormatCCFPersistData::ImportData(IDataObject& obj, wchar_t** xml) {
    if (!xml) return E_POINTER;
    *xml = nullptr;

    ATL::CComPtr<IXMLDOMDocument2> document;
    HRESULT hr = ImportData(obj, &document);
    if (FAILED(hr)) return hr;

    platform::Bstr text;
    try {
        hr = platform::dom::readXml(*document, text);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    if (SUCCEEDED(hr)) *xml = text.detach();
    return hr;
}

HRESULT FormatCCFPersistData::ExportData(IDataObject& obj, wchar_t* xml) {
    // Test the first character instead of calling SysStringLen, because callers may pass a string
    // literal, which has no length prefix.
    if (!xml || *xml == L'\0') return E_POINTER;

    CLSID documentClass;
    HRESULT hr = ::CLSIDFromProgID(L"Msxml2.DOMDocument.3.0", &documentClass);
    if (FAILED(hr)) return hr;
    ATL::CComPtr<IXMLDOMDocument2> document;
    hr = platform::dom::createDocument(documentClass, document);
    if (FAILED(hr)) return hr;
    if (!document) platform::throwComError(E_FAIL);

    VARIANT_BOOL parsed = VARIANT_FALSE;
    hr = document->loadXML(xml, &parsed);
    if (hr != S_OK) return hr;
    return ExportData(obj, *document);
}

}  // namespace OrvexClipboard
