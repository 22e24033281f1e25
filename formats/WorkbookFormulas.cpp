#include <algorithm>
#include <utility>

#include "formats/FormatXML4Spdsheet.h"
#include "formats/FormulaParser.h"

namespace OrvexClipboard {

namespace {

// Of all arrays of an object: 64 columns of a full sheet of 65,536 rows, about 600 MB.
constexpr std::size_t kMostRecords = 4'194'304;

using Reference = FormatXML4Spdsheet::Reference;
using Record = FormatXML4Spdsheet::Record;

// Becomes the record where a map takes it, and only when it takes it.
struct RecordOf {
    const formulas::Placement& placement;

    operator Record() const { return {*placement.sym, *placement.feed, *placement.field}; }
};

formulas::CellRange toRange(const Reference& reference) {
    return {reference.row, reference.rowCount, reference.column, reference.columnCount};
}

Reference toReference(const formulas::CellRange& range) {
    return {range.row, range.rowCount, range.column, range.columnCount};
}

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
    formulas::CellRange range = toRange(ref);
    formulas::parseRef(formula, {m_currentRow, m_currentColumn}, range, pos);
    ref = toReference(range);
    return true;
}

bool FormatXML4Spdsheet::parseReference(const std::wstring& formula, Reference& ref,
                                        unsigned __int64& pos) {
    formulas::CellRange range = toRange(ref);
    const bool ended =
        formulas::parseReference(formula, {m_currentRow, m_currentColumn}, range, pos);
    ref = toReference(range);
    return ended;
}

bool FormatXML4Spdsheet::parseArg(const std::wstring& formula, std::wstring& value, Reference& ref,
                                  unsigned __int64& pos) {
    formulas::CellRange range = toRange(ref);
    const bool ended =
        formulas::parseArg(formula, {m_currentRow, m_currentColumn}, value, range, pos);
    ref = toReference(range);
    return ended;
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
    return parseCall(static_cast<int>(formulas::Function::QkGet), formula, pos, array);
}

bool FormatXML4Spdsheet::parseQData(const std::wstring& formula, unsigned __int64& pos,
                                    ArrayOfFormulas& array) {
    return parseCall(static_cast<int>(formulas::Function::QData), formula, pos, array);
}

bool FormatXML4Spdsheet::parseCall(int kind, const std::wstring& formula, unsigned __int64& pos,
                                   ArrayOfFormulas& array) {
    formulas::Call call;
    if (!formulas::parseCall(formula, {m_currentRow, m_currentColumn},
                             static_cast<formulas::Function>(kind), pos, call))
        return false;
    if (!call.complete) return true;

    Record record = {std::move(call.sym.text), std::move(call.feed.text),
                     std::move(call.field.text)};
    Reference symRef = toReference(call.sym.cells);
    Reference fieldRef = toReference(call.field.cells);
    Reference feedRef = toReference(call.feed.cells);
    return generateRecords(symRef, fieldRef, feedRef, record, array);
}

bool FormatXML4Spdsheet::generateRecords(Reference& symRef, Reference& fieldRef, Reference& feedRef,
                                         Record& record, ArrayOfFormulas& array) {
    const formulas::Call call = {{record.sym, toRange(symRef)},
                                 {record.feed, toRange(feedRef)},
                                 {record.field, toRange(fieldRef)},
                                 true};
    const std::size_t held = m_recordCount + array.records.size();
    const auto placements = formulas::expand(call, {m_currentRow, m_currentColumn}, m_cellTexts,
                                             kMostRecords - std::min(held, kMostRecords));
    if (!placements) return false;
    // The places come in the map's own order, most often behind all that it has: behind the one
    // before there is nothing to search.
    auto hint = array.records.end();
    for (const formulas::Placement& placement : *placements) {
        // The first record for a place stands.
        hint = array.records.try_emplace(hint, {placement.at.row, placement.at.column},
                                         RecordOf{placement});
        ++hint;
    }
    return true;
}

void FormatXML4Spdsheet::listOfFormulaArraysPush(ArrayOfFormulas& array) { appendArray(array); }

int FormatXML4Spdsheet::listOfFormulaArraysSize() const {
    return static_cast<int>(m_formulaArrays.size());
}

const FormatXML4Spdsheet::ArrayOfFormulas* FormatXML4Spdsheet::listOfFormulaArraysGetAt(
    unsigned __int64 index) const {
    if (m_formulaArrays.empty()) return nullptr;
    return &m_formulaArrays[std::min<std::size_t>(index, m_formulaArrays.size() - 1)];
}

void FormatXML4Spdsheet::appendArray(ArrayOfFormulas array) {
    const std::size_t records = array.records.size();
    m_formulaArrays.push_back(std::move(array));
    m_recordCount += records;
}

}  // namespace OrvexClipboard
