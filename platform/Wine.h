#pragma once

#include <windows.h>

#include <msxml2.h>

#include "dll/atl.h"

/// The accommodations for Wine. Each function says what Windows does, what Wine lacks and what
/// stands in for it; on Windows none of them changes anything.
namespace platform::wine {

/// Whether this process runs under Wine. Asked once.
bool isRunning() noexcept;

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

}  // namespace platform::wine
