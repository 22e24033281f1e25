#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "clipboard/CDataObject.h"
#include "clipboard/ReadText.h"
#include "i18nstr/i18nstr.h"
#include "platform/Bstr.h"
#include "platform/Dom.h"
#include "platform/LockedGlobal.h"
#include "platform/StgMedium.h"
#include "platform/UniqueHandle.h"
#include "platform/UntrustedStream.h"
#include "platform/UntrustedXml.h"
#include "platform/Wine.h"

namespace {

namespace dom = platform::dom;

// Returns a stream that contains the XML text of a document. QueryInterface is not a const method,
// but it does not change the document.
HRESULT streamOf(const IXMLDOMDocument2& doc, ATL::CComPtr<IStream>& stream) {
    const HRESULT hr = platform::wine::queryStream(const_cast<IXMLDOMDocument2&>(doc), stream);
    return SUCCEEDED(hr) && !stream ? E_NOINTERFACE : hr;
}

HRESULT sizeOf(IStream& stream, ULARGE_INTEGER& size) {
    STATSTG stat{};
    const HRESULT hr = stream.Stat(&stat, STATFLAG_DEFAULT);
    if (FAILED(hr)) return hr;
    // The name is not needed, but the caller of Stat must free it.
    const platform::TaskMemory<OLECHAR> name(stat.pwcsName);
    size = stat.cbSize;
    return hr;
}

// Fills `bytes` with data from the current position of the stream. If the stream ends early, the
// remaining bytes are unchanged.
HRESULT fillFromStream(IStream& stream, std::span<std::byte> bytes) {
    while (!bytes.empty()) {
        const auto requested = static_cast<ULONG>(bytes.size());
        ULONG read = 0;
        const HRESULT hr = stream.Read(bytes.data(), requested, &read);
        if (FAILED(hr)) return hr;
        if (hr != S_OK || read == 0) break;
        bytes = bytes.subspan(std::min(read, requested));
    }
    return S_OK;
}

// If the medium contains a stream, returns this stream. If the medium contains a block, returns a
// new stream that reads the block. The medium must outlive the new stream.
HRESULT openStream(const STGMEDIUM& medium, ATL::CComPtr<IStream>& stream) {
    if (medium.tymed == TYMED_ISTREAM && medium.pstm) {
        stream = medium.pstm;
        return S_OK;
    }
    if (medium.tymed == TYMED_HGLOBAL && medium.hGlobal)
        return ::CreateStreamOnHGlobal(medium.hGlobal, FALSE, &stream);
    return E_INVALIDARG;
}

// If `result` is S_OK, moves `document` to `*ppDoc` and returns S_OK. Otherwise returns E_FAIL.
// `result` is the result of loading the document.
HRESULT moveIfLoaded(HRESULT result, ATL::CComPtr<IXMLDOMDocument2>& document,
                     IXMLDOMDocument2** ppDoc) {
    if (result != S_OK) return E_FAIL;
    *ppDoc = document.Detach();
    return S_OK;
}

}  // namespace

HRESULT CDataObject::AcceptXMLData(IDataObject& obj, unsigned long cf) {
    return acceptIStream(obj, cf) == S_OK ? S_OK : acceptHGlobal(obj, cf);
}

HRESULT CDataObject::SetXMLData(IDataObject& obj, unsigned long cf, const IXMLDOMDocument2& doc) {
    ATL::CComPtr<IStream> stream;
    const HRESULT hr = streamOf(doc, stream);
    if (FAILED(hr)) return hr;
    return platform::StgMedium(std::move(stream)).storeIn(obj, formatIStream(cf));
}

HRESULT CDataObject::SetXMLData(IDataObject& obj, unsigned long cf, unsigned long tymed,
                                const IXMLDOMDocument2& doc) {
    if (tymed == TYMED_ISTREAM) return SetXMLData(obj, cf, doc);
    if (tymed != TYMED_HGLOBAL) return E_INVALIDARG;

    ATL::CComPtr<IStream> stream;
    HRESULT hr = streamOf(doc, stream);
    if (FAILED(hr)) return hr;
    ULARGE_INTEGER size{};
    hr = sizeOf(*stream, size);
    if (FAILED(hr)) return hr;
    if (size.HighPart != 0) return E_OUTOFMEMORY;

    platform::GlobalBlock block(::GlobalAlloc(GHND, size.LowPart));
    {
        const platform::LockedGlobal locked(block.get());
        // If the stream is empty, the function fails here, because the system cannot lock an empty
        // block.
        if (locked.bytes().empty()) return E_OUTOFMEMORY;
        hr = fillFromStream(*stream, locked.bytes().first(size.LowPart));
        if (FAILED(hr)) return hr;
    }
    return platform::StgMedium(std::move(block)).storeIn(obj, formatHGlobal(cf));
}

HRESULT CDataObject::SetXMLAsUTF8Data(IDataObject& obj, unsigned long cf,
                                      const IXMLDOMDocument2& doc) {
    return SetXMLAsTextData(obj, cf, true, doc);
}

HRESULT CDataObject::SetXMLAsBSTRData(IDataObject& obj, unsigned long cf,
                                      const IXMLDOMDocument2& doc) {
    return SetXMLAsTextData(obj, cf, false, doc);
}

HRESULT CDataObject::SetXMLAsTextData(IDataObject& obj, unsigned long cf, bool utf8,
                                      const IXMLDOMDocument2& doc) {
    platform::Bstr xml;
    const HRESULT hr = dom::readXml(doc, xml);
    if (FAILED(hr)) return hr;
    if (!utf8) return SetTextData(obj, cf, xml.get(), -1);

    std::string text;
    // The conversion fails if `xml` is null or if the UTF-8 text has more than INT_MAX bytes. If
    // `xml` is null, an empty string is stored.
    if (!i18nstr::wide2UTF8(xml.get(), -1, text) && xml.get()) return E_OUTOFMEMORY;
    return SetTextData(obj, cf, text.c_str(), -1);
}

HRESULT CDataObject::QueryXMLData(const IDataObject& obj, unsigned long cf,
                                  IXMLDOMDocument2** ppDoc) {
    return QueryXMLData(obj, cf, dom::kDocument30, ppDoc);
}

HRESULT CDataObject::QueryXML6Data(const IDataObject& obj, unsigned long cf,
                                   IXMLDOMDocument2** ppDoc) {
    return QueryXMLData(obj, cf, dom::kDocument60, ppDoc);
}

HRESULT CDataObject::QueryXMLAsUTF8Data(const IDataObject& obj, unsigned long cf,
                                        IXMLDOMDocument2** ppDoc) {
    return QueryXMLAsTextData(obj, cf, true, dom::kDocument30, ppDoc);
}

HRESULT CDataObject::QueryXML6AsUTF8Data(const IDataObject& obj, unsigned long cf,
                                         IXMLDOMDocument2** ppDoc) {
    return QueryXMLAsTextData(obj, cf, true, dom::kDocument60, ppDoc);
}

HRESULT CDataObject::QueryXMLAsBSTRData(const IDataObject& obj, unsigned long cf,
                                        IXMLDOMDocument2** ppDoc) {
    return QueryXMLAsTextData(obj, cf, false, dom::kDocument30, ppDoc);
}

HRESULT CDataObject::QueryXML6AsBSTRData(const IDataObject& obj, unsigned long cf,
                                         IXMLDOMDocument2** ppDoc) {
    return QueryXMLAsTextData(obj, cf, false, dom::kDocument60, ppDoc);
}

HRESULT CDataObject::QueryXMLData(const IDataObject& obj, unsigned long cf, const GUID& clsid,
                                  IXMLDOMDocument2** ppDoc) {
    if (!ppDoc) return E_POINTER;
    *ppDoc = nullptr;

    platform::StgMedium medium;
    HRESULT hr = medium.receiveFrom(obj, formatIStream(cf));
    if (FAILED(hr)) hr = medium.receiveFrom(obj, formatHGlobal(cf));
    if (FAILED(hr)) return hr;
    ATL::CComPtr<IStream> stream;
    hr = openStream(medium.get(), stream);
    if (FAILED(hr)) return hr;

    ATL::CComPtr<IXMLDOMDocument2> document;
    hr = platform::createUntrustedDocument(clsid, platform::Contents::markup, document);
    if (FAILED(hr)) return hr;
    hr = stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
    if (FAILED(hr)) return hr;
    dom::selectWithXPath(*document);
    ATL::CComPtr<IStream> contents = stream;
    if (medium.get().tymed == TYMED_ISTREAM) hr = platform::readUntrustedStream(*stream, contents);
    if (hr == E_OUTOFMEMORY) return hr;
    if (SUCCEEDED(hr)) hr = dom::loadObject(*document, *contents);
    return moveIfLoaded(hr, document, ppDoc);
}

HRESULT CDataObject::QueryXMLAsTextData(const IDataObject& obj, unsigned long cf, bool utf8,
                                        const GUID& clsid, IXMLDOMDocument2** ppDoc) {
    if (!ppDoc) return E_POINTER;
    *ppDoc = nullptr;

    // Use the text only up to its first NUL. The length that QueryTextData reports is the size of
    // the block, and the bytes after the text are unspecified.
    platform::Bstr text;
    if (utf8) {
        std::unique_ptr<char[]> narrow;
        const HRESULT hr = readText(obj, cf, narrow);
        if (FAILED(hr)) return hr;
        std::wstring wide;
        i18nstr::UTF82wide(narrow.get(), -1, wide);
        text = platform::Bstr(wide);
    } else {
        std::unique_ptr<wchar_t[]> wide;
        const HRESULT hr = readText(obj, cf, wide);
        if (FAILED(hr)) return hr;
        text = platform::Bstr(wide.get());
    }

    ATL::CComPtr<IXMLDOMDocument2> document;
    const HRESULT hr =
        platform::createUntrustedDocument(clsid, platform::Contents::markup, document);
    if (FAILED(hr)) return hr;
    // Compatibility: this function does not set the selection language, because callers write their
    // queries in the default selection language of the document class.
    return moveIfLoaded(dom::loadText(*document, text), document, ppDoc);
}

HRESULT CDataObject::createXMLFromIDataObject(const IDataObject& obj, IXMLDOMDocument2** ppDoc) {
    return createXMLFromIDataObject(obj, dom::kDocument30, ppDoc);
}

HRESULT CDataObject::createXML6FromIDataObject(const IDataObject& obj, IXMLDOMDocument2** ppDoc) {
    return createXMLFromIDataObject(obj, dom::kDocument60, ppDoc);
}

HRESULT CDataObject::createXMLFromIDataObject(const IDataObject& obj, const GUID& clsid,
                                              IXMLDOMDocument2** ppDoc) {
    if (!ppDoc) return E_POINTER;
    *ppDoc = nullptr;

    ATL::CComPtr<IXMLDOMDocument2> document;
    const HRESULT hr = dom::createDocument(clsid, document);
    if (FAILED(hr)) return hr;
    ATL::CComPtr<IXMLDOMNode> entries;
    if (!document || FAILED(dom::appendElement(*document, *document, L"Entries", entries)))
        return E_FAIL;

    const auto append = [&](std::wstring_view name, std::wstring_view value) {
        ATL::CComPtr<IXMLDOMNode> entry;
        addChildtoNode(document, entries, platform::Bstr(L"Entry").get(), nullptr, &entry);
        if (!entry) return;
        addChildtoNode(document, entry, platform::Bstr(L"Name").get(), platform::Bstr(name).get(),
                       nullptr);
        addChildtoNode(document, entry, platform::Bstr(L"Value").get(), platform::Bstr(value).get(),
                       nullptr);
    };

    unsigned __int64 length = 0;
    std::unique_ptr<wchar_t[]> wide;
    if (SUCCEEDED(readText(obj, CF_UNICODETEXT, wide, &length)) && length > 0)
        append(L"UNICODE TEXT", wide.get());
    std::unique_ptr<char[]> narrow;
    if (SUCCEEDED(readText(obj, CF_TEXT, narrow, &length)) && length > 0) {
        std::wstring text;
        i18nstr::mb2wide(narrow.get(), -1, text);
        append(L"TEXT", text);
    }

    *ppDoc = document.Detach();
    return S_OK;
}

// Compatibility: the function returns S_OK even if the element cannot be added. In this
// case, callers receive the document without the element.
HRESULT CDataObject::addChildtoNode(IXMLDOMDocument2* doc, IXMLDOMNode* parent, wchar_t* name,
                                    wchar_t* text, IXMLDOMNode** child) {
    if (child) *child = nullptr;
    ATL::CComPtr<IXMLDOMNode> element;
    if (SUCCEEDED(dom::createElement(*doc, name, element))) {
        if (text) element->put_text(text);
        parent->appendChild(element, child);
    }
    return S_OK;
}
