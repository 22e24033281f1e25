#pragma once

#include <windows.h>

#include <msxml2.h>

#include "dll/atl.h"

/// Documents for untrusted contents, such as XML from the clipboard. Every document that the
/// library loads for a client is created here, so that none is loaded with the default settings of
/// its class.
namespace platform {

/// The kinds of contents.
enum class Contents {
    markup,    ///< Bytes or characters, to be parsed.
    document,  ///< A document that the caller already holds, to be copied.
};

/// Creates an empty document for untrusted contents. It loads them before the call returns, does
/// not resolve external definitions or entities, and does not validate.
///
/// For `Contents::markup` the document also refuses a document type declaration (entities that
/// expand without end need one) and elements nested more than 256 deep. Both limits are set only
/// where the class has them and leaves them off, as the 3.0 class does; a class that has them on
/// keeps its own values. A copy keeps the document type and the depth that its source has.
///
/// A setting that the document refuses is skipped.
///
/// @param[out] document  Null on failure.
/// @return S_OK; CoCreateInstance's failure; E_FAIL if it succeeds without a document.
/// @throws _com_error with E_OUTOFMEMORY.
HRESULT createUntrustedDocument(REFCLSID documentClass, Contents contents,
                                ATL::CComPtr<IXMLDOMDocument2>& document);
HRESULT createUntrustedDocument(REFCLSID documentClass, Contents contents,
                                ATL::CComPtr<IXMLDOMDocument>& document);

/// Creates a document, as `createUntrustedDocument` does, that holds a copy of `source` and keeps
/// white space if `source` does.
/// @param[out] copy  Null on failure.
/// @return S_OK; the failure of the step that failed; E_FAIL if the copy did not load.
/// @throws _com_error with E_OUTOFMEMORY.
HRESULT copyDocument(REFCLSID documentClass, IXMLDOMDocument& source,
                     ATL::CComPtr<IXMLDOMDocument2>& copy);

}  // namespace platform
