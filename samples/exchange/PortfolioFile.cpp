#include "samples/exchange/PortfolioFile.h"

#include <algorithm>
#include <set>

#include "samples/exchange/Console.h"
#include "samples/exchange/Failure.h"

using OrvexClipboard::FormatXML;
using OrvexClipboard::FormatXML4Spdsheet;

namespace {

struct FieldColumn {
    std::size_t index;
    std::wstring name, id;
};

/// The zero-based indices of the columns in the header.
struct Columns {
    std::size_t itemCode, keyLetter, datafeed;
    std::vector<FieldColumn> fields;
};

std::size_t findColumn(const CsvFile& file, const CsvFile::Row& header, const wchar_t* name) {
    const auto at = std::ranges::find(header.cells, name);
    if (at == header.cells.end())
        file.fail(header.line, std::wstring(L"the header lacks the column ") + name);
    return static_cast<std::size_t>(at - header.cells.begin());
}

Columns readHeader(const CsvFile& file, const CsvFile::Row& header) {
    Columns columns{findColumn(file, header, L"ItemCode"),
                    findColumn(file, header, L"KeyLetter"),
                    findColumn(file, header, L"Datafeed"),
                    {}};
    file.requireXmlCharacters(header);
    std::set<std::wstring> names;
    for (std::size_t i = 0; i < header.cells.size(); ++i) {
        const std::wstring& cell = header.cells[i];
        const std::size_t colon = cell.rfind(L':');
        const std::wstring name = cell.substr(0, colon);
        if (name.empty())
            file.fail(header.line, L"column " + std::to_wstring(i + 1) + L" has no name");
        if (!names.insert(name).second)
            file.fail(header.line, L"the header has the column " + name + L" twice");
        if (i == columns.itemCode || i == columns.keyLetter || i == columns.datafeed) continue;
        columns.fields.push_back({i, name, colon == cell.npos ? L"" : cell.substr(colon + 1)});
    }
    return columns;
}

void checkRow(const CsvFile& file, const CsvFile::Row& row, std::size_t cells, std::size_t key) {
    if (row.cells.size() != cells)
        file.fail(row.line, L"has " + counted(row.cells.size(), L"cell") +
                                L", but the header has " + std::to_wstring(cells));
    if (row.cells[key].empty()) file.fail(row.line, L"has no ItemCode");
    file.requireXmlCharacters(row);
}

std::wstring stem(const std::wstring& path) {
    const std::wstring name = path.substr(path.find_last_of(L"/\\:") + 1);
    return name.substr(0, name.rfind(L'.'));
}

void require(bool written) {
    if (!written) throw Failure{kRefused, L"the portfolio's document cannot be written"};
}

/// Writes the cells of a row up to the last cell that is not empty, with a space in each empty
/// cell. Without the space, the workbook would contain no element for the empty cell, and programs
/// could read the next cell into the wrong column.
void writeCells(const CsvFile::Row& row, FormatXML4Spdsheet& workbook) {
    const auto isFilled = [](const std::wstring& cell) { return !cell.empty(); };
    const auto end = std::find_if(row.cells.rbegin(), row.cells.rend(), isFilled).base();
    for (auto cell = row.cells.begin(); cell != end; ++cell)
        require(workbook.addCell(L"", cell->empty() ? L" " : *cell));
}

}  // namespace

void writePortfolio(const CsvFile& file, FormatXML& document) {
    if (file.rows().empty()) file.fail(1, L"there is no header");
    const CsvFile::Row& header = file.rows().front();
    const Columns columns = readHeader(file, header);
    if (file.rows().size() == 1) file.fail(header.line, L"no instruments follow the header");

    require(document.putPortfolio(stem(file.path()), L"Portfolio"));
    for (auto row = file.rows().begin() + 1; row != file.rows().end(); ++row) {
        checkRow(file, *row, header.cells.size(), columns.itemCode);
        require(document.putInstrument(row->cells[columns.itemCode], row->cells[columns.keyLetter],
                                       row->cells[columns.datafeed]));
        for (const FieldColumn& field : columns.fields)
            if (!row->cells[field.index].empty())
                require(document.putField(field.name, field.id, row->cells[field.index]));
    }
}

void writeWorkbook(const CsvFile& file, FormatXML4Spdsheet& workbook) {
    const std::vector<CsvFile::Row>& rows = file.rows();
    require(workbook.setTableSize(static_cast<int>(rows.size()),
                                  static_cast<int>(rows.front().cells.size())));
    for (const CsvFile::Row& row : rows) {
        require(workbook.addRow());
        writeCells(row, workbook);
    }
}
