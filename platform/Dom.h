#pragma once

#include <windows.h>

#include <msxml2.h>

#include <span>
#include <string_view>

#include "dll/atl.h"
#include "platform/Bstr.h"
#include "platform/Variant.h"

/// Functions that create and use MSXML documents. Unless a comment states otherwise, a function
/// returns the result of the MSXML method that it calls. Each function first sets its output
/// interface pointers to null. Unless a comment states otherwise, a function that is not noexcept
/// throws _com_error with E_OUTOFMEMORY if a BSTR or VARIANT cannot be allocated, and throws no
/// other exceptions.
///
/// The following costs were measured under Wine, in documents with up to 100,000 nodes:
/// - get_nextSibling takes 0.1 microseconds.
/// - nextNode takes 0.2 microseconds. A node list stores its position, so nextNode does not visit
///   earlier nodes.
/// - get_length visits the whole list.
/// - selectSingleNode takes 8 to 20 microseconds, regardless of the size of the document.
/// - selectChildElement takes 1 microsecond if the element is one of the first children.
/// - get_item computes the length of the list and then visits the list from its start. Do not call
///   get_item in a loop, because the loop would take at least quadratic time.
namespace platform::dom {

/// The CLSIDs of MSXML 3.0 and MSXML 6.0 documents.
inline constexpr CLSID kDocument30 = {
    0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
inline constexpr CLSID kDocument60 = {
    0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};

/// The interface identifiers of IXMLDOMDocument and IXMLDOMDocument2. They are defined here because
/// some versions of the uuid library do not define them. Only IXMLDOMDocument2 has getProperty and
/// setProperty.
inline constexpr IID kIXMLDOMDocument = {
    0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
inline constexpr IID kIXMLDOMDocument2 = {
    0x2933BF95, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

/// Creates an empty document with CLSCTX_ALL. The document class may therefore be registered for
/// any execution context.
/// @return the result of CoCreateInstance.
HRESULT createDocument(REFCLSID documentClass, ATL::CComPtr<IXMLDOMDocument2>& document) noexcept;
HRESULT createDocument(REFCLSID documentClass, ATL::CComPtr<IXMLDOMDocument>& document) noexcept;

/// Sets the query language of `document` to XPath. The default query language of MSXML 3.0
/// documents is XSL Patterns.
HRESULT selectWithXPath(IXMLDOMDocument2& document);

/// Sets the query language to XPath, and sets the namespaces for queries. `namespaces` contains
/// namespace declarations, such as "xmlns:a='uri'".
HRESULT selectWithXPath(IXMLDOMDocument2& document, std::wstring_view namespaces);

/// Parses `text` and replaces the contents of `document` with the result.
/// @return one of these codes:
///         - S_OK if the text was parsed.
///         - S_FALSE if loadXML succeeds but reports that the text was not parsed, for example
///           because it is not well-formed.
///         - Otherwise, the result of loadXML.
HRESULT loadText(IXMLDOMDocument& document, const Bstr& text) noexcept;
HRESULT loadText(IXMLDOMDocument& document, std::wstring_view text);

/// Replaces the contents of `document` with the contents of `source`. If `source` is a document,
/// its contents are copied. If `source` is a stream, it is read from its current position. The
/// "async" property of `document` determines whether the function waits until the contents are
/// loaded. The function does not change this property.
/// @return S_OK if the contents were loaded; S_FALSE if `load` succeeds but reports that they were
///         not loaded; otherwise the result of `load`.
HRESULT loadObject(IXMLDOMDocument& document, IUnknown& source) noexcept;

/// Loads a document from a file path or URL. See loadObject().
HRESULT loadFile(IXMLDOMDocument& document, std::wstring_view source);

/// Reads the `xml` property of a node: the XML text of the node, with its markup.
/// @throws std::bad_alloc if memory runs out.
HRESULT readXml(const IXMLDOMNode& node, Bstr& text);

/// Creates an element without a namespace URI by calling createNode. `name` is the qualified name,
/// which may contain a prefix and a colon. The element has no parent yet.
/// @return E_FAIL if createNode succeeds but returns no element; otherwise the result of
///         createNode.
HRESULT createElement(IXMLDOMDocument& document, std::wstring_view name,
                      ATL::CComPtr<IXMLDOMNode>& element);

/// Creates an element by calling the document's createElement. The element has no parent yet.
/// @return E_FAIL if createElement succeeds but returns no element; otherwise the result of
///         createElement.
HRESULT createElement(IXMLDOMDocument& document, std::wstring_view name,
                      ATL::CComPtr<IXMLDOMElement>& element);

/// Creates an empty element with createElement() and adds it as the last child of `parent`.
/// @return S_OK on success; otherwise the error code from the call that failed. On failure,
///         `element` is null.
template <class Element>
HRESULT appendElement(IXMLDOMDocument& document, IXMLDOMNode& parent, std::wstring_view name,
                      ATL::CComPtr<Element>& element) {
    HRESULT hr = createElement(document, name, element);
    if (SUCCEEDED(hr)) hr = parent.appendChild(element, nullptr);
    if (FAILED(hr)) element.Release();
    return hr;
}

/// Sets the typed value of `element` to `text`, which replaces the contents of the element. The
/// element must not have a data type attribute. Markup characters are stored as text. If `text` is
/// empty, the element becomes empty.
///
/// `text` may contain characters that XML forbids: U+FFFE, U+FFFF, and control characters below
/// U+0020 other than tab, carriage return and line feed. In this case, the document, its copies and
/// its `xml` property contain these characters, but XML parsers reject the value of the `xml`
/// property. `text` must not contain NULs or unpaired surrogates, because some implementations of
/// MSXML silently remove them.
///
/// @return one of these codes:
///         - E_INVALIDARG if `text` contains a NUL or an unpaired surrogate.
///         - E_INVALIDARG under Wine if `text` contains both "&" and a character that XML forbids.
///         - Otherwise, the result of setting the typed value.
HRESULT putText(IXMLDOMNode& element, std::wstring_view text);

/// Creates an element without a namespace URI, sets its typed value to `text`, and adds it as the
/// last child of `parent`.
/// @return S_OK on success; otherwise the error code from the call that failed. On failure,
///         `parent` does not change.
HRESULT appendTextElement(IXMLDOMDocument& document, IXMLDOMNode& parent, std::wstring_view name,
                          std::wstring_view text);

/// Sets an attribute by its qualified name. A number is written as decimal text.
HRESULT setAttribute(IXMLDOMElement& element, std::wstring_view qualifiedName,
                     const Variant& value);

/// The name of an attribute to read, and the value of the attribute if it was found.
struct AttributeValue {
    std::wstring_view name;
    Bstr value;
    bool found = false;
};

/// Reads several attributes in one pass over the attributes of the element.
///
/// @param namespaceUri  If this argument is empty, the names in `attributes` are qualified names.
///                      Otherwise, they are local names, and only attributes in this namespace
///                      match, regardless of their prefixes. An attribute that was added with a DOM
///                      call may have no namespace. Such an attribute does not match.
/// @param attributes    The attributes to read. The function skips entries whose name is empty or
///                      whose `found` member is already true.
/// @return S_OK if all requested attributes that exist were read; otherwise the error code from the
///         call that failed.
HRESULT readAttributes(IXMLDOMNode& element, std::wstring_view namespaceUri,
                       std::span<AttributeValue> attributes) noexcept;

/// Returns true if the node is an element with the given name. Names are compared as in
/// readAttributes().
bool isElement(IXMLDOMNode& node, std::wstring_view namespaceUri, std::wstring_view name) noexcept;

/// Finds the first node that matches `query`. The query is evaluated relative to `node`.
/// @return S_OK if a node matches; S_FALSE if no node matches; an error code if the query is not
///         valid.
HRESULT selectSingleNode(IXMLDOMNode& node, std::wstring_view query,
                         ATL::CComPtr<IXMLDOMNode>& found);

/// Finds the first child element of `node` whose qualified name, including the prefix, is exactly
/// `name`. On Windows, the function passes `name` to selectSingleNode() as the query. The query
/// language of the document must therefore be XSL Patterns.
/// @return the same results as selectSingleNode().
HRESULT selectChildElement(IXMLDOMNode& node, std::wstring_view name,
                           ATL::CComPtr<IXMLDOMNode>& found);

}  // namespace platform::dom
