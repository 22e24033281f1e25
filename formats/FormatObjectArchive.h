#pragma once
/// @file
/// The clipboard format for archived objects.

#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include "dll/export.h"

namespace OrvexClipboard {

/// Stores and reads archived objects as an XML document, in the registered format
/// "TARLO_OBJECT_ARCHIVE". The class is stateless and takes no locks.
class I18NRESOURCE_API FormatObjectArchive {
public:
    /// Returns the registered name of the format.
    static const wchar_t* GetClipboardName();
    /// Returns the identifier of the clipboard format. The format is registered on first use. If
    /// the registration fails, the function returns 0, and the other functions of this class use 0
    /// as the identifier.
    static unsigned int GetClipboardID();

    /// This function tests for a global memory block, but `ExportData` stores a stream. The
    /// function therefore fails for a data object that `ExportData` has filled, although
    /// `ImportData` can read the data.
    ///
    /// Compatibility: some programs offer the format both as a stream and in a global memory block.
    /// Applications use this function to recognize the data objects of those programs.
    ///
    /// @return S_OK if `obj` offers the format in a global memory block; otherwise the result of
    ///         the object's `QueryGetData`.
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
};

}  // namespace OrvexClipboard
