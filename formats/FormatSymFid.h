#pragma once
/// @file
/// The instrument document as a selection of instruments and fields.

#include <windows.h>

#include <ole2.h>

#include "dll/export.h"
#include "formats/FormatXML.h"

namespace OrvexClipboard {

/// An instrument document in its own clipboard format, so that a target can distinguish a selection
/// of fields from other instrument documents. Producers write instruments and, for each, the
/// selected fields with their names and ids.
///
/// `AcceptData` is the base class's and queries the base class's format. For threads see
/// `FormatXML`.
class I18NRESOURCE_API FormatSymFid : public FormatXML {
public:
    FormatSymFid();
    ~FormatSymFid() override;

    /// The registered name of the format, "DALVO_SYMFID_FORMAT".
    static const wchar_t* GetClipboardName();
    /// The registered number of the format, see `FormatXML`.
    static unsigned int GetClipboardID();

    /// Reads the document of `data` into `document`. If `document` has started already, it is
    /// unchanged, and the result is that of its first start.
    /// @return S_OK; E_FAIL if there is none, it is not well-formed, or the import fails.
    static HRESULT ImportData(IDataObject& data, FormatXML& document);
    /// Stores a copy of the contents of `document` in `data`, as UTF-8 text ending in NUL.
    /// @return SetData's result; E_FAIL if `document` has no contents.
    static HRESULT ExportData(IDataObject& data, FormatXML& document);
};

}  // namespace OrvexClipboard
