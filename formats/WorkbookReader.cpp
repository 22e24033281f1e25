#include <algorithm>
#include <string_view>
#include <utility>

#include "formats/FormatXML4Spdsheet.h"
#include "formats/FormulaParser.h"
#include "formats/WorkbookDocument.h"
#include "platform/Bstr.h"
#include "platform/Dom.h"
#include "platform/UntrustedXml.h"

namespace OrvexClipboard {

namespace {

namespace dom = platform::dom;
using ATL::CComPtr;
using platform::Bstr;

constexpr int kValuePass = 0;
constexpr int kFormulaPass = 1;

bool isElement(IXMLDOMNode& node, std::wstring_view name) {
    DOMNodeType type = NODE_INVALID;
    Bstr nodeName;
    return SUCCEEDED(node.get_nodeType(&type)) && type == NODE_ELEMENT &&
           SUCCEEDED(node.get_nodeName(nodeName.receive())) && nodeName.view() == name;
}

// The first element of that name among `node` and its next siblings. Names are compared as they
// stand in the text, prefixes included, and namespaces are not looked at: what the document's own
// pattern language does, at a tenth of its cost. It is left to that language only to find the table
// and the list of its rows, which happens once.
CComPtr<IXMLDOMNode> elementFrom(CComPtr<IXMLDOMNode> node, std::wstring_view name) {
    while (node && !isElement(*node, name)) {
        CComPtr<IXMLDOMNode> next;
        if (FAILED(node->get_nextSibling(&next))) return nullptr;
        node = std::move(next);
    }
    return node;
}

CComPtr<IXMLDOMNode> firstElement(IXMLDOMNode& parent, std::wstring_view name) {
    CComPtr<IXMLDOMNode> child;
    if (FAILED(parent.get_firstChild(&child))) return nullptr;
    return elementFrom(std::move(child), name);
}

CComPtr<IXMLDOMNode> nextElement(IXMLDOMNode& node, std::wstring_view name) {
    CComPtr<IXMLDOMNode> sibling;
    if (FAILED(node.get_nextSibling(&sibling))) return nullptr;
    return elementFrom(std::move(sibling), name);
}

// The place that an "ss:Index" says, counted from 0. The attribute counts from 1; what lies before
// the first place, or is no number, means the first place.
int placeAt(const Bstr& index) { return std::max(formulas::decimalValue(index.view()), 1) - 1; }

}  // namespace

bool FormatXML4Spdsheet::importFromXML(IXMLDOMDocument2& document) {
    if (m_begun) return m_succeeded;
    m_begun = true;

    CComPtr<IXMLDOMDocument>& copy = m_document->document;
    bool loaded = false;
    return SUCCEEDED(platform::createUntrustedDocument(dom::kDocument30,
                                                       platform::Contents::document, copy)) &&
           dom::loadObject(*copy, document, loaded) == S_OK && loaded && locateTable();
}

bool FormatXML4Spdsheet::importFromString(const std::wstring& xml) { return beginImport({}, xml); }

bool FormatXML4Spdsheet::beginImport(const std::wstring& source, const std::wstring& xml) {
    if (m_begun) return m_succeeded;
    m_begun = true;

    if (source.empty() && xml.empty()) return false;
    CComPtr<IXMLDOMDocument>& document = m_document->document;
    if (FAILED(platform::createUntrustedDocument(dom::kDocument30, platform::Contents::markup,
                                                 document)))
        return false;
    bool loaded = false;
    const HRESULT hr = source.empty() ? dom::loadText(*document, xml, loaded)
                                      : dom::loadFile(*document, source, loaded);
    return hr == S_OK && loaded && locateTable();
}

bool FormatXML4Spdsheet::locateTable() {
    Document& state = *m_document;
    CComPtr<IXMLDOMNode> workbook;
    CComPtr<IXMLDOMNode> worksheet;
    CComPtr<IXMLDOMNode> table;
    long rows = 0;
    if (dom::selectSingleNode(*state.document, L"Workbook", workbook) != S_OK ||
        dom::selectSingleNode(*workbook, L"Worksheet", worksheet) != S_OK ||
        dom::selectSingleNode(*worksheet, L"Table", table) != S_OK)
        return false;
    const Bstr rowsOfTable(L"./Row");
    if (FAILED(table->selectNodes(rowsOfTable.get(), &state.rows)) || !state.rows ||
        FAILED(state.rows->get_length(&rows)))
        return false;
    state.lastRow = static_cast<int>(rows);
    m_succeeded = true;
    return true;
}

bool FormatXML4Spdsheet::firstRow() {
    return m_document->rows && SUCCEEDED(m_document->rows->reset()) && nextRow();
}

bool FormatXML4Spdsheet::nextRow() {
    Document& state = *m_document;
    CComPtr<IXMLDOMNode> row;
    if (!state.rows || state.rows->nextNode(&row) != S_OK || !row) return false;
    state.row = std::move(row);
    return true;
}

bool FormatXML4Spdsheet::parseCells(int pass) {
    Document& state = *m_document;
    if (!state.rows) return false;

    ArrayOfFormulas array;
    m_currentRow = 0;
    for (bool there = firstRow(); there; there = nextRow()) {
        Bstr index;
        if (dom::readAttribute(*state.row, L"ss:Index", index) == S_OK) {
            m_currentRow = placeAt(index);
            if (pass == kFormulaPass) appendArray(std::exchange(array, {}));
        }
        m_currentColumn = 0;
        for (auto cell = firstElement(*state.row, L"Cell"); cell;
             cell = nextElement(*cell, L"Cell")) {
            if (pass == kValuePass) {
                readCell(*cell);
            } else if (!parseCell(*cell, array)) {
                return false;
            }
            countUp(m_currentColumn);
        }
        countUp(m_currentRow);
    }
    if (pass == kFormulaPass) appendArray(std::move(array));
    return true;
}

bool FormatXML4Spdsheet::parseFormulas() {
    return parseCells(kValuePass) && parseCells(kFormulaPass);
}

void FormatXML4Spdsheet::readCell(IXMLDOMNode& cell) {
    Bstr index;
    if (dom::readAttribute(cell, L"ss:Index", index) == S_OK) m_currentColumn = placeAt(index);
    const auto data = firstElement(cell, L"Data");
    Bstr text;
    if (data && SUCCEEDED(data->get_text(text.receive())))
        m_cellTexts.insert_or_assign(m_cellTexts.end(), {m_currentRow, m_currentColumn},
                                     std::wstring(text.view()));
}

bool FormatXML4Spdsheet::parseCell(IXMLDOMNode& cell, ArrayOfFormulas& array) {
    dom::AttributeValue attributes[] = {{L"ss:Index", {}}, {L"ss:Formula", {}}};
    dom::readAttributes(cell, attributes);  // those that cannot be read are not there
    const auto& [index, formulaAttribute] = attributes;
    if (index.found) m_currentColumn = placeAt(index.value);
    if (!formulaAttribute.found) return true;
    const std::wstring formula(formulaAttribute.value.view());
    if (formula.empty()) return true;

    std::size_t name = formula.find(L"QkGet");
    if (name != std::wstring::npos) {
        array.kind = static_cast<int>(formulas::Function::QkGet);
    } else if ((name = formula.find(L"QData")) != std::wstring::npos) {
        array.kind = static_cast<int>(formulas::Function::QData);
    }
    // kept: a formula without either name is read as the function of the formula before it. The
    // place behind a name that was not found is npos + 5, which is 4: so "=SUM(R[-1]C)" after a
    // "QkGet" is a call with one argument, accepted and without a record.
    unsigned __int64 pos = name + 5;
    switch (array.kind) {
        case static_cast<int>(formulas::Function::QkGet):
            return parseQkGet(formula, pos, array);
        case static_cast<int>(formulas::Function::QData):
            return parseQData(formula, pos, array);
        default:
            return false;
    }
}

}  // namespace OrvexClipboard
