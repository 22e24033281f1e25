#include "samples/workstation/InstrumentWorkbook.h"

using OrvexClipboard::FormatXML4Spdsheet;

namespace {

/// Returns a formula that requests a value. The two cells to the left of the formula contain the
/// code of the instrument and the name of the field, in that order.
std::wstring formulaFor(std::wstring feed) {
    std::erase(feed, L'"');  // formulas cannot escape a double quotation mark
    return L"=QkGet(\"" + feed + L"\",RC[-2],RC[-1])";
}

bool addRow(FormatXML4Spdsheet& workbook, const Instrument& instrument, const Field& field) {
    return workbook.addRow() && workbook.addCell(L"", instrument.code) &&
           workbook.addCell(L"", field.name) &&
           workbook.addCell(formulaFor(instrument.feed), field.value);
}

}  // namespace

bool writeWorkbook(const Instruments& instruments, const std::vector<std::wstring>& titles,
                   FormatXML4Spdsheet& workbook) {
    if (!workbook.addRow()) return false;
    for (const std::wstring& title : titles)
        if (!workbook.addCell(L"", title)) return false;
    int rows = 1;
    for (const Instrument& instrument : instruments) {
        for (const Field& field : instrument.fields) {
            // Skip a field without a name, because the formula refers to the cell that contains the
            // name, and addCell() does not write an empty cell.
            if (field.name.empty()) continue;
            if (!addRow(workbook, instrument, field)) return false;
            ++rows;
        }
    }
    return workbook.setTableSize(rows, static_cast<int>(titles.size()));
}

Instruments readWorkbook(FormatXML4Spdsheet& workbook) {
    workbook.parseFormulas();
    Instruments instruments;
    const int arrays = workbook.listOfFormulaArraysSize();
    for (int i = 0; i < arrays; ++i) {
        const auto* const array =
            workbook.listOfFormulaArraysGetAt(static_cast<unsigned __int64>(i));
        for (const auto& [position, record] : array->records) {
            const bool isNewInstrument = instruments.empty() ||
                                         instruments.back().code != record.sym ||
                                         instruments.back().feed != record.feed;
            if (isNewInstrument)
                instruments.push_back(
                    {record.sym, L"", record.feed, {}, Instrument::Source::kRequest});
            instruments.back().fields.push_back({record.field, L"", L""});
        }
    }
    return instruments;
}
