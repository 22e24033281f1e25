#pragma once
/// @file
/// The clipboard format for persisted component data.

#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include "dll/export.h"

namespace OrvexClipboard {

/// Stores and reads persisted component data as an XML document, in the registered format
/// "TARLO_CCF_PERSISTDATA". The class is stateless and takes no locks.
class I18NRESOURCE_API FormatCCFPersistData {
public:
    /// Returns the registered name of the format.
    static const wchar_t* GetClipboardName();
    /// Returns the identifier of the clipboard format. The format is registered on first use. If
    /// the registration fails, the function returns 0, and the other functions of this class use 0
    /// as the identifier.
    static unsigned int GetClipboardID();

    /// @return S_OK if `obj` offers the format as a stream or in a global memory block; otherwise
    ///         the result of the object's `QueryGetData`.
    static HRESULT AcceptData(IDataObject& obj);

    /// Reads the stored XML into a new MSXML 3.0 document. The selection language of the new
    /// document is XPath.
    ///
    /// @param[out] doc  The new document; the caller owns one reference. Null on failure.
    /// @return See `CDataObject::QueryXMLData`.
    static HRESULT ImportData(IDataObject& obj, IXMLDOMDocument2** doc);
    /// Reads the stored XML into a new MSXML 6.0 document. For details, see `ImportData`.
    static HRESULT ImportXML6Data(IDataObject& obj, IXMLDOMDocument2** doc);
    /// Stores the document as a stream.
    ///
    /// @return See `CDataObject::SetXMLData`.
    static HRESULT ExportData(IDataObject& obj, IXMLDOMDocument2& doc);

    /// Reads the stored XML into an MSXML 3.0 document and returns the XML text of that document.
    ///
    /// @param[out] xml  A new BSTR, which the caller frees with `SysFreeString`. Null on failure.
    /// @return S_OK; E_POINTER for a null `xml`; E_OUTOFMEMORY if memory runs out; otherwise the
    ///         error code from `CDataObject::QueryXMLData` or from the document's `get_xml`.
    /// @throws See `CDataObject::QueryXMLData`.
    static HRESULT ImportData(IDataObject& obj, wchar_t** xml);
    /// Parses `xml` into an MSXML 3.0 document and stores this document as a stream. The document
    /// has the default settings of its class, not the settings for untrusted XML that
    /// `CDataObject::QueryXMLData` uses.
    ///
    /// @param xml  The XML text, as a BSTR.
    /// @return
    /// - E_POINTER if `xml` is null or empty.
    /// - S_FALSE if `xml` is not well-formed. Nothing is stored.
    /// - The error code from the failed call if the document cannot be created or if `loadXML`
    ///   fails.
    /// - Otherwise, the result of `CDataObject::SetXMLData`.
    /// @throws _com_error with E_FAIL if MSXML reports success but creates no document.
    static HRESULT ExportData(IDataObject& obj, wchar_t* xml);
};

}  // namespace OrvexClipboard
