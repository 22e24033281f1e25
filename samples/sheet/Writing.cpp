#include "samples/sheet/Writing.h"

#include <algorithm>

#include "samples/exchange/CsvFile.h"
#include "samples/exchange/Failure.h"
#include "samples/sheet/Elements.h"

using OrvexClipboard::FormatXML4Spdsheet;

namespace {

void require(bool done) {
    if (!done) throw Failure{kRefused, L"the workbook's document cannot be written"};
}

/// Returns the number of cells in a row, up to and including the last cell that is not empty.
std::size_t lengthOf(const CsvFile::Row& row) {
    std::size_t length = row.cells.size();
    while (length > 0 && row.cells[length - 1].empty()) --length;
    return length;
}

/// Temporary text for empty cells between other cells. Without text, addCell() writes no element
/// for an empty cell. It sets the "ss:Index" attribute of the next cell to the distance from the
/// last cell that was written. However, spreadsheet programs read this attribute as a column
/// number. After all cells have been written, clearPlaceholders() removes the temporary text.
constexpr wchar_t kPlaceholder[] = L"-";

void writeCells(const CsvFile& file, FormatXML4Spdsheet& sheet) {
    std::size_t columns = 0;
    for (const CsvFile::Row& row : file.rows()) columns = std::max(columns, lengthOf(row));
    require(sheet.setTableSize(static_cast<int>(file.rows().size()), static_cast<int>(columns)));

    for (const CsvFile::Row& row : file.rows()) {
        require(sheet.addRow());
        for (std::size_t i = 0; i < lengthOf(row); ++i) {
            const std::wstring& cell = row.cells[i];
            if (cell.starts_with(L'=')) {
                require(sheet.addCell(cell, L""));
            } else {
                require(sheet.addCell(L"", cell.empty() ? kPlaceholder : cell));
            }
        }
    }
}

void clearPlaceholders(const CsvFile& file, IXMLDOMDocument2& workbook) {
    auto csvRow = file.rows().begin();
    for (const auto& row : rowsOf(workbook)) {
        const auto cells = elements(*row, L"Cell");
        // Skip an empty Row element. The first element is empty if the CSV file begins with empty
        // rows.
        if (cells.empty()) continue;
        while (lengthOf(*csvRow) == 0) ++csvRow;
        for (std::size_t i = 0; i < cells.size(); ++i)
            if (csvRow->cells[i].empty()) cells[i]->put_text(ATL::CComBSTR(L""));
        ++csvRow;
    }
}

}  // namespace

ATL::CComPtr<IXMLDOMDocument2> workbookOf(const std::wstring& csvFile) {
    const CsvFile file(csvFile, CsvFile::EmptyLines::areRows);
    for (const CsvFile::Row& row : file.rows()) file.requireXmlCharacters(row);

    FormatXML4Spdsheet sheet;
    writeCells(file, sheet);
    ATL::CComPtr<IXMLDOMDocument2> workbook;
    require(sheet.exportToXML(&workbook));
    clearPlaceholders(file, *workbook);
    return workbook;
}

void save(IXMLDOMDocument2& workbook, const std::wstring& path) {
    if (workbook.save(ATL::CComVariant(path.c_str())) != S_OK)
        throw Failure{kBadFile, path + L": cannot be written"};
}

void put(IDataObject& object, IXMLDOMDocument2& workbook) {
    // Do not use FormatXML4Spdsheet::ExportData here, because it would store the document without
    // the changes that clearPlaceholders() has made.
    if (CDataObject::SetXMLAsUTF8Data(object, FormatXML4Spdsheet::GetClipboardID(), workbook) !=
        S_OK)
        throw Failure{kRefused, L"the data object refused the data"};
}
