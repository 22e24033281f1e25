#pragma once

#include <windows.h>

#include <msxml2.h>

#include <string_view>

#include "dll/atl.h"
#include "platform/Bstr.h"
#include "platform/Variant.h"

/// The accommodations for Wine. Each function says what Windows does, what Wine lacks and what
/// stands in for it; on Windows none of them changes anything.
namespace platform::wine {

/// Whether this process runs under Wine. Asked once.
bool isRunning() noexcept;

/// Whether Wine's XML library made the object: it is then in that library that its methods are
/// found, the table of which is the first thing in every COM object. Documents of other makers need
/// no accommodation and are asked for nothing but what is wanted of them.
bool isOfMsxml(IUnknown& object) noexcept;

/// Completes what the multi-language service (MLang) answers for a culture tag.
///
/// Windows' service knows the tag of every locale. Wine's (8.0) knows a locale by one tag only: it
/// takes "fr" and "fr-CA" but refuses "fr-FR", "zh-Hans" and every other tag with a script with
/// E_FAIL. Such a tag is looked up among the names of the system's locales instead. Sort orders
/// ("de-DE_phoneb"), locales without an identifier of their own and near misses ("fr_FR") stay
/// refused, and so does whatever another service refuses that was registered in its place.
///
/// @param answer        What the service returned for `tag`.
/// @param service       The module that implements the service.
/// @param[in,out] lcid  Written when the tag was found here.
/// @return S_OK when the tag was found here, otherwise `answer`.
HRESULT completeLcidFromRfc1766(HRESULT answer, HMODULE service, const wchar_t* tag,
                                unsigned long& lcid) noexcept;

/// Completes what a document answers when it is asked for its stream, which is its serialisation.
///
/// Windows' documents are streams. Wine's (8.0) are not, though they can save themselves. A stream
/// in memory stands in, at its start, with the document as it is saved now. It is UTF-8, and so a
/// declaration of another encoding is left out: Wine's documents write UTF-8 whatever they declare,
/// and refuse to read it back. (What IPersistStream writes, UTF-16 without a mark, they refuse
/// too.)
///
/// @param answer          What QueryInterface returned.
/// @param[in,out] stream  Set when it was made here.
/// @return S_OK when the stream was made here; E_OUTOFMEMORY; otherwise `answer`, also for a
///         document that cannot save itself.
HRESULT completeDocumentStream(HRESULT answer, IXMLDOMDocument2& document,
                               ATL::CComPtr<IStream>& stream) noexcept;

/// Loads a document, which isOfMsxml says to be Wine's, from `source`: the document's load.
///
/// Windows gives back what it takes hold of. Wine (8.0) keeps one reference to a document that is
/// the source; it is given back here, seen by the count of references before and after.
HRESULT load(IXMLDOMDocument& document, const Variant& source, VARIANT_BOOL* successful) noexcept;

/// Reads the `xml` text of a document, which isOfMsxml says to be Wine's, that holds a long list:
/// an element with more than 256 children no deeper than three levels below the document.
///
/// Windows takes time in proportion to the text. Wine's serialiser (8.0) grows its buffer a few
/// bytes at a time, in time that grows with the square of the length: 1.2 s for 12 million
/// characters. The text is put together here from that of the items of the list and of whatever
/// stands around it, with other white space between elements. Documents that have a document type
/// or hold text beside the items of a long list are left to the serialiser.
///
/// @return false, with `text` untouched, when the text is to be read from the document as a whole.
/// @throws std::bad_alloc, and _com_error with E_OUTOFMEMORY.
bool readLongXml(IXMLDOMNode& document, Bstr& text);

/// Finds the first child element of `node` whose qualified name is `name`, as selectSingleNode does
/// whose queries are XSL Patterns.
///
/// Windows' nodes are simply asked. Wine (8.0) sets up a whole evaluation for each query, which
/// takes 8 to 20 us, several times as long as everything else that reading a value takes. The
/// children of its nodes are looked through here instead; nodes of others are left alone.
///
/// @param[out] found  Filled when the answer is true, else empty.
/// @return false when selectSingleNode is to answer.
bool findChildElement(IXMLDOMNode& node, std::wstring_view name,
                      ATL::CComPtr<IXMLDOMNode>& found) noexcept;

/// Makes a text the typed value of an element, which isOfMsxml says to be Wine's, without a data
/// type.
///
/// Windows' put_nodeTypedValue stores the string as it stands, and it is all that is called there.
/// Wine's (8.0) takes "&" for the start of an entity reference and drops or replaces it. Text that
/// holds one is given to put_text instead, which does the same for such an element on both systems;
/// but Wine's put_text drops the characters that XML forbids, so text with both is refused.
///
/// @return the element's result; E_INVALIDARG for text that Wine cannot store.
HRESULT putTypedText(IXMLDOMNode& element, const Variant& text) noexcept;

/// Completes the typed value that was read from a node, which isOfMsxml says to be Wine's, where
/// that is a text.
///
/// Windows gives all characters of the node. Wine (8.0) cuts white space off at both ends; its
/// nodeValue does not.
void completeTypedText(IXMLDOMNode& node, Variant& value) noexcept;

}  // namespace platform::wine
