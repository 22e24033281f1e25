// Tests Reading::asSpreadsheets with workbooks of spreadsheet programs.
#include <doctest/doctest.h>
#include <windows.h>

#include <climits>
#include <string>
#include <string_view>
#include <vector>

#include "clipboard/CDataObject.h"
#include "formats/FormatXML4Spdsheet.h"
#include "tests/formats/WorkbookReading.h"
#include "tests/support/Apartment.h"
#include "tests/support/DataObjects.h"

namespace {

using namespace testsupport;
using ATL::CComPtr;
using Reading = FormatXML4Spdsheet::Reading;
using Cells = std::vector<FormatXML4Spdsheet::Cell>;

constexpr wchar_t kNamespace[] = L"urn:schemas-microsoft-com:office:spreadsheet";

// Returns cells in the form "row,column text [formula]", separated by "; ". Empty text and empty
// formulas are omitted.
std::string listOf(const Cells& cells) {
    std::string list;
    for (const auto& cell : cells) {
        if (!list.empty()) list += "; ";
        list += std::to_string(cell.row) + "," + std::to_string(cell.column);
        if (!cell.text.empty()) list.append(" ").append(narrow(cell.text));
        if (!cell.formula.empty()) list.append(" [").append(narrow(cell.formula)).append("]");
    }
    return list;
}

std::string cellsOf(FormatXML4Spdsheet& sheet) {
    Cells cells;
    REQUIRE(sheet.readCells(cells));
    return listOf(cells);
}

// Returns the cells of a workbook, or "no workbook" if it cannot be imported.
std::string cellsOf(const std::wstring& xml, Reading reading = Reading::asSpreadsheets) {
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.setReading(reading));
    return sheet.importFromString(xml) ? cellsOf(sheet) : "no workbook";
}

// Returns the requests that the formulas in a table make, or "rejected" if parseFormulas() fails.
std::string requestsOf(const std::wstring& rows, Reading reading = Reading::asSpreadsheets) {
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.setReading(reading));
    REQUIRE(sheet.importFromString(book(rows)));
    return sheet.parseFormulas() ? arraysOf(sheet) : "rejected";
}

// Returns the requests that a formula in zero-based row 1, column 2 makes. The cell in row 0,
// column 0 contains A.X.
std::string requestsOfFormula(const std::wstring& formula) {
    return requestsOf(row(cell(L"A.X")) + row(formulaCell(formula, 3)));
}

std::wstring merged(int across, const std::wstring& text) {
    return L"<Cell ss:MergeAcross='" + std::to_wstring(across) + L"'><Data>" + text +
           L"</Data></Cell>";
}

// Selection with setReading()

TEST_CASE("Strict reading is the default and can be changed only before the import") {
    const Apartment apartment;
    const std::wstring xml = book(row(merged(2, L"a") + cell(L"b")));
    FormatXML4Spdsheet unset;
    REQUIRE(unset.importFromString(xml));

    CHECK_FALSE(unset.setReading(Reading::asSpreadsheets));

    CHECK(cellsOf(unset) == "0,0 a; 0,1 b");
    CHECK(cellsOf(xml, Reading::strict) == "0,0 a; 0,1 b");
    CHECK(cellsOf(xml) == "0,0 a; 0,3 b");
}

TEST_CASE("setReading fails after a failed import and after writing") {
    const Apartment apartment;
    FormatXML4Spdsheet failed;
    REQUIRE_FALSE(failed.importFromString(L""));
    FormatXML4Spdsheet written;
    REQUIRE(written.addRow());

    CHECK_FALSE(failed.setReading(Reading::asSpreadsheets));
    CHECK_FALSE(written.setReading(Reading::asSpreadsheets));
}

TEST_CASE("The last setReading before the import takes effect") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.setReading(Reading::asSpreadsheets));
    REQUIRE(sheet.setReading(Reading::strict));
    REQUIRE(sheet.importFromString(book(row(merged(2, L"a") + cell(L" b ")))));

    CHECK(cellsOf(sheet) == "0,0 a; 0,1 b");
}

// Cells

TEST_CASE("readCells lists the cells with text or a formula in both reading modes") {
    const Apartment apartment;
    const std::wstring xml =
        book(row(cell(L"a") + L"<Cell/>" + cell(L"") + formulaCell(L"=SUM(RC[-1])")) +
             row(cell(L"b", 3), 5));

    CHECK(cellsOf(xml, Reading::strict) == "0,0 a; 0,3 [=SUM(RC[-1])]; 4,2 b");
    CHECK(cellsOf(xml) == "0,0 a; 0,3 [=SUM(RC[-1])]; 4,2 b");
}

TEST_CASE("readCells replaces the list and empties it if there is no table") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    FormatXML4Spdsheet none;
    Cells cells(3);
    REQUIRE(sheet.importFromString(book(row(cell(L"a")))));

    CHECK(sheet.readCells(cells));
    CHECK(listOf(cells) == "0,0 a");
    CHECK_FALSE(none.readCells(cells));
    CHECK(cells.empty());
}

// Positions

TEST_CASE("A merged cell occupies the columns that it covers") {
    const Apartment apartment;

    CHECK(cellsOf(book(row(merged(2, L"a") + cell(L"b") + merged(1, L"c") + cell(L"d")))) ==
          "0,0 a; 0,3 b; 0,4 c; 0,6 d");
    CHECK(cellsOf(book(row(merged(2, L"a") + cell(L"b", 7)))) == "0,0 a; 0,6 b");
    CHECK(cellsOf(book(row(merged(2, L"a")) + row(cell(L"b")))) == "0,0 a; 1,0 b");
    CHECK(cellsOf(book(row(L"<Cell ss:MergeAcross='2'/>" + cell(L"b")))) == "0,3 b");
}

TEST_CASE("Formulas can refer to columns after a merged cell") {
    const Apartment apartment;

    CHECK(requestsOf(row(merged(2, L"wide") + cell(L"A.X")) +
                     row(merged(1, L"wide") + formulaCell(requestFormula(L"R[-1]C[1]")))) ==
          "[1,2 A.X FD LAST]");
}

TEST_CASE("A row with a span occupies the rows that it covers") {
    const Apartment apartment;

    CHECK(cellsOf(book(row(cell(L"a")) + L"<Row ss:Span='3'/>" + row(cell(L"b")))) ==
          "0,0 a; 5,0 b");
    CHECK(cellsOf(book(L"<Row ss:Index='3' ss:Span='1'/>" + row(cell(L"b")))) == "4,0 b");
    CHECK(cellsOf(book(L"<Row ss:Span='3'/>" + row(cell(L"b"), 2))) == "1,0 b");
    CHECK(cellsOf(book(L"<Row ss:Span='3'/>" + row(cell(L"b"))), Reading::strict) == "1,0 b");
}

TEST_CASE("A column with a span does not move cells") {
    const Apartment apartment;

    CHECK(cellsOf(book(L"<Column ss:Span='4'/><Column ss:Index='9'/>" + row(cell(L"a")))) ==
          "0,0 a");
}

TEST_CASE("MergeAcross and Span are ignored unless they are positive numbers") {
    const Apartment apartment;

    for (const wchar_t* const number : {L"-1", L"-2147483648", L"0", L"", L"two"}) {
        CAPTURE(narrow(number));
        const std::wstring value = std::wstring(L"='") + number + L"'>";
        CHECK(cellsOf(book(row(L"<Cell ss:MergeAcross" + value + L"</Cell>" + cell(L"b")) +
                           L"<Row ss:Span" + value + L"</Row>" + row(cell(L"c")))) ==
              "0,1 b; 2,0 c");
    }
}

TEST_CASE("Positions are limited to INT_MAX") {
    const Apartment apartment;
    const std::string last = std::to_string(INT_MAX);

    CHECK(cellsOf(book(row(merged(INT_MAX, L"a") + merged(INT_MAX, L"b") + cell(L"c")))) ==
          "0,0 a; 0," + last + " b; 0," + last + " c");
    CHECK(cellsOf(book(L"<Row ss:Span='99999999999'/>" + row(cell(L"a")) +
                       L"<Row ss:Span='2147483647'/>" + row(cell(L"b")))) ==
          last + ",0 a; " + last + ",0 b");
}

TEST_CASE("Merged cells and row spans of any size add neither cells nor steps") {
    const Apartment apartment;
    std::wstring rows;
    for (int i = 0; i < 1000; ++i)
        rows += L"<Row ss:Index='1' ss:Span='2000000000'>" + merged(2'000'000'000, L"a") +
                formulaCell(L"=QkGet(\"FD\",R1C1:R2000000000C2000000000,\"LAST\")", 1) + L"</Row>";

    const std::string requests = requestsOf(rows);

    CHECK(requests.find("0,0 a FD LAST") != std::string::npos);
}

// Names

TEST_CASE("Names are matched by namespace, regardless of the prefix") {
    const Apartment apartment;
    const std::wstring declared = std::wstring(L"='") + kNamespace + L"'";
    const std::string expected = "0,2 a [=1]; 1,0 b";

    CHECK(cellsOf(L"<ss:Workbook xmlns:ss" + declared +
                  L"><ss:Worksheet><ss:Table><ss:Row><ss:Cell ss:Index='3' ss:Formula='=1'>"
                  L"<ss:Data>a</ss:Data></ss:Cell></ss:Row><ss:Row><ss:Cell><ss:Data>b</ss:Data>"
                  L"</ss:Cell></ss:Row></ss:Table></ss:Worksheet></ss:Workbook>") == expected);
    CHECK(cellsOf(L"<x:Workbook xmlns:x" + declared + L" xmlns:y" + declared +
                  L"><y:Worksheet><x:Table><Row xmlns" + declared +
                  L"><Cell x:Index='3' y:Formula='=1'><Data>a</Data></Cell></Row>"
                  L"<x:Row><y:Cell><x:Data>b</x:Data></y:Cell></x:Row></x:Table></y:Worksheet>"
                  L"</x:Workbook>") == expected);
}

TEST_CASE("Names in another namespace or without one are ignored") {
    const Apartment apartment;

    CHECK(cellsOf(L"<Workbook><Worksheet><Table/></Worksheet></Workbook>") == "no workbook");
    CHECK(cellsOf(L"<Workbook xmlns='urn:other'><Worksheet><Table/></Worksheet></Workbook>") ==
          "no workbook");
    CHECK(cellsOf(book(L"<o:Row xmlns:o='urn:other'><Cell><Data>no</Data></Cell></o:Row>" +
                       row(L"<o:Cell xmlns:o='urn:other'><Data>no</Data></o:Cell>"
                           L"<Cell xmlns:o='urn:other' o:Index='5' o:MergeAcross='7' Index='6'>"
                           L"<o:Data>no</o:Data><Data>a</Data></Cell>"))) == "0,0 a");
}

TEST_CASE("The document of a written workbook is read with its white space and formulas") {
    const Apartment apartment;
    FormatXML4Spdsheet written;
    REQUIRE(written.addRow());
    REQUIRE(written.addCell(L"", L"  A.X & Co "));
    REQUIRE(written.addRow());
    REQUIRE(written.addRow());
    REQUIRE(written.addCell(L"=QkGet(\"FD\",R1C1,\"LAST\")", L""));
    CComPtr<IXMLDOMDocument2> document;
    REQUIRE(written.exportToXML(&document));
    FormatXML4Spdsheet read;
    REQUIRE(read.setReading(Reading::asSpreadsheets));

    REQUIRE(read.importFromXML(*document));
    REQUIRE(read.parseFormulas());

    CHECK(cellsOf(read) == "0,0   A.X & Co ; 2,0 [=QkGet(\"FD\",R1C1,\"LAST\")]");
    CHECK(arraysOf(read) == "[][2,0   A.X & Co  FD LAST]");
}

TEST_CASE("importFromXML keeps the white space of a document with preserveWhiteSpace") {
    const Apartment apartment;
    const std::wstring xml = book(row(cell(L" <B>a</B> <I>b</I> ")));
    const auto document = newDocument();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    REQUIRE(document->put_preserveWhiteSpace(VARIANT_TRUE) == S_OK);
    REQUIRE(document->loadXML(ATL::CComBSTR(xml.c_str()), &loaded) == S_OK);
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.setReading(Reading::asSpreadsheets));

    REQUIRE(sheet.importFromXML(*document));

    CHECK(cellsOf(sheet) == "0,0  a b ");
}

// Values

TEST_CASE("White space in values is kept, and white space between elements is ignored") {
    const Apartment apartment;
    const std::wstring xml = book(
        L"\n <Row>\n  <Cell>\n   <Data> a  b </Data>\n  </Cell>\n"
        L"  <Cell><Data>&#10;c&#9;</Data></Cell><Cell><Data>   </Data></Cell>\n </Row>\n");

    CHECK(cellsOf(xml) == "0,0  a  b ; 0,1 \nc\t; 0,2    ");
    CHECK(cellsOf(xml, Reading::strict) == "0,0 a  b; 0,1 c");
}

TEST_CASE("All runs of rich text are read") {
    const Apartment apartment;
    const std::wstring xml = book(
        row(L"<Cell><ss:Data ss:Type='String' xmlns='http://www.w3.org/TR/REC-html40'><B>bold</B>"
            L" <Font html:Size='8' xmlns:html='http://www.w3.org/TR/REC-html40'>and <I>more</I>"
            L"</Font> </ss:Data><Comment ss:Author='me'><ss:Data>note</ss:Data></Comment></Cell>"));

    CHECK(cellsOf(xml) == "0,0 bold and more ");
    CHECK(cellsOf(xml, Reading::strict) == "");
}

// Formulas

TEST_CASE("Formulas without QkGet and QData are skipped") {
    const Apartment apartment;
    const std::wstring otherFormulas = row(formulaCell(L"=SUM(R[1]C)") + formulaCell(L"=1+1") +
                                           formulaCell(L"QkGet") + formulaCell(L"=QkGetter(\"\")"));

    CHECK(requestsOf(otherFormulas) == "[]");
    CHECK(requestsOf(otherFormulas + row(formulaCell(L"=QkGet(\"FD\",\"A.X\",\"LAST\")") +
                                         formulaCell(L"=A1+1"))) == "[1,0 A.X FD LAST]");
    CHECK(requestsOf(otherFormulas, Reading::strict) == "rejected");
}

TEST_CASE("QkGet and QData are found if they are outermost calls") {
    const Apartment apartment;
    const std::string found = "[1,2 A.X FD LAST]";

    for (const wchar_t* const formula :
         {L"=QkGet(\"FD\",\"A.X\",\"LAST\")", L"QkGet(\"FD\",\"A.X\",\"LAST\")",
          L"=QData(\"A.X\",\"LAST\",\"FD\")", L"= -QkGet(\"FD\",\"A.X\",\"LAST\")*2",
          L"=(1+(QkGet(\"FD\",\"A.X\",\"LAST\")))/3",
          L"=SUM(RC[-1])+QData(\"A.X\",\"LAST\",\"FD\")",
          L"=addin.xla!QkGet(\"FD\",\"A.X\",\"LAST\")",
          L"=\"QData(\"\"B\"\",1,1)\"&amp;QkGet(\"FD\",\"A.X\",\"LAST\")",
          L"=QkGet+QkGetter(1)+QkGet(\"FD\",\"A.X\",\"LAST\")"}) {
        CAPTURE(narrow(formula));
        CHECK(requestsOfFormula(formula) == found);
    }
}

TEST_CASE("QkGet and QData are not found inside a call, a string or another name") {
    const Apartment apartment;
    const std::wstring call = L"QkGet(\"FD\",\"A.X\",\"LAST\")";

    const std::wstring formulas[] = {
        L"=SUM(" + call + L")",
        L"=IF((1),(" + call + L"))",
        L"=SUM(1,(2)," + call + L")",
        L"=\"QkGet(1,2,3)\"",
        L"=\"QkGet(1,2,3)",
        L"=My" + call,
        L"=_" + call,
        L"=x." + call,
        L"=\u00E4" + call,
        L"=QkGet (\"FD\",\"A.X\",\"LAST\")",
        L"=qkget(1,2,3)",
        L"=&apos;QkGet(1,2,3)&apos;!R1C1",
        L"=)",
        L"=SUM(((",
    };
    for (const std::wstring& formula : formulas) {
        CAPTURE(narrow(formula));
        CHECK(requestsOfFormula(formula) == "[]");
    }
}

TEST_CASE("The rest of a formula does not change the arguments of a call") {
    const Apartment apartment;

    const std::wstring sum = L"=QkGet(\"FD\",\"A.X\",R1C1)+SUM(R1C1:R5C5,3)";
    CHECK(requestsOf(row(cell(L"A.X") + cell(L"B.Y")) + row(formulaCell(sum, 3))) ==
          "[1,2 A.X FD A.X]");
    CHECK(requestsOfFormula(L"=QkGet(\"FD\",R1C1)+MAX(1,2)") == "[]");
    CHECK(requestsOfFormula(L"=QkGet(\"FD\",R1C1,\"LAST\")&amp;\":R9C9\"") == "[1,2 A.X FD LAST]");
}

TEST_CASE("An argument that is another expression refers to no cell") {
    const Apartment apartment;
    const std::wstring expressions[] = {L"IF(R1C1=\"a\",\"A.X\",\"B.Y\")",
                                        L"RATE(R1C1:R5C1,2)",
                                        L"R1C1+1",
                                        L"RC1:R1C1:R1C1",
                                        L"-R1C1",
                                        L"Rate",
                                        L"&apos;a,b&apos;!R1C1",
                                        L"(R1C1)",
                                        L"{\"A.X\",\"B.Y\"}",
                                        L"T[&apos;#Code]",
                                        L"}"};

    for (const std::wstring& expression : expressions) {
        CAPTURE(narrow(expression));
        CHECK(requestsOfFormula(L"=QData(" + expression + L",\"LAST\",\"FD\")") ==
              "[1,2  FD LAST]");
    }
    CHECK(requestsOfFormula(L"=QData(&apos;a,b") == "rejected");
}

TEST_CASE("An unterminated call is rejected in both reading modes") {
    const Apartment apartment;
    const std::wstring broken = row(formulaCell(L"=QkGet(\"FD\",\"A.X"));

    CHECK(requestsOf(broken) == "rejected");
    CHECK(requestsOf(broken, Reading::strict) == "rejected");
}

TEST_CASE("White space around arguments is skipped") {
    const Apartment apartment;

    CHECK(requestsOfFormula(L"=QkGet( \"FD\" , R[-1]C[-2] ,&#10; \"LAST\" )") ==
          "[1,2 A.X FD LAST]");
}

TEST_CASE("References can be absolute in the row, the column or both") {
    const Apartment apartment;
    const std::wstring rows = row(cell(L"A.X") + cell(L"B.Y")) + row(cell(L"C.Z"));

    for (const wchar_t* const reference : {L"R1C1", L"R[-2]C1", L"R1C[-3]", L"R01C01", L"R0C0"}) {
        CAPTURE(narrow(reference));
        CHECK(requestsOf(rows + row(formulaCell(requestFormula(reference), 4))) ==
              "[2,3 A.X FD LAST]");
    }
    CHECK(requestsOf(rows + row(formulaCell(requestFormula(L"R1C1:R2C2"), 4))) ==
          "[2,3 A.X FD LAST; 2,4 B.Y FD LAST; 3,3 C.Z FD LAST]");
    CHECK(requestsOf(rows + row(formulaCell(requestFormula(L"R2C:RC1"), 4))) ==
          requestsOf(rows + row(formulaCell(requestFormula(L"R[-1]C:RC[-3]"), 4))));
    CHECK(requestsOf(rows + row(formulaCell(requestFormula(L"R1C1"), 4)), Reading::strict) ==
          requestsOf(rows + row(formulaCell(requestFormula(L"RC"), 4)), Reading::strict));
}

TEST_CASE("An absolute reference out of the range of int refers to the last row or column") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.setReading(Reading::asSpreadsheets));
    FormatXML4Spdsheet::Reference reference;
    unsigned __int64 pos = 0;

    CHECK(sheet.parseReference(L"R99999999999C2147483647:R1C1)", reference, pos));

    CHECK(reference.row == 0);
    CHECK(reference.rowCount == INT_MAX);
    CHECK(reference.column == 0);
    CHECK(reference.columnCount == INT_MAX);
    CHECK(pos == 28);
}

TEST_CASE("The limits of a workbook also apply to formulas that are read as spreadsheets") {
    const Apartment apartment;
    const std::wstring cells = row(cell(L"A.X") + cell(L"B.Y"));

    CHECK(requestsOf(cells + row(formulaCell(L"=QkGet(R1C1:R1C2,R1C1:R1048576C1,R1C1:R1C2)", 4))) ==
          "rejected");
}

// parseFormulas()

// Returns the position to which references are relative, as "row,column".
std::string positionOf(FormatXML4Spdsheet& sheet) {
    FormatXML4Spdsheet::Reference here;
    unsigned __int64 pos = 0;
    REQUIRE(sheet.parseReference(L"RC)", here, pos));
    return std::to_string(here.row) + "," + std::to_string(here.column);
}

TEST_CASE("parseFormulas reads a spreadsheet like two passes of parseCells") {
    const Apartment apartment;
    const std::wstring rows[] = {
        L"",
        row(formulaCell(requestFormula(L"R[2]C[1]"), 3)) + row(cell(L"B.Y"), 3) +
            row(merged(2, L"C.Z") + cell(L"A.X") + formulaCell(L"=QData(RC[-1],R1C1,\"FD\")") +
                cell(L"c")),
        row(cell(L"A.X"), 7) + row(formulaCell(requestFormula(L"R7C1")), 7) + row(L"", 2) +
            L"<Row ss:Span='2'/>" +
            row(formulaCell(L"=SUM(RC)") + formulaCell(requestFormula(L"RC[-1]"))),
        row(formulaCell(requestFormula(L""))) + row(formulaCell(requestFormula(L"RC[1]")), 5) +
            row(cell(L"a") + formulaCell(L"=QkGet(") + cell(L"b")) + row(cell(L"c")),
    };
    for (const auto& table : rows) {
        FormatXML4Spdsheet once;
        FormatXML4Spdsheet twice;
        for (FormatXML4Spdsheet* const sheet : {&once, &twice}) {
            REQUIRE(sheet->setReading(Reading::asSpreadsheets));
            REQUIRE(sheet->importFromString(book(table)));
        }

        const bool isParsed = once.parseFormulas();

        CHECK(isParsed == (twice.parseCells(0) && twice.parseCells(1)));
        CHECK(arraysOf(once) == arraysOf(twice));
        CHECK(positionOf(once) == positionOf(twice));
    }
}

TEST_CASE("A formula of a spreadsheet can refer to a cell below it") {
    const Apartment apartment;

    CHECK(requestsOf(row(formulaCell(requestFormula(L"R[1]C"))) + row(cell(L"A.X"))) ==
          "[0,0 A.X FD LAST]");
}

TEST_CASE("Each numbered row of a spreadsheet begins a new array") {
    const Apartment apartment;

    CHECK(requestsOf(row(formulaCell(requestFormula(L""))) + row(L"", 4) +
                     row(formulaCell(requestFormula(L"")), 6)) ==
          requestsOf(row(formulaCell(requestFormula(L""))) + row(L"", 4) +
                         row(formulaCell(requestFormula(L"")), 6),
                     Reading::strict));
}

TEST_CASE("A rejected formula of a spreadsheet keeps the arrays before it") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.setReading(Reading::asSpreadsheets));
    REQUIRE(sheet.importFromString(
        book(row(formulaCell(requestFormula(L""))) +
             row(formulaCell(requestFormula(L"")) + formulaCell(L"=QkGet("), 5))));

    CHECK_FALSE(sheet.parseFormulas());

    CHECK(arraysOf(sheet) == "[0,0  FD LAST]");
    CHECK(positionOf(sheet) == "4,1");
}

TEST_CASE("After a rejected formula of a spreadsheet, the row cursor is at the last row") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.setReading(Reading::asSpreadsheets));
    REQUIRE(sheet.importFromString(book(row(formulaCell(L"=QkGet(")) + row(cell(L"a")))));
    REQUIRE_FALSE(sheet.parseFormulas());

    CHECK_FALSE(sheet.nextRow());
}

TEST_CASE("Discarded arrays of a spreadsheet do not count toward the limit of requests") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    std::wstring cells;
    for (int i = 0; i < 1000; ++i) cells += cell(L"a");
    REQUIRE(sheet.setReading(Reading::asSpreadsheets));
    REQUIRE(sheet.importFromString(
        book(row(cells) + row(formulaCell(L"=QkGet(\"FD\",R1C1:R1C1000,R1C1:R1C1000)")) +
             row(formulaCell(L"=QkGet(")))));

    for (int call = 0; call < 3; ++call) {
        CHECK_FALSE(sheet.parseFormulas());
        CHECK(positionOf(sheet) == "2,0");
    }
}

TEST_CASE("A second parseFormulas appends the arrays of a spreadsheet again") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.setReading(Reading::asSpreadsheets));
    REQUIRE(sheet.importFromString(book(row(formulaCell(requestFormula(L""))))));

    CHECK(sheet.parseFormulas());
    CHECK(sheet.parseFormulas());

    CHECK(sheet.listOfFormulaArraysSize() == 2);
}

TEST_CASE("parseFormulas fails without a table in both reading modes") {
    const Apartment apartment;
    for (const Reading reading : {Reading::strict, Reading::asSpreadsheets}) {
        FormatXML4Spdsheet sheet;
        REQUIRE(sheet.setReading(reading));

        CHECK_FALSE(sheet.parseFormulas());
    }
}

// The clipboard

TEST_CASE("A workbook from a data object is read as spreadsheets with its white space") {
    const Apartment apartment;
    const auto data = newDataObject();
    const std::string text =
        "<s:Workbook xmlns:s='urn:schemas-microsoft-com:office:spreadsheet'><s:Worksheet><s:Table>"
        "<s:Row><s:Cell s:MergeAcross='1'><s:Data> \xC3\xA4 </s:Data></s:Cell><s:Cell><s:Data>b"
        "</s:Data></s:Cell></s:Row></s:Table></s:Worksheet></s:Workbook>";
    REQUIRE(CDataObject::SetTextData(*data, FormatXML4Spdsheet::GetClipboardID(), text.c_str(),
                                     -1) == S_OK);
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.setReading(Reading::asSpreadsheets));

    CHECK(FormatXML4Spdsheet::ImportData(*data, sheet) == S_OK);

    Cells cells;
    REQUIRE(sheet.readCells(cells));
    REQUIRE(cells.size() == 2);
    CHECK(cells[0].text == L" \u00E4 ");
    CHECK(cells[1].column == 2);
}

TEST_CASE("Importing as spreadsheets fails without a workbook") {
    const Apartment apartment;
    const auto empty = newDataObject();
    const auto other = newDataObject();
    REQUIRE(CDataObject::SetTextData(*other, FormatXML4Spdsheet::GetClipboardID(), "<Workbook/>",
                                     -1) == S_OK);

    for (IDataObject* const data : {empty.p, other.p}) {
        FormatXML4Spdsheet sheet;
        REQUIRE(sheet.setReading(Reading::asSpreadsheets));
        CHECK(FormatXML4Spdsheet::ImportData(*data, sheet) == E_FAIL);
    }
}

TEST_CASE("A workbook that was read as spreadsheets is exported with its white space") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.setReading(Reading::asSpreadsheets));
    REQUIRE(sheet.importFromString(book(row(cell(L" a ")))));
    CComPtr<IXMLDOMDocument2> copy;
    std::wstring text;

    REQUIRE(sheet.exportToXML(&copy));
    REQUIRE(sheet.exportToString(text));

    FormatXML4Spdsheet again;
    REQUIRE(again.setReading(Reading::asSpreadsheets));
    REQUIRE(again.importFromXML(*copy));
    CHECK(cellsOf(again) == "0,0  a ");
    CHECK(cellsOf(text) == "0,0  a ");
    VARIANT_BOOL keeps = VARIANT_FALSE;
    CHECK(copy->get_preserveWhiteSpace(&keeps) == S_OK);
    CHECK(keeps == VARIANT_TRUE);
}

}  // namespace
