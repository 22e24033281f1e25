#pragma once
/// @file
/// The clipboard format of persisted component data.

#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include "dll/export.h"

namespace OrvexClipboard {

/// Persisted data of components as an XML document, "TARLO_CCF_PERSISTDATA". Keeps no data and
/// takes no lock.
class I18NRESOURCE_API FormatCCFPersistData {
public:
    /// The registered name of the format.
    static const wchar_t* GetClipboardName();
    /// The registered number of the format, which is registered on first use. 0 if the
    /// registration failed; the class then works with the format number 0.
    static unsigned int GetClipboardID();

    /// @return S_OK if there is a stream or a global block; see `CDataObject::AcceptXMLData`.
    static HRESULT AcceptData(IDataObject& obj);

    /// Reads the document into one of the 3.0 class, whose selection language is XPath.
    ///
    /// @param[out] doc  The caller owns one reference. Null on failure.
    /// @return See `CDataObject::QueryXMLData`.
    static HRESULT ImportData(IDataObject& obj, IXMLDOMDocument2** doc);
    /// `ImportData` into a document of the 6.0 class.
    static HRESULT ImportXML6Data(IDataObject& obj, IXMLDOMDocument2** doc);
    /// Stores the document as a stream.
    ///
    /// @return See `CDataObject::SetXMLData`.
    static HRESULT ExportData(IDataObject& obj, IXMLDOMDocument2& doc);

    /// Reads the document as text, through a document of the 3.0 class.
    ///
    /// @param[out] xml  A BSTR, which the caller frees with `SysFreeString`. Null on failure.
    /// @return S_OK; E_POINTER for a null argument; E_OUTOFMEMORY; otherwise see
    ///         `CDataObject::QueryXMLData`, or the failure of reading the document's text.
    static HRESULT ImportData(IDataObject& obj, wchar_t** xml);
    /// Parses a text with a document of the 3.0 class and stores that document as a stream.
    ///
    /// @param xml  A BSTR.
    /// @return S_OK; E_POINTER for a null or empty text; S_FALSE, with nothing stored, for a text
    ///         that is not well-formed; otherwise the failure of creating the document, or the
    ///         result of `CDataObject::SetXMLData`.
    /// @throws _com_error with E_FAIL when the class reports success without a document.
    static HRESULT ExportData(IDataObject& obj, wchar_t* xml);
};

}  // namespace OrvexClipboard
