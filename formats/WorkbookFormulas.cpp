#include <algorithm>
#include <iterator>
#include <utility>

#include "formats/FormatXML4Spdsheet.h"
#include "formats/FormulaParser.h"
#include "formats/WorkbookDocument.h"

namespace OrvexClipboard {

namespace {

// Converts a request to a record only if try_emplace() inserts it into the map. If the map already
// has a record for the cell, the strings are not copied.
struct RecordOf {
    const formulas::Request& request;

    operator formulas::Record() const { return {*request.sym, *request.feed, *request.field}; }
};

}  // namespace

bool FormatXML4Spdsheet::parseValue(const std::wstring& formula, std::wstring& value,
                                    unsigned __int64& pos) {
    return formulas::parseValue(formula, value, pos);
}

int FormatXML4Spdsheet::parseIndex(const std::wstring& formula, unsigned __int64& pos) {
    return formulas::parseIndex(formula, pos);
}

bool FormatXML4Spdsheet::parseRef(const std::wstring& formula, Reference& ref,
                                  unsigned __int64& pos) {
    formulas::parseRef(formula, {m_currentRow, m_currentColumn}, ref, pos, m_document->reading);
    return true;
}

bool FormatXML4Spdsheet::parseReference(const std::wstring& formula, Reference& ref,
                                        unsigned __int64& pos) {
    return formulas::parseReference(formula, {m_currentRow, m_currentColumn}, ref, pos,
                                    m_document->reading);
}

bool FormatXML4Spdsheet::parseArg(const std::wstring& formula, std::wstring& value, Reference& ref,
                                  unsigned __int64& pos) {
    return formulas::parseArg(formula, {m_currentRow, m_currentColumn}, value, ref, pos,
                              m_document->reading);
}

bool FormatXML4Spdsheet::parseSYM(const std::wstring& formula, Record& record, Reference& ref,
                                  unsigned __int64& pos) {
    return parseArg(formula, record.sym, ref, pos);
}

bool FormatXML4Spdsheet::parseField(const std::wstring& formula, Record& record, Reference& ref,
                                    unsigned __int64& pos) {
    return parseArg(formula, record.field, ref, pos);
}

bool FormatXML4Spdsheet::parseFeed(const std::wstring& formula, Record& record, Reference& ref,
                                   unsigned __int64& pos) {
    if (!parseArg(formula, record.feed, ref, pos)) return false;
    formulas::stripFeedPrefix(record.feed);
    return true;
}

bool FormatXML4Spdsheet::parseQkGet(const std::wstring& formula, unsigned __int64& pos,
                                    ArrayOfFormulas& array) {
    formulas::Call call;
    if (!formulas::parseCall(formula, {m_currentRow, m_currentColumn}, formulas::Function::QkGet,
                             pos, call, m_document->reading))
        return false;
    return !call.isComplete ||
           generateRecords(call.sym, call.field, call.feed, call.literals, array);
}

bool FormatXML4Spdsheet::parseQData(const std::wstring& formula, unsigned __int64& pos,
                                    ArrayOfFormulas& array) {
    formulas::Call call;
    if (!formulas::parseCall(formula, {m_currentRow, m_currentColumn}, formulas::Function::QData,
                             pos, call, m_document->reading))
        return false;
    return !call.isComplete ||
           generateRecords(call.sym, call.field, call.feed, call.literals, array);
}

bool FormatXML4Spdsheet::generateRecords(Reference& symRef, Reference& fieldRef, Reference& feedRef,
                                         Record& record, ArrayOfFormulas& array) {
    const formulas::Call call = {record, symRef, feedRef, fieldRef, true};
    // Most requests are inserted directly after the previous request. For these requests, the hint
    // avoids a search in the map.
    auto hint = array.records.end();
    const auto keepFirst = [&](const formulas::Request& request) {
        hint = std::next(array.records.try_emplace(hint, {request.cell.row, request.cell.column},
                                                   RecordOf{request}));
    };
    return formulas::expand(call, {m_currentRow, m_currentColumn}, m_cellTexts,
                            m_document->passBudget, keepFirst);
}

void FormatXML4Spdsheet::listOfFormulaArraysPush(ArrayOfFormulas& array) {
    m_formulaArrays.push_back(array);
}

int FormatXML4Spdsheet::listOfFormulaArraysSize() const {
    return static_cast<int>(m_formulaArrays.size());
}

const FormatXML4Spdsheet::ArrayOfFormulas* FormatXML4Spdsheet::listOfFormulaArraysGetAt(
    unsigned __int64 index) const {
    if (m_formulaArrays.empty()) return nullptr;
    return &m_formulaArrays[std::min<std::size_t>(index, m_formulaArrays.size() - 1)];
}

}  // namespace OrvexClipboard
