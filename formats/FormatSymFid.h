#pragma once
/// @file
/// The instrument document as a selection of instruments and fields.

#include <windows.h>

#include <ole2.h>

#include "dll/export.h"
#include "formats/FormatXML.h"

namespace OrvexClipboard {

/// Instruments paired with field ids: an instrument document under a clipboard format of its own,
/// by which a target distinguishes a selection of fields from other instrument documents. Producers
/// write instruments and, for each, the fields picked for it with their names and ids.
///
/// `AcceptData` is the base class's and asks for the base class's format. Threads as for
/// `FormatXML`.
class I18NRESOURCE_API FormatSymFid : public FormatXML {
public:
    FormatSymFid();
    ~FormatSymFid() override;

    /// The registered name of the format, "DALVO_SYMFID_FORMAT".
    static const wchar_t* GetClipboardName();
    /// The registered number of the format, see `FormatXML`.
    static unsigned int GetClipboardID();

    /// Reads the document that `data` offers into `document`. If `document` has started already, it
    /// stays as it is, and its first result counts.
    /// @return S_OK; E_FAIL if there is none, it is not well-formed, or the import fails.
    static HRESULT ImportData(IDataObject& data, FormatXML& document);
    /// Stores a copy of what `document` holds in `data`, as UTF-8 text ending in NUL.
    /// @return SetData's result; E_FAIL if `document` holds nothing.
    static HRESULT ExportData(IDataObject& data, FormatXML& document);
};

}  // namespace OrvexClipboard
