#include "formats/FormatXML4Spdsheet.h"

#include <memory>
#include <string>

#include "clipboard/CDataObject.h"
#include "clipboard/ReadText.h"
#include "formats/DocumentExchange.h"
#include "formats/RegisteredFormat.h"
#include "formats/WorkbookDocument.h"
#include "i18nstr/i18nstr.h"

namespace OrvexClipboard {

namespace {

constinit RegisteredFormat s_format(L"XML Spreadsheet");

// Imports the text that `data` offers. Unlike importDocument(), this function preserves white
// space.
HRESULT importText(IDataObject& data, FormatXML4Spdsheet& sheet) {
    std::unique_ptr<char[]> text;
    if (FAILED(readText(data, s_format.id(), text))) return E_FAIL;
    std::wstring xml;
    i18nstr::UTF82wide(text.get(), -1, xml);
    return sheet.importFromString(xml) ? S_OK : E_FAIL;
}

}  // namespace

FormatXML4Spdsheet::FormatXML4Spdsheet() : m_document(std::make_unique<Document>()) {}

FormatXML4Spdsheet::~FormatXML4Spdsheet() = default;

const wchar_t* FormatXML4Spdsheet::GetClipboardName() { return s_format.name(); }

unsigned int FormatXML4Spdsheet::GetClipboardID() { return s_format.id(); }

HRESULT FormatXML4Spdsheet::AcceptData(IDataObject& data) {
    return CDataObject::AcceptHGLOBALData(data, GetClipboardID());
}

HRESULT FormatXML4Spdsheet::ImportData(IDataObject& data, FormatXML4Spdsheet& sheet) {
    if (sheet.m_document->reading == Reading::asSpreadsheets) return importText(data, sheet);
    return importDocument(data, GetClipboardID(), sheet);
}

HRESULT FormatXML4Spdsheet::ExportData(IDataObject& data, FormatXML4Spdsheet& sheet) {
    return exportDocument(data, GetClipboardID(), sheet);
}

}  // namespace OrvexClipboard
