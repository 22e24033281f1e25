#include "samples/clipboard_view/WorkbookTable.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <I18nResource.h>

using OrvexClipboard::FormatXML4Spdsheet;

namespace {

enum Column { kCell, kText, kFormula, kInstrument, kFeed, kField, kColumns };

using CellPosition = std::pair<int, int>;
using Rows = std::map<CellPosition, std::vector<std::wstring>>;

std::vector<std::wstring>& rowOf(Rows& rows, const CellPosition& position) {
    std::vector<std::wstring>& row = rows[position];
    row.resize(kColumns);
    row[kCell] = cellName(position.first, position.second);
    return row;
}

void addRequests(Rows& rows, const FormatXML4Spdsheet& workbook) {
    for (int i = 0; i < workbook.listOfFormulaArraysSize(); ++i) {
        const auto* const array = workbook.listOfFormulaArraysGetAt(static_cast<std::size_t>(i));
        for (const auto& [position, record] : array->records) {
            std::vector<std::wstring>& row = rowOf(rows, position);
            row[kInstrument] = record.sym;
            row[kFeed] = record.feed;
            row[kField] = record.field;
        }
    }
}

}  // namespace

std::optional<Decoded> decodeWorkbook(IDataObject& object) {
    FormatXML4Spdsheet workbook;
    workbook.setReading(FormatXML4Spdsheet::Reading::asSpreadsheets);
    std::vector<FormatXML4Spdsheet::Cell> cells;
    if (FormatXML4Spdsheet::ImportData(object, workbook) != S_OK || !workbook.readCells(cells))
        return std::nullopt;

    Rows rows;
    for (const auto& cell : cells) {
        std::vector<std::wstring>& row = rowOf(rows, {cell.row, cell.column});
        row[kText] = cell.text;
        row[kFormula] = cell.formula;
    }
    Decoded decoded;
    decoded.kind = L"workbook";
    if (!workbook.parseFormulas())
        decoded.lines.push_back(L"(a formula cannot be read: requests are missing)");
    addRequests(rows, workbook);
    decoded.table.push_back({L"Cell", L"Text", L"Formula", L"Instrument", L"Feed", L"Field"});
    for (auto& [position, row] : rows) decoded.table.push_back(std::move(row));
    return decoded;
}

std::wstring cellName(int row, int column) {
    // The library can return INT_MAX, so the sum is computed in a larger type.
    return L"R" + std::to_wstring(row + 1LL) + L"C" + std::to_wstring(column + 1LL);
}
