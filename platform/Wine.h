#pragma once

#include <windows.h>

#include <mlang.h>
#include <msxml2.h>

#include <string_view>

#include "dll/atl.h"
#include "platform/Bstr.h"
#include "platform/Variant.h"

/// Wrappers for system functions and methods that return different results, or take much longer,
/// under Wine than on Windows. The comment on each wrapper starts with the call that the wrapper
/// replaces. On Windows, and under Wine if no workaround is needed, the wrapper makes only this
/// call. If a later version of Wine behaves like Windows, callers can make the call directly. The
/// comments specify the version of Wine that was examined.
namespace platform::wine {

/// Returns true if this process runs under Wine.
bool isRunning() noexcept;

/// Returns true if Wine's XML library implements the object. Except for queryStream(), the
/// workarounds for documents and nodes apply only to objects for which this function returns true.
bool isMsxmlObject(IUnknown& object) noexcept;

/// `service.GetLcidFromRfc1766(&lcid, tag)`
///
/// Wine 8.0 accepts only one tag for each locale. For example, it accepts "fr" and "fr-CA", but it
/// returns E_FAIL for "fr-FR", for "zh-Hans" and for other tags with a script. If the service
/// returns E_FAIL, the function searches the names of the system's locales for the tag. The
/// function still fails for sort orders ("de-DE_phoneb"), locales without an identifier of their
/// own, and misspellings ("fr_FR"). If Wine does not implement the service, the function returns
/// the result of the service unchanged.
HRESULT getLcidFromRfc1766(IMultiLanguage& service, const Bstr& tag, unsigned long& lcid) noexcept;

/// `document.QueryInterface(IID_IStream, &stream)`
///
/// In Wine 8.0, a document does not implement IStream, but it can be saved. The function therefore
/// saves the document and returns a new stream in memory that contains the saved document. The
/// stream is positioned at its start. Wine saves a document as UTF-8 even if the XML declaration
/// specifies another encoding, and then cannot load the saved document. To avoid this problem, the
/// function removes the encoding from the declaration.
///
/// @return S_OK on success; E_OUTOFMEMORY if memory runs out; otherwise the error code from
///         QueryInterface.
HRESULT queryStream(IXMLDOMDocument2& document, ATL::CComPtr<IStream>& stream) noexcept;

/// `document.load(source.get(), successful)`
///
/// In Wine 8.0, loading a document from another document leaks a reference to the source document.
/// If the reference count of the source document is higher after the call than before it, the
/// function releases one reference.
HRESULT load(IXMLDOMDocument& document, const Variant& source, VARIANT_BOOL* successful) noexcept;

/// `node.get_xml(text.receive())`
///
/// In Wine 8.0, this call takes time proportional to the square of the text length. For 12 million
/// characters, it takes 1.2 s. If the node is a document, the function saves the document to memory
/// instead. Saving takes linear time and produces the same characters.
///
/// @throws std::bad_alloc if memory runs out.
HRESULT readXml(IXMLDOMNode& node, Bstr& text);

/// `element.put_nodeTypedValue(text.get())`, where `text` is a VT_BSTR and `element` has no data
/// type.
///
/// Wine 8.0 treats "&" as the start of an entity reference, and removes or replaces the reference.
/// If the text contains "&", the function calls put_text instead, which has the same effect on an
/// element without a data type. However, put_text removes the characters that XML forbids. The
/// function therefore fails if the text contains both "&" and a forbidden character.
///
/// @return E_INVALIDARG for text that Wine cannot store; otherwise the result of put_nodeTypedValue
///         or put_text.
HRESULT putTypedText(IXMLDOMNode& element, const Variant& text) noexcept;

/// `node.get_nodeTypedValue(value.receive())`
///
/// Wine 8.0 removes leading and trailing white space from the typed value of a text node. The
/// function therefore reads the nodeValue property, which contains the white space.
///
/// @return the result of get_nodeTypedValue, which is S_FALSE for nodes without a value.
HRESULT readTypedValue(IXMLDOMNode& node, Variant& value) noexcept;

/// `dom::selectSingleNode(node, name, found)`, where `name` is the qualified name of an element and
/// the query language of the document is XSL Patterns.
///
/// In Wine 8.0, each query takes 8 to 20 microseconds. The function therefore searches the children
/// of the node first, and executes the query only if no child matches.
///
/// @throws _com_error with E_OUTOFMEMORY if memory runs out.
HRESULT selectChildElement(IXMLDOMNode& node, std::wstring_view name,
                           ATL::CComPtr<IXMLDOMNode>& found);

}  // namespace platform::wine
