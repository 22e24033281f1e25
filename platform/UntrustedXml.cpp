#include "platform/UntrustedXml.h"

#include <cstdint>
#include <string_view>

#include "platform/Bstr.h"
#include "platform/Dom.h"
#include "platform/Variant.h"

namespace platform {

namespace {

constexpr std::int32_t kMaxElementDepth = 256;  // the default limit of MSXML 6.0 documents

// Sets the property with the name `limit` to `value` if the limit is off. A limit is off if its
// property is FALSE or 0. The function has no effect if the document does not have the property.
// Wine's documents have neither ProhibitDTD nor MaxElementDepth.
void setLimit(IXMLDOMDocument2& document, std::wstring_view limit, const VARIANT& value) {
    const Bstr name(limit);
    Variant currentValue;
    VARIANT* const current = currentValue.receive();
    if (document.getProperty(name.get(), current) == S_OK &&
        ::VariantChangeType(current, current, 0, VT_BOOL) == S_OK &&
        current->boolVal == VARIANT_FALSE)
        document.setProperty(name.get(), value);
}

void limitMarkup(IXMLDOMDocument& document) {
    ATL::CComPtr<IXMLDOMDocument2> document2;
    if (FAILED(
            document.QueryInterface(dom::kIXMLDOMDocument2, reinterpret_cast<void**>(&document2))))
        return;
    VARIANT yes{};
    yes.vt = VT_BOOL;
    yes.boolVal = VARIANT_TRUE;
    setLimit(*document2, L"ProhibitDTD", yes);
    setLimit(*document2, L"MaxElementDepth", Variant(kMaxElementDepth).get());
}

}  // namespace

template <class Interface>
HRESULT createUntrustedDocument(REFCLSID documentClass, Contents contents,
                                ATL::CComPtr<Interface>& document) {
    const HRESULT hr = dom::createDocument(documentClass, document);
    if (FAILED(hr)) return hr;
    if (!document) return E_FAIL;
    document->put_async(VARIANT_FALSE);  // callers may free the source after load returns
    document->put_resolveExternals(VARIANT_FALSE);
    document->put_validateOnParse(VARIANT_FALSE);
    if (contents == Contents::markup) limitMarkup(*document);
    return S_OK;
}

template HRESULT createUntrustedDocument(REFCLSID, Contents, ATL::CComPtr<IXMLDOMDocument>&);
template HRESULT createUntrustedDocument(REFCLSID, Contents, ATL::CComPtr<IXMLDOMDocument2>&);

HRESULT copyDocument(REFCLSID documentClass, IXMLDOMDocument& source,
                     ATL::CComPtr<IXMLDOMDocument2>& copy) {
    HRESULT hr = createUntrustedDocument(documentClass, Contents::document, copy);
    if (FAILED(hr)) return hr;
    VARIANT_BOOL keepsWhiteSpace = VARIANT_FALSE;
    if (source.get_preserveWhiteSpace(&keepsWhiteSpace) == S_OK && keepsWhiteSpace)
        copy->put_preserveWhiteSpace(VARIANT_TRUE);
    hr = dom::loadObject(*copy, source);
    if (hr == S_FALSE) hr = E_FAIL;
    if (FAILED(hr)) copy.Release();
    return hr;
}

}  // namespace platform
