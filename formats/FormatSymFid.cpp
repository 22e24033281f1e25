#include "formats/FormatSymFid.h"

#include "formats/DocumentExchange.h"
#include "formats/RegisteredFormat.h"

namespace OrvexClipboard {

namespace {

constinit RegisteredFormat s_format(L"DALVO_SYMFID_FORMAT");

}  // namespace

FormatSymFid::FormatSymFid() = default;

FormatSymFid::~FormatSymFid() = default;

const wchar_t* FormatSymFid::GetClipboardName() { return s_format.name(); }

unsigned int FormatSymFid::GetClipboardID() { return s_format.id(); }

HRESULT FormatSymFid::ImportData(IDataObject& data, FormatXML& document) {
    return importDocument(data, s_format.id(), document);
}

HRESULT FormatSymFid::ExportData(IDataObject& data, FormatXML& document) {
    return exportDocument(data, s_format.id(), document);
}

}  // namespace OrvexClipboard
