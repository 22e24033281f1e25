#pragma once

#include <windows.h>

#include <mlang.h>
#include <msxml2.h>

#include <string_view>

#include "dll/atl.h"
#include "platform/Bstr.h"
#include "platform/Variant.h"

/// System calls whose results differ under Wine. Each function checks for itself whether its
/// workaround applies. Otherwise, and always on Windows, it makes the plain call that its comment
/// names first, so that a caller can replace the function by that call once Wine has no such
/// difference. The comments name the examined version of Wine.
namespace platform::wine {

/// Whether this process runs under Wine.
bool isRunning() noexcept;

/// Whether Wine's XML library implements the object. The workarounds for documents apply only to
/// such objects: all others get the plain call.
bool isOfMsxml(IUnknown& object) noexcept;

/// `service.GetLcidFromRfc1766(&lcid, tag)`
///
/// Wine (8.0) accepts only one tag for each locale: "fr" and "fr-CA", but not "fr-FR", "zh-Hans" or
/// another tag with a script, for which it returns E_FAIL. Such a tag is searched for in the names
/// of the system's locales. Sort orders ("de-DE_phoneb"), locales without an identifier of their
/// own and misspellings ("fr_FR") are still refused, and so is every tag that a service of another
/// implementation refuses.
HRESULT getLcidFromRfc1766(IMultiLanguage& service, const Bstr& tag, unsigned long& lcid) noexcept;

/// `document.QueryInterface(IID_IStream, &stream)`
///
/// Wine's documents (8.0) have no stream, but they can save themselves. The result is a stream in
/// memory, at its start, with the saved document. Wine saves as UTF-8 whatever the XML declaration
/// states, and refuses to load it again if the declaration names another encoding; the encoding is
/// therefore removed from the declaration.
///
/// @return S_OK; E_OUTOFMEMORY; otherwise QueryInterface's result.
HRESULT queryStream(IXMLDOMDocument2& document, ATL::CComPtr<IStream>& stream) noexcept;

/// `document.load(source.get(), successful)`
///
/// Wine's documents (8.0) keep one reference to a document that they are loaded from. It is
/// released here if the load has increased the reference count.
HRESULT load(IXMLDOMDocument& document, const Variant& source, VARIANT_BOOL* successful) noexcept;

/// `node.get_xml(text.receive())`
///
/// In Wine (8.0) this takes time that grows with the square of the length: 1.2 s for 12 million
/// characters. A document is saved to memory instead, in linear time; the characters are the same.
///
/// @throws std::bad_alloc.
HRESULT readXml(IXMLDOMNode& node, Bstr& text);

/// `element.put_nodeTypedValue(text.get())` for a VT_BSTR and an element without a data type.
///
/// Wine (8.0) treats "&" as the start of an entity reference and drops or replaces it. put_text,
/// which has the same effect on such an element, stores it, but drops the characters that XML
/// forbids. Text that contains both is therefore refused.
///
/// @return the element's result; E_INVALIDARG for text that Wine cannot store.
HRESULT putTypedText(IXMLDOMNode& element, const Variant& text) noexcept;

/// `node.get_nodeTypedValue(value.receive())`
///
/// Wine (8.0) removes white space at both ends of a text node's value. Its nodeValue keeps it.
HRESULT readTypedValue(IXMLDOMNode& node, Variant& value) noexcept;

/// `dom::selectSingleNode(node, name, found)` for a name, in a document whose queries are XSL
/// Patterns.
///
/// Wine (8.0) takes 8 to 20 us for each query, which is most of the time of reading a value. The
/// children of the node are searched instead.
///
/// @throws _com_error with E_OUTOFMEMORY.
HRESULT selectChildElement(IXMLDOMNode& node, std::wstring_view name,
                           ATL::CComPtr<IXMLDOMNode>& found);

}  // namespace platform::wine
