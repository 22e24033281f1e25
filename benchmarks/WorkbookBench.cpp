#include <windows.h>

#include <msxml2.h>
#include <objbase.h>
#include <psapi.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "benchmarks/Harness.h"
#include "dll/atl.h"
#include "formats/FormatXML4Spdsheet.h"

namespace {

using OrvexClipboard::FormatXML4Spdsheet;
using Reading = FormatXML4Spdsheet::Reading;

constexpr CLSID kDocument30 = {
    0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
constexpr IID kIXMLDOMDocument = {
    0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr int k10000 = 10'000;    // cells
constexpr int k100000 = 100'000;  // cells
constexpr int kColumns = 10;      // the formulas in column 10 refer to column 1
constexpr int kFormulas = 10'000;
constexpr int kFields = 40;  // number of fields that each formula requests

// Cells

void write(FormatXML4Spdsheet& sheet, int cells) {
    for (int row = 0; row < cells / kColumns; ++row) {
        sheet.addRow();
        sheet.addCell(L"", L"CODE" + std::to_wstring(row) + L".XX");
        for (int column = 1; column < kColumns - 1; ++column)
            sheet.addCell(L"", std::to_wstring(row * kColumns + column) + L".5");
        sheet.addCell(L"=QkGet(\"FEED\",RC[-9],\"LAST\")", L"1234.5");
    }
}

std::wstring written(int cells) {
    FormatXML4Spdsheet sheet;
    write(sheet, cells);
    std::wstring xml;
    sheet.exportToString(xml);
    return xml;
}

std::size_t recordsOf(const FormatXML4Spdsheet& sheet) {
    std::size_t records = 0;
    for (int i = 0; i < sheet.listOfFormulaArraysSize(); ++i)
        records += sheet.listOfFormulaArraysGetAt(static_cast<std::size_t>(i))->records.size();
    return records;
}

std::size_t read(const std::wstring& xml, Reading reading = Reading::strict) {
    FormatXML4Spdsheet sheet;
    sheet.setReading(reading);
    return sheet.importFromString(xml) && sheet.parseFormulas() ? recordsOf(sheet) : 0;
}

ATL::CComPtr<IXMLDOMDocument> plainlyLoaded(const std::wstring& xml) {
    ATL::CComPtr<IXMLDOMDocument> document;
    ::CoCreateInstance(kDocument30, nullptr, CLSCTX_ALL, kIXMLDOMDocument,
                       reinterpret_cast<void**>(&document));
    VARIANT_BOOL loaded = VARIANT_FALSE;
    document->loadXML(ATL::CComBSTR(xml.c_str()), &loaded);
    if (!loaded) document.Release();
    return document;
}

bench::Batch writing(int cells) {
    return bench::repeated([cells] { return written(cells).size(); });
}

bench::Batch reading(int cells, Reading as = Reading::strict) {
    return bench::repeated([xml = written(cells), as] { return read(xml, as); });
}

// Measures reading a workbook in which each row and each cell starts on a new line, as in a
// workbook that Excel writes.
bench::Batch readingLines(int cells, Reading as) {
    const std::wstring xml = written(cells);
    std::wstring lines;
    for (std::size_t i = 0; i < xml.size(); ++i) {
        const std::wstring_view rest = std::wstring_view(xml).substr(i);
        if (rest.starts_with(L"<Row") || rest.starts_with(L"</Row")) lines += L"\n   ";
        if (rest.starts_with(L"<Cell")) lines += L"\n    ";
        lines += xml[i];
    }
    return bench::repeated([lines = std::move(lines), as] { return read(lines, as); });
}

bench::Batch writingAndReading(int cells) {
    return bench::repeated([cells] { return read(written(cells)); });
}

bench::Batch loading(int cells) {
    return bench::repeated([xml = written(cells)] { return plainlyLoaded(xml) ? xml.size() : 0; });
}

// Formulas

// Returns a workbook whose first row contains field names. Each of the other rows contains an
// instrument code and a formula that requests all fields.
std::wstring formulaBook() {
    std::wstring rows = L"<Row><Cell/>";
    for (int field = 0; field < kFields; ++field)
        rows += L"<Cell><Data>FIELD" + std::to_wstring(field) + L"</Data></Cell>";
    rows += L"</Row>";
    for (int formula = 1; formula <= kFormulas; ++formula) {
        const std::wstring up = L"R[-" + std::to_wstring(formula) + L"]";
        rows += L"<Row><Cell><Data>CODE" + std::to_wstring(formula) +
                L".XX</Data></Cell><Cell ss:Formula='=QData(RC[-1]," + up + L"C:" + up +
                L"C[39],\"FX:FEED\")'/></Row>";
    }
    return L"<Workbook xmlns:ss='urn:schemas-microsoft-com:office:spreadsheet'><Worksheet>"
           L"<Table>" +
           rows + L"</Table></Worksheet></Workbook>";
}

using Records = std::map<std::pair<int, int>, FormatXML4Spdsheet::Record>;

std::shared_ptr<FormatXML4Spdsheet> formulaSheet() {
    auto sheet = std::make_shared<FormatXML4Spdsheet>();
    return sheet->importFromString(formulaBook()) && sheet->parseCells(0) ? sheet : nullptr;
}

// parseCells(2) does the same work as parseCells(1) but stores no result, so it can be repeated.
bench::Batch expandingFormulas(std::shared_ptr<FormatXML4Spdsheet> sheet) {
    return bench::repeated([sheet] { return std::size_t{sheet->parseCells(2)}; });
}

bench::Batch insertingRecords(FormatXML4Spdsheet& sheet) {
    Records records;
    if (sheet.parseCells(1)) records = sheet.listOfFormulaArraysGetAt(0)->records;
    return bench::repeated([records = std::move(records)] {
        Records copy;
        for (const auto& [place, record] : records) copy.emplace_hint(copy.end(), place, record);
        return copy.size();
    });
}

// The worst document

// Returns a document of 1 MB whose formulas nearly reach the limits of the library. One formula
// makes 1,046,528 requests with 65,931,264 characters. Each of the other 1,400 formulas reads
// 10,000 cells to make one request.
std::wstring worstBook() {
    constexpr int kFieldCells = 1024;
    constexpr int kInstrumentCells = 1022;
    constexpr int kVisitedRows = 10'000;
    constexpr int kVisitingFormulas = 1'400;
    const std::wstring text(21, L'x');
    const std::wstring textCell = L"<Cell><Data>" + text + L"</Data></Cell>";
    std::wstring rows = L"<Row><Cell/>";
    for (int field = 0; field < kFieldCells; ++field) rows += textCell;
    rows += L"<Cell ss:Formula='=QkGet(\"" + text +
            L"\",R[1]C[-1025]:R[1022]C[-1025],RC[-1024]:RC[-1])'/></Row>";
    for (int instrument = 0; instrument < kInstrumentCells; ++instrument)
        rows += L"<Row>" + textCell + L"</Row>";
    for (int row = 0; row < kVisitedRows; ++row)
        rows += L"<Row><Cell><Data>1</Data></Cell><Cell ss:Index='9'><Data>1</Data></Cell></Row>";
    rows += L"<Row>";
    for (int formula = 0; formula < kVisitingFormulas; ++formula)
        rows += L"<Cell ss:Index='5' ss:Formula='=QkGet(\"F\",R[-10000]C:RC,\"L\")'/>";
    return L"<Workbook xmlns:ss='urn:schemas-microsoft-com:office:spreadsheet'><Worksheet>"
           L"<Table>" +
           rows + L"</Row></Table></Worksheet></Workbook>";
}

std::shared_ptr<FormatXML4Spdsheet> worstSheet() {
    auto sheet = std::make_shared<FormatXML4Spdsheet>();
    return sheet->importFromString(worstBook()) && sheet->parseFormulas() ? sheet : nullptr;
}

std::shared_ptr<void> allocate400MB() {
    return std::make_shared<std::vector<char>>(std::size_t{400} << 20, 'x');
}

// Memory

PROCESS_MEMORY_COUNTERS memory() {
    PROCESS_MEMORY_COUNTERS counters{};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters);
    return counters;
}

std::string bytesPerCell(SIZE_T before, SIZE_T now) {
    return std::to_string((std::max(before, now) - before) / k100000);
}

// Returns a line that states how much memory workbooks use, measured as the private memory of the
// process (PagefileUsage). Call this function before the process does any other work, because
// memory that was freed earlier would be reused and not counted.
std::string memoryOfWorkbooks() {
    const SIZE_T atStart = memory().PagefileUsage;
    FormatXML4Spdsheet writer;
    write(writer, k100000);
    const SIZE_T afterWriting = memory().PagefileUsage;
    std::wstring xml;
    writer.exportToString(xml);

    const SIZE_T beforeReading = memory().PagefileUsage;
    FormatXML4Spdsheet reader;
    reader.importFromString(xml);
    reader.parseFormulas();
    const SIZE_T afterReading = memory().PagefileUsage;
    const SIZE_T peak = memory().PeakWorkingSetSize;

    const auto document = plainlyLoaded(xml);
    return "memory of workbooks, 100000 cells: bytes per cell, held by one that was written " +
           bytesPerCell(atStart, afterWriting) + ", by one that was read with its formulas " +
           bytesPerCell(beforeReading, afterReading) + ", by MSXML's document of the same text " +
           bytesPerCell(afterReading, memory().PagefileUsage) + "; peak working set with both " +
           std::to_string(peak >> 20) + " MB";
}

// Returns true if the command-line arguments select the line that memoryOfWorkbooks() returns.
bool isMemoryLineRequested(int argc, char** argv) {
    bool isRequested = true;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--list") return false;
        if (argument == "--rows") continue;
        if (std::string_view("memory of workbooks").find(argument) != argument.npos) return true;
        isRequested = false;
    }
    return isRequested;
}

}  // namespace

int main(int argc, char** argv) {
    if (FAILED(::CoInitialize(nullptr))) return 1;
    const std::string memoryLine = isMemoryLineRequested(argc, argv) ? memoryOfWorkbooks() : "";
    const auto formulas = formulaSheet();
    if (!formulas) return 1;
    const std::vector<bench::Row> rows = {
        {"write and export a workbook", "10000 cells", writing(k10000), "loadXML of its text",
         loading(k10000)},
        {"read a workbook", "10000 cells", reading(k10000), "loadXML of its text", loading(k10000)},
        {"read it as spreadsheets",
         "10000 cells",
         reading(k10000, Reading::asSpreadsheets),
         "reading it strictly",
         reading(k10000),
         nullptr,
         {.ratio = 1.15}},
        {"read lines as spreadsheets",
         "10000 cells",
         readingLines(k10000, Reading::asSpreadsheets),
         "reading them strictly",
         readingLines(k10000, Reading::strict),
         nullptr,
         {.ratio = 1.15}},
        {"write and read a workbook",
         "10000 cells",
         writingAndReading(k10000),
         "loadXML of its text",
         loading(k10000),
         writingAndReading(k100000),
         {.growth = 12}},
        {"write and read a workbook",
         "100000 cells",
         writingAndReading(k100000),
         "loadXML of its text",
         loading(k100000),
         nullptr,
         {.ratio = 4}},
        {"formulas of 40 records",
         "10000",
         expandingFormulas(formulas),
         "map::emplace_hint of copies",
         insertingRecords(*formulas),
         nullptr,
         {.ratio = 2}},
    };
    const std::vector<bench::MemoryRow> memoryRows = {
        {"memory of the worst workbook", "1 MB", worstSheet, "400 MB", allocate400MB, {.ratio = 1}},
    };
    const std::vector<bench::ProcessorRow> processorRows = {
        {"the worst workbook", "1 MB", worstSheet, 3},
    };
    const int result = bench::run(argc, argv, rows, memoryRows, processorRows);
    if (result == 0 && !memoryLine.empty()) std::printf("%s\n", memoryLine.c_str());
    ::CoUninitialize();
    return result;
}
