#include "platform/Dom.h"

#include <algorithm>

#include "platform/QuietErrorMode.h"
#include "platform/Wine.h"

namespace platform::dom {

namespace {

// Returns true if `text` contains no NUL and no unpaired surrogate.
bool isUtf16WithoutNul(std::wstring_view text) noexcept {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == L'\0' || IS_LOW_SURROGATE(text[i])) return false;
        if (!IS_HIGH_SURROGATE(text[i])) continue;
        if (++i == text.size() || !IS_LOW_SURROGATE(text[i])) return false;
    }
    return true;
}

// Reads the qualified name of a node if `namespaceUri` is empty; otherwise reads its local name.
HRESULT readName(IXMLDOMNode& node, std::wstring_view namespaceUri, Bstr& name) noexcept {
    return namespaceUri.empty() ? node.get_nodeName(name.receive())
                                : node.get_baseName(name.receive());
}

bool isInNamespace(IXMLDOMNode& node, std::wstring_view namespaceUri) noexcept {
    Bstr uri;
    return namespaceUri.empty() ||
           (SUCCEEDED(node.get_namespaceURI(uri.receive())) && uri.view() == namespaceUri);
}

HRESULT setProperty(IXMLDOMDocument2& document, std::wstring_view name, std::wstring_view text) {
    const Bstr property(name);
    const Variant value(text);
    return document.setProperty(property.get(), value.get());
}

// Combines the return value and the output parameter of `load` or loadXML. These methods return
// S_FALSE if the document was not loaded, but some implementations may report the failure only in
// the output parameter.
HRESULT combineResults(HRESULT hr, VARIANT_BOOL successful) noexcept {
    return SUCCEEDED(hr) && successful == VARIANT_FALSE ? S_FALSE : hr;
}

HRESULT load(IXMLDOMDocument& document, const Variant& source) noexcept {
    VARIANT_BOOL successful = VARIANT_FALSE;
    const HRESULT hr = wine::load(document, source, &successful);
    return combineResults(hr, successful);
}

}  // namespace

HRESULT createDocument(REFCLSID documentClass, ATL::CComPtr<IXMLDOMDocument2>& document) noexcept {
    document.Release();
    return ::CoCreateInstance(documentClass, nullptr, CLSCTX_ALL, kIXMLDOMDocument2,
                              reinterpret_cast<void**>(&document));
}

HRESULT createDocument(REFCLSID documentClass, ATL::CComPtr<IXMLDOMDocument>& document) noexcept {
    document.Release();
    return ::CoCreateInstance(documentClass, nullptr, CLSCTX_ALL, kIXMLDOMDocument,
                              reinterpret_cast<void**>(&document));
}

HRESULT selectWithXPath(IXMLDOMDocument2& document) {
    return setProperty(document, L"SelectionLanguage", L"XPath");
}

HRESULT selectWithXPath(IXMLDOMDocument2& document, std::wstring_view namespaces) {
    const HRESULT hr = selectWithXPath(document);
    return FAILED(hr) ? hr : setProperty(document, L"SelectionNamespaces", namespaces);
}

HRESULT loadText(IXMLDOMDocument& document, const Bstr& text) noexcept {
    VARIANT_BOOL successful = VARIANT_FALSE;
    const HRESULT hr = document.loadXML(text.get(), &successful);
    return combineResults(hr, successful);
}

HRESULT loadText(IXMLDOMDocument& document, std::wstring_view text) {
    return loadText(document, Bstr(text));
}

HRESULT loadObject(IXMLDOMDocument& document, IUnknown& source) noexcept {
    return load(document, Variant(source));
}

HRESULT loadFile(IXMLDOMDocument& document, std::wstring_view source) {
    const QuietErrorMode quiet;
    return load(document, Variant(source));
}

HRESULT readXml(const IXMLDOMNode& node, Bstr& text) {
    // IXMLDOMNode declares no const methods, but reading the text does not change the node.
    return wine::readXml(const_cast<IXMLDOMNode&>(node), text);
}

HRESULT createElement(IXMLDOMDocument& document, std::wstring_view name,
                      ATL::CComPtr<IXMLDOMNode>& element) {
    element.Release();
    const Variant type(static_cast<std::int32_t>(NODE_ELEMENT));
    const Bstr elementName(name);
    const Bstr noNamespace(L"");
    const HRESULT hr =
        document.createNode(type.get(), elementName.get(), noNamespace.get(), &element);
    return SUCCEEDED(hr) && !element ? E_FAIL : hr;
}

HRESULT createElement(IXMLDOMDocument& document, std::wstring_view name,
                      ATL::CComPtr<IXMLDOMElement>& element) {
    element.Release();
    const HRESULT hr = document.createElement(Bstr(name).get(), &element);
    return SUCCEEDED(hr) && !element ? E_FAIL : hr;
}

HRESULT putText(IXMLDOMNode& element, std::wstring_view text) {
    if (!isUtf16WithoutNul(text)) return E_INVALIDARG;
    return wine::putTypedText(element, Variant(text));
}

HRESULT appendTextElement(IXMLDOMDocument& document, IXMLDOMNode& parent, std::wstring_view name,
                          std::wstring_view text) {
    ATL::CComPtr<IXMLDOMNode> element;
    HRESULT hr = createElement(document, name, element);
    if (SUCCEEDED(hr)) hr = putText(*element, text);
    if (SUCCEEDED(hr)) hr = parent.appendChild(element, nullptr);
    return hr;
}

HRESULT setAttribute(IXMLDOMElement& element, std::wstring_view qualifiedName,
                     const Variant& value) {
    return element.setAttribute(Bstr(qualifiedName).get(), value.get());
}

HRESULT readAttributes(IXMLDOMNode& element, std::wstring_view namespaceUri,
                       std::span<AttributeValue> attributes) noexcept {
    // Do not call getAttribute. Under Wine, getAttribute finds attributes with a prefixed name only
    // in a parsed document, not in a copy of a document that was built with DOM calls.
    ATL::CComPtr<IXMLDOMNamedNodeMap> nodes;
    HRESULT hr = element.get_attributes(&nodes);
    if (FAILED(hr)) return hr;
    if (!nodes) return S_OK;
    // Start at the first attribute. MSXML may store the position of an earlier enumeration in the
    // element.
    hr = nodes->reset();
    if (FAILED(hr)) return hr;
    auto remaining =
        std::ranges::count_if(attributes, [](auto& each) { return !each.name.empty(); });
    while (remaining > 0) {
        ATL::CComPtr<IXMLDOMNode> node;
        hr = nodes->nextNode(&node);
        if (FAILED(hr)) return hr;
        if (!node) return S_OK;
        Bstr name;
        hr = readName(*node, namespaceUri, name);
        if (FAILED(hr)) return hr;
        for (AttributeValue& attribute : attributes) {
            if (attribute.name.empty() || attribute.found || name.view() != attribute.name)
                continue;
            if (!isInNamespace(*node, namespaceUri)) break;
            hr = node->get_text(attribute.value.receive());
            if (FAILED(hr)) return hr;
            attribute.found = true;
            --remaining;
        }
    }
    return S_OK;
}

bool isElement(IXMLDOMNode& node, std::wstring_view namespaceUri, std::wstring_view name) noexcept {
    DOMNodeType type = NODE_INVALID;
    Bstr nodeName;
    return SUCCEEDED(node.get_nodeType(&type)) && type == NODE_ELEMENT &&
           SUCCEEDED(readName(node, namespaceUri, nodeName)) && nodeName.view() == name &&
           isInNamespace(node, namespaceUri);
}

HRESULT selectSingleNode(IXMLDOMNode& node, std::wstring_view query,
                         ATL::CComPtr<IXMLDOMNode>& found) {
    found.Release();
    const HRESULT hr = node.selectSingleNode(Bstr(query).get(), &found);
    return SUCCEEDED(hr) && !found ? S_FALSE : hr;
}

HRESULT selectChildElement(IXMLDOMNode& node, std::wstring_view name,
                           ATL::CComPtr<IXMLDOMNode>& found) {
    return wine::selectChildElement(node, name, found);
}

}  // namespace platform::dom
