#pragma once

#include <windows.h>

#include <msxml2.h>

#include <span>
#include <string_view>

#include "dll/atl.h"
#include "platform/Bstr.h"
#include "platform/Variant.h"

/// MSXML documents, created and used in one way. Results are the document's own unless stated
/// otherwise. A function that takes text throws _com_error with E_OUTOFMEMORY when a BSTR or
/// VARIANT cannot be allocated for it, and nothing else; the other functions do not throw. A
/// reference for a result is emptied first.
///
/// Costs of operations (measured under Wine, in documents of up to 100,000 nodes): a step to the
/// next sibling takes 0.1 us and nextNode 0.2 us, because a list keeps its position. get_length
/// visits the whole list. selectSingleNode takes 8 to 20 us in documents of every size;
/// selectChildElement takes 1 us if the element is one of the first. get_item(i) visits the list
/// from its start and computes its length first, so a loop over get_item takes cubic time: never
/// write one.
namespace platform::dom {

/// The document classes of MSXML 3.0 and 6.0.
inline constexpr CLSID kDocument30 = {
    0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
inline constexpr CLSID kDocument60 = {
    0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};

/// The interfaces of all these documents; the second one has properties. A uuid library need not
/// contain their ids.
inline constexpr IID kIXMLDOMDocument = {
    0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
inline constexpr IID kIXMLDOMDocument2 = {
    0x2933BF95, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

/// Creates an empty document, in any server context that the class is registered for.
/// @return CoCreateInstance's result.
HRESULT createDocument(REFCLSID documentClass, ATL::CComPtr<IXMLDOMDocument2>& document) noexcept;
HRESULT createDocument(REFCLSID documentClass, ATL::CComPtr<IXMLDOMDocument>& document) noexcept;

/// Makes XPath the language of the queries of `document` (property "SelectionLanguage"). Documents
/// of the 3.0 class start with the older XSL Patterns.
HRESULT selectWithXPath(IXMLDOMDocument2& document);

/// The same, with the namespaces that queries may use, as declarations: "xmlns:a='uri'".
HRESULT selectWithXPath(IXMLDOMDocument2& document, std::wstring_view namespaces);

/// Replaces the contents of `document` by the parsed `text`.
/// @param[out] loaded  Whether `text` was well-formed; false on failure.
/// @return loadXML's result: S_FALSE for text that is not well-formed.
HRESULT loadText(IXMLDOMDocument& document, const Bstr& text, bool& loaded) noexcept;
HRESULT loadText(IXMLDOMDocument& document, std::wstring_view text, bool& loaded);

/// Replaces the contents of `document` by those of `source`: another document, whose contents are
/// copied, or a stream, which is read from its present position. The document's "async" property,
/// which is not changed here, determines whether the call waits for the end of loading.
/// @param[out] loaded  Whether the document accepted the source; false on failure.
HRESULT loadObject(IXMLDOMDocument& document, IUnknown& source, bool& loaded) noexcept;

/// The same from a file path or URL.
HRESULT loadFile(IXMLDOMDocument& document, std::wstring_view source, bool& loaded);

/// The text of a node with all its markup, as MSXML writes it: the `xml` property.
/// @throws std::bad_alloc.
HRESULT readXml(const IXMLDOMNode& node, Bstr& text);

/// Creates an element node of this qualified name (a prefix and colon included) in the empty
/// namespace. It has no parent yet.
HRESULT createElement(IXMLDOMDocument& document, std::wstring_view name,
                      ATL::CComPtr<IXMLDOMNode>& element);

/// The same through the document's createElement.
HRESULT createElement(IXMLDOMDocument& document, std::wstring_view name,
                      ATL::CComPtr<IXMLDOMElement>& element);

/// Creates an empty element by `createElement` and makes it the last child of `parent`.
/// @return S_OK with `element` set, or the failure of the step that failed.
template <class Element>
HRESULT appendElement(IXMLDOMDocument& document, IXMLDOMNode& parent, std::wstring_view name,
                      ATL::CComPtr<Element>& element) {
    HRESULT hr = createElement(document, name, element);
    if (SUCCEEDED(hr)) hr = parent.appendChild(element, nullptr);
    if (FAILED(hr)) element.Release();
    return hr;
}

/// Makes `text` the typed value, and so the only contents, of `element`, which must not have a data
/// type attribute. Markup characters are stored as text. An empty text makes the element empty.
///
/// Characters that XML forbids (controls other than tab and line ends, U+FFFE, U+FFFF) stay in the
/// document, in copies of it and in its `xml` text, but parsers refuse that text.
///
/// @return the document's result; E_INVALIDARG for a text with a NUL or half of a surrogate pair:
///         some documents drop it without a failure.
HRESULT putText(IXMLDOMNode& element, std::wstring_view text);

/// Creates an element (createNode, with the empty namespace), makes `text` its typed value and
/// makes it the last child of `parent`.
/// @return S_OK; the failure of the step that failed, with `parent` unchanged.
HRESULT appendTextElement(IXMLDOMDocument& document, IXMLDOMNode& parent, std::wstring_view name,
                          std::wstring_view text);

/// Reads the typed value of a node: for text, comments and sections a BSTR of all their characters.
/// @return get_nodeTypedValue's result: S_FALSE for nodes without a value.
HRESULT readTypedValue(IXMLDOMNode& node, Variant& value) noexcept;

/// Sets an attribute by its qualified name; numbers are written as decimal text.
HRESULT setAttribute(IXMLDOMElement& element, std::wstring_view qualifiedName,
                     const Variant& value);

/// Reads the attribute whose name, prefix and colon included, is exactly `qualifiedName`.
///
/// Not by getAttribute: under Wine it finds a prefixed name in a parsed document, but not in the
/// copy of a built one. Comparing the names of the attributes has the same result in every
/// document.
///
/// @return S_OK with `value` set; S_FALSE if there is none, with `value` empty.
HRESULT readAttribute(IXMLDOMNode& element, std::wstring_view qualifiedName, Bstr& value) noexcept;

/// The name of an attribute to read, and its value if it was found.
struct AttributeValue {
    std::wstring_view name;
    Bstr value;
    bool found = false;
};

/// The same for several attributes, in one pass over the attributes of the element.
///
/// @param namespaceUri  If it is empty, names are qualified names. Otherwise they are local names,
///                      and an attribute with any prefix is found if it is in this namespace. An
///                      attribute that was added by calls may be in none.
/// @return S_OK once all of them that exist are read; the failure of the step that failed.
HRESULT readAttributes(IXMLDOMNode& element, std::wstring_view namespaceUri,
                       std::span<AttributeValue> attributes) noexcept;

/// Whether the node is an element of this name, which is compared as `readAttributes` does.
bool isElement(IXMLDOMNode& node, std::wstring_view namespaceUri, std::wstring_view name) noexcept;

/// The first node that `query` selects under `node`.
/// @return S_OK with `found` set; S_FALSE when there is none; a failure for an invalid query.
HRESULT selectSingleNode(IXMLDOMNode& node, std::wstring_view query,
                         ATL::CComPtr<IXMLDOMNode>& found);

/// The first child element of `node` whose name, prefix and colon included, is exactly `name`: what
/// selectSingleNode selects by a name in a document whose queries are XSL Patterns.
/// @return as `selectSingleNode`.
HRESULT selectChildElement(IXMLDOMNode& node, std::wstring_view name,
                           ATL::CComPtr<IXMLDOMNode>& found);

}  // namespace platform::dom
