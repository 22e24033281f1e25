#include "formats/FormatXML4Spdsheet.h"

#include "clipboard/CDataObject.h"
#include "formats/DocumentExchange.h"
#include "formats/RegisteredFormat.h"
#include "formats/WorkbookDocument.h"

namespace OrvexClipboard {

namespace {

constinit RegisteredFormat s_format(L"XML Spreadsheet");

}  // namespace

FormatXML4Spdsheet::FormatXML4Spdsheet() : m_document(std::make_unique<Document>()) {}

FormatXML4Spdsheet::~FormatXML4Spdsheet() = default;

const wchar_t* FormatXML4Spdsheet::GetClipboardName() { return s_format.name(); }

unsigned int FormatXML4Spdsheet::GetClipboardID() { return s_format.id(); }

HRESULT FormatXML4Spdsheet::AcceptData(IDataObject& data) {
    return CDataObject::AcceptHGLOBALData(data, GetClipboardID());
}

HRESULT FormatXML4Spdsheet::ImportData(IDataObject& data, FormatXML4Spdsheet& sheet) {
    return importDocument(data, GetClipboardID(), sheet);
}

HRESULT FormatXML4Spdsheet::ExportData(IDataObject& data, FormatXML4Spdsheet& sheet) {
    return exportDocument(data, GetClipboardID(), sheet);
}

}  // namespace OrvexClipboard
