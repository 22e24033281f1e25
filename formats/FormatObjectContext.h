#pragma once
/// @file
/// The clipboard format of the context of objects.

#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include "dll/export.h"

namespace OrvexClipboard {

/// The context of objects as an XML document, "TARLO_OBJECT_CONTEXT". Keeps no data and takes no
/// lock.
class I18NRESOURCE_API FormatObjectContext {
public:
    /// The registered name of the format.
    static const wchar_t* GetClipboardName();
    /// The number under which the system knows the format, registered on first use. 0 when the
    /// system refused; the class then works with the format number 0.
    static unsigned int GetClipboardID();

    /// Asks for a global block, which `ExportData` does not write: a data object filled by it is
    /// not accepted, although `ImportData` reads it. Applications rely on the answer; it marks the
    /// data objects of those that render the format both ways.
    ///
    /// @return S_OK when there is one, else what the object's `QueryGetData` returned.
    static HRESULT AcceptData(IDataObject& obj);

    /// Reads the document into one of the 3.0 class, whose selection language is XPath.
    ///
    /// @param[out] doc  The caller owns one reference. Null on failure.
    /// @return see `CDataObject::QueryXMLData`.
    static HRESULT ImportData(IDataObject& obj, IXMLDOMDocument2** doc);
    /// `ImportData` into a document of the 6.0 class.
    static HRESULT ImportXML6Data(IDataObject& obj, IXMLDOMDocument2** doc);
    /// Stores the document as a stream.
    ///
    /// @return see `CDataObject::SetXMLData`.
    static HRESULT ExportData(IDataObject& obj, IXMLDOMDocument2& doc);
};

}  // namespace OrvexClipboard
