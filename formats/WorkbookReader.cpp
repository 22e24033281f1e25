#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

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

// The element and attribute names that are used for one value of `Reading`.
struct Names {
    std::wstring_view namespaceUri;  // empty if qualified names are compared
    std::wstring_view workbook;      // `workbook`, `worksheet`, `table` and `rows` are queries
    std::wstring_view worksheet;
    std::wstring_view table;
    std::wstring_view rows;
    std::wstring_view index;
    std::wstring_view formula;
    std::wstring_view span;
    std::wstring_view mergeAcross;
};

constexpr Names kQualifiedNames = {{},          L"Workbook",   L"Worksheet", L"Table", L"./Row",
                                   L"ss:Index", L"ss:Formula", {},           {}};

constexpr Names kNamesInNamespace = {L"urn:schemas-microsoft-com:office:spreadsheet",
                                     L"w:Workbook",
                                     L"w:Worksheet",
                                     L"w:Table",
                                     L"./w:Row",
                                     L"Index",
                                     L"Formula",
                                     L"Span",
                                     L"MergeAcross"};
constexpr std::wstring_view kNamespaceOfQueries =
    L"xmlns:w='urn:schemas-microsoft-com:office:spreadsheet'";

const Names& namesOf(FormatXML4Spdsheet::Reading reading) noexcept {
    return reading == FormatXML4Spdsheet::Reading::asSpreadsheets ? kNamesInNamespace
                                                                  : kQualifiedNames;
}

// Returns the first element named `name` among `node` and its following siblings, or null if there
// is no such element. An MSXML query would find the same element, but would take ten times as long.
// Queries are therefore used only to find the table and its rows, once per document.
CComPtr<IXMLDOMNode> elementFrom(CComPtr<IXMLDOMNode> node, const Names& names,
                                 std::wstring_view name) {
    while (node && !dom::isElement(*node, names.namespaceUri, name)) {
        CComPtr<IXMLDOMNode> next;
        if (FAILED(node->get_nextSibling(&next))) return nullptr;
        node = std::move(next);
    }
    return node;
}

CComPtr<IXMLDOMNode> firstElement(IXMLDOMNode& parent, const Names& names, std::wstring_view name) {
    CComPtr<IXMLDOMNode> child;
    if (FAILED(parent.get_firstChild(&child))) return nullptr;
    return elementFrom(std::move(child), names, name);
}

CComPtr<IXMLDOMNode> nextElement(IXMLDOMNode& node, const Names& names, std::wstring_view name) {
    CComPtr<IXMLDOMNode> sibling;
    if (FAILED(node.get_nextSibling(&sibling))) return nullptr;
    return elementFrom(std::move(sibling), names, name);
}

// Returns the number of additional rows or columns that an "ss:Span" or "ss:MergeAcross" attribute
// specifies. Returns 0 if the attribute is missing or if its value is negative.
int additionalCount(const dom::AttributeValue& attribute) {
    return attribute.found ? std::max(formulas::decimalValue(attribute.value.view()), 0) : 0;
}

// Sets `kind` to the function that a formula calls. If the formula contains both "QkGet" and
// "QData", it is read as a call to "QkGet".
//
// Compatibility: a formula that contains neither name is read as a call to the function that the
// previous formula calls, with arguments that start at the fifth character of the formula. Callers
// rely on this rule for workbooks that contain other formulas between calls to "QkGet" and "QData".
// For example, "=SUM(R[-1]C)" is read as a call that has one argument. Such a call makes no
// request.
// @return The offset at which the arguments start.
std::size_t findCalledFunction(const std::wstring& formula, int& kind) {
    constexpr std::size_t kNameLength = 5;
    constexpr std::size_t kDefaultArgumentsOffset = 4;
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
    return kDefaultArgumentsOffset;
}

}  // namespace

bool FormatXML4Spdsheet::setReading(Reading reading) {
    Document& state = *m_document;
    if (state.document.hasStarted()) return false;
    state.reading = reading;
    state.document.keepWhiteSpace(reading == Reading::asSpreadsheets);
    return true;
}

bool FormatXML4Spdsheet::importFromXML(IXMLDOMDocument2& document) {
    const auto locate = [this] { return locateTable(); };
    return m_document->reading == Reading::asSpreadsheets
               ? m_document->document.startImportOfText(document, locate)
               : m_document->document.startImport(document, locate);
}

bool FormatXML4Spdsheet::importFromString(const std::wstring& xml) { return beginImport({}, xml); }

bool FormatXML4Spdsheet::beginImport(const std::wstring& source, const std::wstring& xml) {
    return m_document->document.startImport(source, xml, [this] { return locateTable(); });
}

bool FormatXML4Spdsheet::locateTable() {
    Document& state = *m_document;
    if (state.reading == Reading::asSpreadsheets) {
        CComPtr<IXMLDOMDocument2> document;
        if (FAILED(state.document->QueryInterface(dom::kIXMLDOMDocument2,
                                                  reinterpret_cast<void**>(&document))) ||
            FAILED(dom::selectWithXPath(*document, kNamespaceOfQueries)))
            return false;
    }
    const Names& names = namesOf(state.reading);
    CComPtr<IXMLDOMNode> workbook;
    CComPtr<IXMLDOMNode> worksheet;
    CComPtr<IXMLDOMNode> table;
    long rows = 0;
    if (dom::selectSingleNode(*state.document, names.workbook, workbook) != S_OK ||
        dom::selectSingleNode(*workbook, names.worksheet, worksheet) != S_OK ||
        dom::selectSingleNode(*worksheet, names.table, table) != S_OK)
        return false;
    const Bstr rowsOfTable(names.rows);
    if (FAILED(table->selectNodes(rowsOfTable.get(), &state.rows)) || !state.rows ||
        FAILED(state.rows->get_length(&rows)))
        return false;
    state.lastRow = static_cast<int>(rows);
    return true;
}

bool FormatXML4Spdsheet::firstRow() { return m_document->firstRow(); }

bool FormatXML4Spdsheet::nextRow() { return m_document->nextRow(); }

bool FormatXML4Spdsheet::Document::firstRow() {
    return rows && SUCCEEDED(rows->reset()) && nextRow();
}

bool FormatXML4Spdsheet::Document::nextRow() {
    CComPtr<IXMLDOMNode> next;
    if (!rows || rows->nextNode(&next) != S_OK || !next) return false;
    row = std::move(next);
    return true;
}

template <class AtNumberedRow, class AtCell>
bool FormatXML4Spdsheet::Document::forEachCell(int& rowIndex, int& columnIndex,
                                               std::wstring* formula,
                                               const AtNumberedRow& atNumberedRow,
                                               const AtCell& atCell) {
    const Names& names = namesOf(reading);
    rowIndex = 0;
    for (bool isAtRow = firstRow(); isAtRow; isAtRow = nextRow()) {
        dom::AttributeValue attributes[] = {{names.index, {}}, {names.span, {}}};
        const auto& [index, span] = attributes;
        dom::readAttributes(*row, names.namespaceUri, attributes);
        if (index.found) {
            rowIndex = formulas::zeroBasedIndex(index.value.view());
            atNumberedRow();
        }
        columnIndex = 0;
        for (auto cell = firstElement(*row, names, L"Cell"); cell;
             cell = nextElement(*cell, names, L"Cell")) {
            const int mergedColumns = readCellAttributes(*cell, columnIndex, formula);
            if (!atCell(*cell)) return false;
            incrementClamped(columnIndex, mergedColumns);
        }
        incrementClamped(rowIndex, additionalCount(span));
    }
    return true;
}

int FormatXML4Spdsheet::Document::readCellAttributes(IXMLDOMNode& cell, int& column,
                                                     std::wstring* formula) const {
    const Names& names = namesOf(reading);
    const std::wstring_view formulaName = formula ? names.formula : std::wstring_view();
    dom::AttributeValue attributes[] = {
        {names.index, {}}, {names.mergeAcross, {}}, {formulaName, {}}};
    const auto& [index, mergeAcross, formulaAttribute] = attributes;
    // An attribute that cannot be read is treated as missing.
    dom::readAttributes(cell, names.namespaceUri, attributes);
    if (index.found) column = formulas::zeroBasedIndex(index.value.view());
    if (formula) *formula = formulaAttribute.value.view();
    return additionalCount(mergeAcross);
}

bool FormatXML4Spdsheet::Document::readText(IXMLDOMNode& cell, std::wstring& text) const {
    const auto data = firstElement(cell, namesOf(reading), L"Data");
    Bstr found;
    if (!data || FAILED(data->get_text(found.receive()))) return false;
    text = found.view();
    return true;
}

bool FormatXML4Spdsheet::parseCells(int pass) {
    Document& state = *m_document;
    if (!state.rows) return false;

    ArrayOfFormulas array;
    std::wstring formula;
    state.passBudget = state.budget;
    const auto endArray = [&] {
        if (pass == kFormulaPass) closeArray(array);
    };
    const auto atCell = [&](IXMLDOMNode& cell) {
        if (pass != kValuePass) return parseFormula(formula, array);
        storeText(cell);
        return true;
    };
    if (!state.forEachCell(m_currentRow, m_currentColumn, pass == kValuePass ? nullptr : &formula,
                           endArray, atCell))
        return false;
    endArray();
    return true;
}

bool FormatXML4Spdsheet::parseFormulas() {
    return m_document->reading == Reading::asSpreadsheets
               ? parseFormulasOfSpreadsheet()
               : parseCells(kValuePass) && parseCells(kFormulaPass);
}

// If no call fails, the texts, arrays and positions are the same as after the two passes of
// parseCells(). This function visits the nodes only once, because a document that keeps its white
// space has many more nodes.
bool FormatXML4Spdsheet::parseFormulasOfSpreadsheet() {
    Document& state = *m_document;
    if (!state.rows) return false;

    // A cell without a formula represents the end of an array.
    std::vector<Cell> found;
    std::wstring formula;
    const auto endArray = [&] { found.push_back({m_currentRow, m_currentColumn, {}, {}}); };
    const auto atCell = [&](IXMLDOMNode& cell) {
        storeText(cell);
        if (!formula.empty())
            found.push_back({m_currentRow, m_currentColumn, {}, std::move(formula)});
        return true;
    };
    state.forEachCell(m_currentRow, m_currentColumn, &formula, endArray, atCell);
    endArray();

    ArrayOfFormulas array;
    state.passBudget = state.budget;
    for (const Cell& cell : found) {
        m_currentRow = cell.row;
        m_currentColumn = cell.column;
        if (cell.formula.empty())
            closeArray(array);
        else if (!parseFormula(cell.formula, array))
            return false;
    }
    return true;
}

void FormatXML4Spdsheet::closeArray(ArrayOfFormulas& array) {
    m_formulaArrays.push_back(std::exchange(array, {}));
    m_document->budget.requests = m_document->passBudget.requests;
    m_document->budget.characters = m_document->passBudget.characters;
}

bool FormatXML4Spdsheet::readCells(std::vector<Cell>& cells) {
    cells.clear();
    Document& state = *m_document;
    if (!state.rows) return false;

    std::vector<Cell> found;
    std::wstring formula;
    const auto list = [&](IXMLDOMNode& node) {
        std::wstring text;
        state.readText(node, text);
        if (!text.empty() || !formula.empty())
            found.push_back({m_currentRow, m_currentColumn, std::move(text), std::move(formula)});
        return true;
    };
    state.forEachCell(
        m_currentRow, m_currentColumn, &formula, [] {}, list);
    cells = std::move(found);
    return true;
}

void FormatXML4Spdsheet::storeText(IXMLDOMNode& cell) {
    std::wstring text;
    if (m_document->readText(cell, text))
        m_cellTexts.insert_or_assign(m_cellTexts.end(), {m_currentRow, m_currentColumn},
                                     std::move(text));
}

bool FormatXML4Spdsheet::parseFormula(const std::wstring& formula, ArrayOfFormulas& array) {
    if (formula.empty()) return true;
    unsigned __int64 pos = 0;
    if (m_document->reading == Reading::asSpreadsheets) {
        const auto function = formulas::findOutermostCall(formula, pos);
        if (!function) return true;
        array.kind = static_cast<int>(*function);
    } else {
        pos = findCalledFunction(formula, array.kind);
    }
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
