#include <algorithm>
#include <string_view>
#include <utility>

#include "formats/FormatXML4Spdsheet.h"
#include "formats/FormulaParser.h"
#include "formats/WorkbookDocument.h"
#include "platform/Bstr.h"
#include "platform/Dom.h"

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

// Finds the function that a formula calls, "QkGet" before "QData", and sets `kind` to it.
// Compatibility: a formula that names neither continues the function before it, as if the name
// ended before the formula's fifth character. Workbooks with other formulas between the requests
// are read because of it: "=SUM(R[-1]C)" is then a call with one argument, which makes no request.
// @return The offset of the character after the name.
std::size_t nextFunction(const std::wstring& formula, int& kind) {
    constexpr std::size_t kNameLength = 5;
    constexpr std::size_t kContinuation = 4;
    std::size_t name = formula.find(L"QkGet");
    if (name != std::wstring::npos) {
        kind = static_cast<int>(formulas::Function::QkGet);
        return name + kNameLength;
    }
    name = formula.find(L"QData");
    if (name != std::wstring::npos) {
        kind = static_cast<int>(formulas::Function::QData);
        return name + kNameLength;
    }
    return kContinuation;
}

}  // namespace

bool FormatXML4Spdsheet::importFromXML(IXMLDOMDocument2& document) {
    return m_document->document.startImport(document, [this] { return locateTable(); });
}

bool FormatXML4Spdsheet::importFromString(const std::wstring& xml) { return beginImport({}, xml); }

bool FormatXML4Spdsheet::beginImport(const std::wstring& source, const std::wstring& xml) {
    return m_document->document.startImport(source, xml, [this] { return locateTable(); });
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
    state.passBudget = state.budget;
    const auto closeArray = [&] {
        m_formulaArrays.push_back(std::exchange(array, {}));
        state.budget.requests = state.passBudget.requests;
        state.budget.characters = state.passBudget.characters;
    };
    m_currentRow = 0;
    for (bool isAtRow = firstRow(); isAtRow; isAtRow = nextRow()) {
        Bstr index;
        if (dom::readAttribute(*state.row, L"ss:Index", index) == S_OK) {
            m_currentRow = placeAt(index);
            if (pass == kFormulaPass) closeArray();
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
    if (pass == kFormulaPass) closeArray();
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
    unsigned __int64 pos = nextFunction(formula, array.kind);
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
