#include <cstdint>
#include <string_view>

#include "formats/FormatXML4Spdsheet.h"
#include "formats/WorkbookDocument.h"
#include "platform/Bstr.h"
#include "platform/Dom.h"
#include "platform/Variant.h"

namespace OrvexClipboard {

namespace {

namespace dom = platform::dom;
using ATL::CComPtr;
using platform::Bstr;
using platform::Variant;

constexpr std::wstring_view kSpreadsheet = L"urn:schemas-microsoft-com:office:spreadsheet";
constexpr std::wstring_view kOffice = L"urn:schemas-microsoft-com:office:office";
constexpr std::wstring_view kExcel = L"urn:schemas-microsoft-com:office:excel";
constexpr std::wstring_view kHtml = L"http://www.w3.org/TR/REC-html40";

bool appendInstruction(IXMLDOMDocument& document, std::wstring_view target,
                       std::wstring_view data) {
    CComPtr<IXMLDOMProcessingInstruction> instruction;
    const HRESULT hr =
        document.createProcessingInstruction(Bstr(target).get(), Bstr(data).get(), &instruction);
    return SUCCEEDED(hr) && instruction && SUCCEEDED(document.appendChild(instruction, nullptr));
}

// Elements and attributes are created with qualified names, but without a namespace. The prefixes
// are resolved only when the XML text is parsed.
bool createElement(IXMLDOMDocument& document, std::wstring_view name,
                   CComPtr<IXMLDOMElement>& element) {
    return SUCCEEDED(dom::createElement(document, name, element));
}

bool appendElement(IXMLDOMDocument& document, IXMLDOMNode& parent, std::wstring_view name,
                   CComPtr<IXMLDOMElement>& element) {
    return SUCCEEDED(dom::appendElement(document, parent, name, element));
}

bool appendChild(IXMLDOMNode& parent, IXMLDOMNode& child) {
    return SUCCEEDED(parent.appendChild(&child, nullptr));
}

// `value` is a string, a std::int32_t or a std::uint32_t.
template <class Value>
bool setAttribute(IXMLDOMElement& element, std::wstring_view name, const Value& value) {
    return SUCCEEDED(dom::setAttribute(element, name, Variant(value)));
}

}  // namespace

bool FormatXML4Spdsheet::Document::startRow(bool numbered) {
    row.Release();
    CComPtr<IXMLDOMElement> element;
    if (!table || !createElement(*document, L"Row", element)) return false;
    if (numbered && !setAttribute(*element, L"ss:Index", static_cast<std::uint32_t>(rowNumber)))
        return false;
    if (!appendChild(*table, *element)) return false;
    row = element.p;
    lastRow = rowNumber;
    return true;
}

bool FormatXML4Spdsheet::beginExport() {
    Document& state = *m_document;
    return state.document.startExport([&state] {
        IXMLDOMDocument& document = *state.document;
        CComPtr<IXMLDOMElement> workbook, worksheet;
        return appendInstruction(document, L"xml", L"version='1.0'") &&
               appendInstruction(document, L"mso-application", L"progid='Excel.Sheet'") &&
               createElement(document, L"Workbook", workbook) &&
               SUCCEEDED(document.putref_documentElement(workbook)) &&
               setAttribute(*workbook, L"xmlns", kSpreadsheet) &&
               setAttribute(*workbook, L"xmlns:o", kOffice) &&
               setAttribute(*workbook, L"xmlns:x", kExcel) &&
               setAttribute(*workbook, L"xmlns:ss", kSpreadsheet) &&
               setAttribute(*workbook, L"xmlns:html", kHtml) &&
               appendElement(document, *workbook, L"Worksheet", worksheet) &&
               setAttribute(*worksheet, L"ss:Name", L"Sheet1") &&
               appendElement(document, *worksheet, L"Table", state.table);
    });
}

bool FormatXML4Spdsheet::setTableSize(const int& rows, const int& columns) {
    if (!beginExport() || !m_document->table) return false;

    IXMLDOMElement& table = *m_document->table;
    return setAttribute(table, L"ss:ExpandedColumnCount", std::int32_t{columns}) &&
           setAttribute(table, L"ss:ExpandedRowCount", std::int32_t{rows});
}

bool FormatXML4Spdsheet::addRow() {
    if (!beginExport() || !m_document->table) return false;

    incrementClamped(m_document->rowNumber);
    m_document->columnNumber = 0;
    return true;
}

bool FormatXML4Spdsheet::addCell(const std::wstring& formula, const std::wstring& value) {
    Document& state = *m_document;
    if (!state.document.isUsable()) return false;
    if (state.rowNumber == 0) addRow();

    incrementClamped(state.columnNumber);
    if (formula.empty() && value.empty()) return true;

    // Compatibility: if the first row with content is below row 1, an empty Row element precedes
    // it. Receivers expect this element.
    const int rowGap = state.rowNumber - state.lastRow;
    if (!state.row && !state.startRow(false)) return false;
    if (rowGap > 0 && !state.startRow(rowGap > 1)) return false;

    // Compatibility: the "ss:Index" attribute of a cell is the distance in columns from the last
    // cell that was written, even if that cell is in another row. Receivers of the format rely on
    // this value.
    const int columnGap = state.columnNumber - state.lastColumn;
    CComPtr<IXMLDOMElement> cell;
    if (!createElement(*state.document, L"Cell", cell)) return false;
    if (columnGap > 1 && !setAttribute(*cell, L"ss:Index", std::int32_t{columnGap})) return false;
    if (!appendChild(*state.row, *cell)) return false;
    state.lastColumn = state.columnNumber;

    if (!formula.empty() && !setAttribute(*cell, L"ss:Formula", formula)) return false;
    CComPtr<IXMLDOMElement> data;
    return appendElement(*state.document, *cell, L"Data", data) &&
           setAttribute(*data, L"ss:Type", L"String") && SUCCEEDED(dom::putText(*data, value));
}

bool FormatXML4Spdsheet::appendChildElementNode(CComPtr<IXMLDOMElement>& parent,
                                                const ATL::CComBSTR& name,
                                                ATL::CComVariant& value) {
    if (!parent || !m_document->document.create()) return false;
    CComPtr<IXMLDOMNode> element;
    const std::wstring_view elementName(name.m_str, name.Length());
    return SUCCEEDED(dom::createElement(*m_document->document, elementName, element)) &&
           SUCCEEDED(element->put_nodeTypedValue(value)) && appendChild(*parent, *element);
}

bool FormatXML4Spdsheet::exportToXML(IXMLDOMDocument2** document) {
    return m_document->document.exportTo(document);
}

bool FormatXML4Spdsheet::exportToString(std::wstring& text) {
    return m_document->document.exportTo(text);
}

}  // namespace OrvexClipboard
