#pragma once
/// @file
/// The clipboard format for a selection of instruments and fields.

#include <windows.h>

#include <ole2.h>

#include "dll/export.h"
#include "formats/FormatXML.h"

namespace OrvexClipboard {

/// Stores and reads an instrument document in a different clipboard format than `FormatXML`. A
/// program that pastes the data can therefore distinguish a selection of fields from other
/// instrument documents. Producers write instruments and, for each instrument, the selected fields
/// with their names and identifiers.
///
/// `AcceptData` is inherited and tests for the format of the base class, not for this format. For
/// thread safety, see `FormatXML`.
class I18NRESOURCE_API FormatSymFid : public FormatXML {
public:
    FormatSymFid();
    ~FormatSymFid() override;

    /// Returns the registered name of the format, "DALVO_SYMFID_FORMAT".
    static const wchar_t* GetClipboardName();
    /// Returns the identifier of the clipboard format. See `FormatXML::GetClipboardID`.
    static unsigned int GetClipboardID();

    /// Reads the instrument document in `data` and imports it into `document`. If `document` has
    /// already been initialized, it does not change.
    /// @return S_OK; E_FAIL if `data` contains no well-formed document, if the import fails, or if
    ///         an earlier initialization of `document` failed. If `data` contains no well-formed
    ///         document, `document` does not change and can still be initialized later.
    static HRESULT ImportData(IDataObject& data, FormatXML& document);
    /// Stores the XML text of `document` in `data`, as UTF-8 with a terminating NUL.
    /// @return E_FAIL if `document` has not been successfully initialized or cannot be copied;
    ///         otherwise see `CDataObject::SetXMLAsUTF8Data`.
    static HRESULT ExportData(IDataObject& data, FormatXML& document);
};

}  // namespace OrvexClipboard
