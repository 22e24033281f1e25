#include "samples/sheet/Reading.h"

#include <vector>

#include "samples/clipboard_view/Table.h"
#include "samples/clipboard_view/WorkbookTable.h"
#include "samples/exchange/Console.h"
#include "samples/exchange/Failure.h"
#include "samples/exchange/XmlFile.h"

using OrvexClipboard::FormatXML4Spdsheet;

namespace {

void printCells(FormatXML4Spdsheet& sheet) {
    std::vector<FormatXML4Spdsheet::Cell> cells;
    if (!sheet.readCells(cells)) throw Failure{kRefused, L"the cells cannot be read"};

    Table table;
    table.add({L"Cell", L"Text", L"Formula"});
    for (const auto& cell : cells)
        table.add({cellName(cell.row, cell.column), cell.text, cell.formula});
    print(stdout, table.text());
}

void printRequests(const FormatXML4Spdsheet& sheet) {
    for (int i = 0; i < sheet.listOfFormulaArraysSize(); ++i) {
        const auto* const array = sheet.listOfFormulaArraysGetAt(static_cast<std::size_t>(i));
        // The library begins a new array of formulas at each row with an "ss:Index" attribute, so
        // an array can be empty.
        if (array->records.empty()) continue;
        print(stdout, L"\n" + counted(array->records.size(), L"request") + L", the last by " +
                          (array->kind == 0 ? L"QkGet" : L"QData") + L"\n");
        Table table;
        table.add({L"Result in", L"Instrument", L"Feed", L"Field"});
        for (const auto& [position, record] : array->records)
            table.add(
                {cellName(position.first, position.second), record.sym, record.feed, record.field});
        print(stdout, table.text());
    }
}

void printWorkbook(FormatXML4Spdsheet& sheet) {
    printCells(sheet);
    const bool parsed = sheet.parseFormulas();
    printRequests(sheet);
    if (!parsed) throw Failure{kRefused, L"a formula is not a readable call of QkGet or QData"};
}

}  // namespace

void printFile(const std::wstring& path, FormatXML4Spdsheet::Reading reading) {
    const ATL::CComPtr<IXMLDOMDocument2> document = readXmlFile(path);
    FormatXML4Spdsheet sheet;
    sheet.setReading(reading);
    if (!sheet.importFromXML(*document))
        throw Failure{kBadFile, path +
                                    L": is not a workbook (Workbook/Worksheet/Table); save it as "
                                    L"\"XML Spreadsheet 2003\""};
    printWorkbook(sheet);
}

void printPasted(IDataObject& object, FormatXML4Spdsheet::Reading reading) {
    if (FormatXML4Spdsheet::AcceptData(object) != S_OK)
        throw Failure{kNothingToPaste, L"the clipboard holds no workbook"};
    FormatXML4Spdsheet sheet;
    sheet.setReading(reading);
    if (FormatXML4Spdsheet::ImportData(object, sheet) != S_OK)
        throw Failure{kRefused, L"the clipboard holds a workbook that cannot be read"};
    printWorkbook(sheet);
}
