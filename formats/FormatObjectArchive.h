#pragma once
/// @file
/// The clipboard format of archived objects.

#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include "dll/export.h"

namespace OrvexClipboard {

/// Archived objects as an XML document, "TARLO_OBJECT_ARCHIVE". Keeps no data and takes no lock.
class I18NRESOURCE_API FormatObjectArchive {
public:
    /// The registered name of the format.
    static const wchar_t* GetClipboardName();
    /// The registered number of the format, which is registered on first use. 0 if the
    /// registration failed; the class then works with the format number 0.
    static unsigned int GetClipboardID();

    /// Tests for a global block, which `ExportData` does not write: a data object that it has
    /// filled is not accepted, although `ImportData` reads it.
    ///
    /// Compatibility: applications rely on this to recognize data objects of programs that offer
    /// the format both ways.
    ///
    /// @return S_OK if there is one, otherwise the result of the object's `QueryGetData`.
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
};

}  // namespace OrvexClipboard
