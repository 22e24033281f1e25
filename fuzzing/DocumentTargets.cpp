// Fuzzer targets that test the parsers for formulas, workbooks and instrument documents.
#include <cstddef>
#include <string>
#include <vector>

#include "formats/FormatXML.h"
#include "formats/FormatXML4Spdsheet.h"
#include "formats/FormulaParser.h"
#include "fuzzing/Fuzzer.h"

namespace fuzz {

namespace {

namespace formulas = OrvexClipboard::formulas;

const formulas::CellTexts kSheet = {{{0, 0}, L"A.X"}, {{0, 1}, L"F"},     {{1, 0}, L"B.X"},
                                    {{1, 1}, L""},    {{2, 5}, L"feed:"}, {{7, 2}, L"last"}};

void formulaCalls(const Input& input) {
    const std::wstring_view formula = input.text();
    for (const auto function : {formulas::Function::QkGet, formulas::Function::QData}) {
        for (const formulas::Cell current : {formulas::Cell{0, 0}, formulas::Cell{3, 3}}) {
            std::size_t pos = 0;
            formulas::Call call;
            const auto reading = input.hash() % 2 == 0 ? formulas::Reading::strict
                                                       : formulas::Reading::asSpreadsheets;
            if (!formulas::parseCall(formula, current, function, pos, call, reading)) continue;
            formulas::Budget budget = {10'000, 60, 1000};
            std::size_t requests = 0;
            formulas::expand(call, current, kSheet, budget, [&](const formulas::Request& request) {
                require(request.sym && request.feed && request.field);
                require(++requests <= 60);
            });
        }
    }
    formulas::Reference range;
    std::wstring value = L"?";
    std::size_t pos = input.hash() % (formula.size() + 2);
    const std::size_t before = pos;
    formulas::parseIndex(formula, pos);
    formulas::parseRef(formula, {1, 1}, range, pos);
    require(pos >= before);
    pos = before;
    if (!formulas::parseReference(formula, {1, 1}, range, pos)) require(pos == before);
    pos = before;
    if (!formulas::parseValue(formula, value, pos)) require(pos == before && value == L"?");
    formulas::stripFeedPrefix(value);
    if (formulas::findOutermostCall(formula, pos)) require(formula[pos] == L'(');
}

void readWorkbook(const Input& input, OrvexClipboard::FormatXML4Spdsheet::Reading reading) {
    OrvexClipboard::FormatXML4Spdsheet sheet;
    require(sheet.setReading(reading));
    if (!sheet.importFromString(std::wstring(input.text()))) return;
    int rows = 0;
    for (bool more = sheet.firstRow(); more; more = sheet.nextRow()) require(++rows < 10000);
    sheet.parseFormulas();
    for (int i = 0; i < sheet.listOfFormulaArraysSize(); ++i)
        require(sheet.listOfFormulaArraysGetAt(static_cast<unsigned>(i)) != nullptr);
    std::vector<OrvexClipboard::FormatXML4Spdsheet::Cell> cells;
    require(sheet.readCells(cells));
    for (const auto& cell : cells) require(cell.row >= 0 && cell.column >= 0);
    std::wstring text;
    require(sheet.exportToString(text));
}

void workbooks(const Input& input) {
    readWorkbook(input, OrvexClipboard::FormatXML4Spdsheet::Reading::strict);
    readWorkbook(input, OrvexClipboard::FormatXML4Spdsheet::Reading::asSpreadsheets);
}

void instrumentDocuments(const Input& input) {
    OrvexClipboard::FormatXML document;
    if (!document.importFromString(std::wstring(input.text()))) return;
    std::wstring text;
    int rows = 0;
    while (document.getPortfolio()) {
        require(++rows < 10000);
        document.getPortfolio_PortfolioId(text);
        document.getPortfolio_Type(text);
    }
    while (document.getInstrument()) {
        require(++rows < 10000);
        document.getInstrument_ItemCode(text);
        document.getInstrument_Keyletter(text);
        while (document.getField()) {
            require(++rows < 10000);
            document.getField_Name(text);
            document.getField_FID(text);
        }
        while (document.getFreeText(text)) require(++rows < 10000);
    }
    require(document.exportToString(text));
}

}  // namespace

const Target kDocumentTargets[] = {
    {"formulas", formulaCalls, 200,
     "( ) , \" R C [ ] [-1] R[1]C: RC[-2] \"A.X\" 2147483647 : + QkGet( R1C2 ' SUM("},
    {"workbooks", workbooks, 2000,
     "<Row> </Row> <Row/> <Cell> </Cell> <Cell/> <Data> </Data> =QkGet( =QData( RC[-1] R[1]C:R[3]C "
     "&quot; ss:Formula='' ss:Index='2' ss:MergeAcross='2147483647' ss:Span='3' R1C1:R9C9 =SUM( "
     "xmlns='urn:schemas-microsoft-com:office:spreadsheet' <!---->"},
    {"instruments", instrumentDocuments, 2000,
     "<Portfolio> </Portfolio> <Instrument> </Instrument> <ItemCode> <Fields> </Fields> <Field> "
     "</Field> <FID> <Name> <FreeTexts> <FreeText> <!----> &amp; <Instrument/> <![CDATA[x]]>"},
    {nullptr, nullptr, 0, nullptr}};

}  // namespace fuzz
