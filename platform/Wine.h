#pragma once

#include <windows.h>

#include <mlang.h>
#include <msxml2.h>

#include <string_view>

#include "dll/atl.h"
#include "platform/Bstr.h"
#include "platform/Variant.h"

/// Wrappers of system calls whose results differ under Wine. The comment of each wrapper starts
/// with the call that it replaces. On Windows, and if the workaround does not apply, the wrapper
/// makes only that call. When Wine no longer has the difference, callers can make that call
/// directly. The comments name the version of Wine that was examined.
namespace platform::wine {

/// Returns true if this process runs under Wine.
bool isRunning() noexcept;

/// Returns true if Wine's XML library implements the object. The workarounds for documents apply
/// only to such objects. For all other objects, the wrappers make the plain call.
bool isOfMsxml(IUnknown& object) noexcept;

/// `service.GetLcidFromRfc1766(&lcid, tag)`
///
/// Wine (8.0) accepts only one tag for each locale. For example, it accepts "fr" and "fr-CA", but
/// it returns E_FAIL for "fr-FR", for "zh-Hans" and for other tags with a script. The function
/// searches for such a tag in the names of the system's locales. The function still refuses sort
/// orders ("de-DE_phoneb"), locales without an identifier of their own, and misspellings ("fr_FR").
/// If the service is not Wine's, its result does not change.
HRESULT getLcidFromRfc1766(IMultiLanguage& service, const Bstr& tag, unsigned long& lcid) noexcept;

/// `document.QueryInterface(IID_IStream, &stream)`
///
/// A document of Wine (8.0) has no stream, but it can save itself. The result is a stream in
/// memory, at its start, that contains the saved document. Wine saves a document as UTF-8 even if
/// the XML declaration names another encoding, and refuses to load such a document. The function
/// therefore removes the encoding from the declaration.
///
/// @return S_OK; E_OUTOFMEMORY; otherwise the result of QueryInterface.
HRESULT queryStream(IXMLDOMDocument2& document, ATL::CComPtr<IStream>& stream) noexcept;

/// `document.load(source.get(), successful)`
///
/// A document of Wine (8.0) that is loaded from another document leaks a reference to the other
/// document. The function releases this reference if the load has increased the reference count.
HRESULT load(IXMLDOMDocument& document, const Variant& source, VARIANT_BOOL* successful) noexcept;

/// `node.get_xml(text.receive())`
///
/// In Wine (8.0) the time that this call takes grows with the square of the length: 1.2 s for 12
/// million characters. If the node is a document, the function saves the document to memory
/// instead. Saving takes linear time and results in the same characters.
///
/// @throws std::bad_alloc.
HRESULT readXml(IXMLDOMNode& node, Bstr& text);

/// `element.put_nodeTypedValue(text.get())` for a VT_BSTR and an element without a data type.
///
/// Wine (8.0) treats "&" as the start of an entity reference and removes or replaces it. The
/// function therefore calls put_text, which has the same effect on such an element. put_text stores
/// "&" but removes the characters that XML forbids. The function therefore refuses text that
/// contains both "&" and such characters.
///
/// @return the result of the element; E_INVALIDARG for text that Wine cannot store.
HRESULT putTypedText(IXMLDOMNode& element, const Variant& text) noexcept;

/// `node.get_nodeTypedValue(value.receive())`
///
/// Wine (8.0) removes white space at both ends of the value of a text node. The function therefore
/// reads the nodeValue of the text node, which keeps the white space.
HRESULT readTypedValue(IXMLDOMNode& node, Variant& value) noexcept;

/// `dom::selectSingleNode(node, name, found)` for a name, in a document whose query language is XSL
/// Patterns.
///
/// Each query takes 8 to 20 us in Wine (8.0), which is most of the time that is needed to read a
/// value. The function searches the children of the node instead.
///
/// @throws _com_error with E_OUTOFMEMORY.
HRESULT selectChildElement(IXMLDOMNode& node, std::wstring_view name,
                           ATL::CComPtr<IXMLDOMNode>& found);

}  // namespace platform::wine
