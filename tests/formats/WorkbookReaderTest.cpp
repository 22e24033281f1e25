#include <doctest/doctest.h>
#include <windows.h>

#include <string>

#include "formats/FormatXML4Spdsheet.h"
#include "tests/formats/WorkbookReading.h"
#include "tests/support/Apartment.h"
#include "tests/support/ScriptedClass.h"

namespace {

using namespace testsupport;
using ATL::CComPtr;

bool imports(const std::wstring& xml) {
    FormatXML4Spdsheet sheet;
    return sheet.importFromString(xml);
}

// Finding the table

TEST_CASE("A table without rows is valid and produces one empty array") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;

    CHECK(sheet.importFromString(book(L"")));
    CHECK_FALSE(sheet.firstRow());
    CHECK(sheet.parseFormulas());

    CHECK(arraysOf(sheet) == "[]");
}

TEST_CASE("A document without a Workbook, Worksheet or Table element is rejected") {
    const Apartment apartment;

    CHECK_FALSE(imports(L"<Book><Worksheet><Table/></Worksheet></Book>"));
    CHECK_FALSE(imports(L"<Workbook><Sheet><Table/></Sheet></Workbook>"));
    CHECK_FALSE(imports(L"<Workbook><Worksheet><Tab/></Worksheet></Workbook>"));
    CHECK_FALSE(imports(L"<Workbook><Table/></Workbook>"));
}

TEST_CASE("Elements are found by their qualified names regardless of their namespaces") {
    const Apartment apartment;

    CHECK(imports(L"<Workbook><Worksheet><Table/></Worksheet></Workbook>"));
    CHECK(
        imports(L"<Workbook xmlns='urn:x'><Worksheet xmlns='urn:y'><Table/></Worksheet>"
                L"</Workbook>"));
    CHECK_FALSE(
        imports(L"<ss:Workbook xmlns:ss='urn:schemas-microsoft-com:office:spreadsheet'>"
                L"<ss:Worksheet><ss:Table/></ss:Worksheet></ss:Workbook>"));
    CHECK_FALSE(imports(L"<workbook><worksheet><table/></worksheet></workbook>"));
}

TEST_CASE("Only the first Worksheet is searched, even if only the second one has a Table") {
    const Apartment apartment;

    CHECK_FALSE(imports(L"<Workbook><Worksheet/><Worksheet><Table/></Worksheet></Workbook>"));
    CHECK(
        imports(L"<Workbook><Styles/><Worksheet><Names/><Table/></Worksheet><Worksheet/>"
                L"</Workbook>"));
}

TEST_CASE("Text that is not well-formed is rejected") {
    const Apartment apartment;

    CHECK_FALSE(imports(L"<Workbook><Worksheet><Table></Worksheet></Workbook>"));
    CHECK_FALSE(imports(L"no markup"));
}

// Only one import or export for each object

TEST_CASE("A sheet cannot be used after importing an empty string") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;

    CHECK_FALSE(sheet.importFromString(L""));
    CHECK_FALSE(sheet.importFromString(book(L"")));
    CHECK_FALSE(sheet.addRow());
}

TEST_CASE("A second import does nothing and returns the result of the first import") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(row(cell(L"first")))));

    CHECK(sheet.importFromString(L"no markup"));
    const auto other = parsed(book(row(cell(L"second"))));
    CHECK(sheet.importFromXML(*other));

    CHECK(outlineOf(sheet).find("'first'") != std::string::npos);
}

TEST_CASE("A second importFromXML fails after the first one failed") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    const auto none = parsed(L"<Book/>");
    const auto good = parsed(book(L""));

    CHECK_FALSE(sheet.importFromXML(*none));
    CHECK_FALSE(sheet.importFromXML(*good));
    CHECK_FALSE(sheet.parseFormulas());
}

TEST_CASE("An import after addRow does nothing and returns the result of addRow") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.addRow());

    CHECK(sheet.importFromString(book(row(cell(L"x")))));

    CHECK_FALSE(sheet.firstRow());
    CHECK_FALSE(sheet.nextRow());
    CHECK_FALSE(sheet.parseCells(0));
    CHECK_FALSE(sheet.parseFormulas());
    CHECK(rowsOf(sheet) == "");
}

TEST_CASE(
    "setTableSize and addRow fail after an import, and addCell writes nothing without a current "
    "row") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(row(cell(L"x")))));

    CHECK_FALSE(sheet.setTableSize(1, 1));
    CHECK_FALSE(sheet.addRow());
    CHECK_FALSE(sheet.addCell(L"", L"y"));
    CHECK(sheet.addCell(L"", L""));

    CHECK(rowsOf(sheet) == "Row[Cell[Data['x']]]");
}

TEST_CASE("An imported sheet can be exported") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(row(cell(L"x")))));
    CComPtr<IXMLDOMDocument2> document;

    CHECK(sheet.exportToXML(&document));

    REQUIRE(document);
    CComPtr<IXMLDOMElement> root;
    REQUIRE(document->get_documentElement(&root) == S_OK);
    CHECK(outlineOf(*root).find("Data{ss:Type=String}['x']") != std::string::npos);
}

TEST_CASE("Importing fails if the document cannot be created") {
    const Apartment apartment;
    const auto document = parsed(book(L""));
    FormatXML4Spdsheet fromText;
    FormatXML4Spdsheet fromDocument;
    const ScriptedClass none(kDocument30, [](REFIID, void**) { return E_ACCESSDENIED; });

    CHECK_FALSE(fromText.importFromString(book(L"")));
    CHECK_FALSE(fromDocument.importFromXML(*document));
}

// The row cursor

TEST_CASE("A new sheet has no rows") {
    FormatXML4Spdsheet sheet;

    CHECK_FALSE(sheet.firstRow());
    CHECK_FALSE(sheet.nextRow());
    CHECK_FALSE(sheet.parseCells(0));
}

TEST_CASE("nextRow moves from the first row to the end and stays there") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(L"<Row/><Row/>")));

    CHECK(sheet.nextRow());
    CHECK(sheet.nextRow());
    CHECK_FALSE(sheet.nextRow());
    CHECK_FALSE(sheet.nextRow());
}

TEST_CASE("firstRow moves back to the first row") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(L"<Row/><Row/>")));

    CHECK(sheet.firstRow());
    CHECK(sheet.nextRow());
    CHECK_FALSE(sheet.nextRow());
    CHECK(sheet.firstRow());
    CHECK(sheet.nextRow());
    CHECK_FALSE(sheet.nextRow());
}

TEST_CASE("Only elements named Row are rows") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(
        L"<Column/><!--Row--><?Row Row?>Row<row/><ss:Row/><Row/><Other><Row/></Other><Row/>")));

    CHECK(sheet.nextRow());
    CHECK(sheet.nextRow());
    CHECK_FALSE(sheet.nextRow());
}

TEST_CASE("A cell that is added to an imported sheet is appended to the row under the cursor") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(L"<Row/><Row/>")));
    REQUIRE(sheet.nextRow());
    REQUIRE(sheet.nextRow());

    CHECK(sheet.addCell(L"", L"x"));

    CHECK(rowsOf(sheet) == "Row Row[Cell[Data['x']]]");
}

// Cell positions

TEST_CASE("Rows and cells without an index are consecutive") {
    const Apartment apartment;

    CHECK(parsedArrays(row(cell(L"A") + cell(L"B")) +
                       row(cell(L"C") + formulaCell(requestFormula(L"R[-1]C"))) +
                       row(formulaCell(requestFormula(L"R[-1]C")))) ==
          "[1,1 B FD LAST; 2,0 C FD LAST]");
}

TEST_CASE("The index of a cell is its one-based column number") {
    const Apartment apartment;

    CHECK(parsedArrays(row(cell(L"A") + cell(L"E", 5) + formulaCell(requestFormula(L"RC[-1]")) +
                           formulaCell(requestFormula(L"RC[-6]")))) ==
          "[0,5 E FD LAST; 0,6 A FD LAST]");
}

TEST_CASE("The index of a row is its one-based row number") {
    const Apartment apartment;

    CHECK(parsedArrays(
              row(cell(L"A")) + row(cell(L"B"), 7) + row(formulaCell(requestFormula(L"R[-1]C"))) +
              row(formulaCell(requestFormula(L"R[-8]C")))) == "[][7,0 B FD LAST; 8,0 A FD LAST]");
}

TEST_CASE("An index can move backward, and later text then replaces earlier text") {
    const Apartment apartment;

    CHECK(parsedArrays(row(cell(L"A") + cell(L"B") + cell(L"C", 1) +
                           formulaCell(requestFormula(L"RC[-1]")))) == "[0,1 C FD LAST]");
}

TEST_CASE("An index below 1 refers to the first row or column") {
    const Apartment apartment;
    for (const wchar_t* const index : {L"0", L"-1", L"-5", L"-99999999999", L"abc", L""}) {
        const std::wstring attribute = std::wstring(L" ss:Index='") + index + L"'";

        CHECK(parsedArrays(row(L"") + L"<Row" + attribute + L"><Cell/><Cell" + attribute +
                           L"><Data>A</Data></Cell>" + formulaCell(requestFormula(L"RC[-1]")) +
                           L"</Row>") == "[][0,1 A FD LAST]");
    }
}

TEST_CASE("An index is read up to the first character that is not part of an integer") {
    const Apartment apartment;

    CHECK(parsedArrays(row(cell(L"A") + L"<Cell ss:Index=' +3.7'><Data>C</Data></Cell>" +
                           formulaCell(requestFormula(L"RC[-1]")))) == "[0,3 C FD LAST]");
}

TEST_CASE("An index out of the range of int refers to the last position") {
    const Apartment apartment;

    CHECK(parsedArrays(L"<Row ss:Index='99999999999'><Cell ss:Index='99999999999'><Data>Z</Data>"
                       L"</Cell>" +
                       formulaCell(requestFormula(L"RC[-1]")) + formulaCell(requestFormula(L"")) +
                       L"</Row><Row/><Row/>") == "[][2147483646,2147483647 Z FD LAST]");
}

TEST_CASE("Only the attribute with the qualified name ss-colon-Index is an index") {
    const Apartment apartment;

    CHECK(parsedArrays(L"<Row Index='9'><Cell Index='5' ss:index='4'><Data>A</Data></Cell>" +
                       formulaCell(requestFormula(L"RC[-1]")) + L"</Row>") == "[0,1 A FD LAST]");
}

// The contents of cells

TEST_CASE("A cell with an empty Data element exists, and one without a Data element does not") {
    const Apartment apartment;

    CHECK(parsedArrays(row(L"<Cell><Data/></Cell>" +
                           formulaCell(L"=QkGet(RC[-1],\"A.X\",\"LAST\")"))) == "[0,1 A.X  LAST]");
    CHECK(parsedArrays(row(L"<Cell/>" + formulaCell(L"=QkGet(RC[-1],\"A.X\",\"LAST\")"))) == "[]");
}

TEST_CASE("Only Cell elements are cells, and only Data elements contain their text") {
    const Apartment apartment;

    CHECK(parsedArrays(row(L"<!--c--><?Cell a?><Note>n</Note>"
                           L"<Cell><!--Data--><?Data b?><Note>n</Note><Data>A.X</Data></Cell>" +
                           formulaCell(requestFormula(L"RC[-1]")))) == "[0,1 A.X FD LAST]");
}

TEST_CASE("A cell has the text of its first Data element, with entities and CDATA resolved") {
    const Apartment apartment;

    CHECK(parsedArrays(row(L"<Cell><Comment>c</Comment><Data>a&amp;<![CDATA[<b>]]><B>c</B></Data>"
                           L"<Data>second</Data></Cell>" +
                           formulaCell(requestFormula(L"RC[-1]")))) == "[0,1 a&<b>c FD LAST]");
}

TEST_CASE("Formulas can refer to the text of a cell that also has a formula") {
    const Apartment apartment;

    CHECK(parsedArrays(row(L"<Cell ss:Formula='=QkGet(\"FD\",\"A.X\")'><Data>12.5</Data></Cell>" +
                           formulaCell(requestFormula(L"RC[-1]")))) == "[0,1 12.5 FD LAST]");
}

TEST_CASE("A formula can refer to a cell after it") {
    const Apartment apartment;

    CHECK(parsedArrays(row(formulaCell(requestFormula(L"R[1]C[1]"))) +
                       row(cell(L"") + cell(L"B.Y"))) == "[0,0 B.Y FD LAST]");
}

// Passes

TEST_CASE("A formula pass finds no cells before a value pass") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(
        sheet.importFromString(book(row(cell(L"A.X") + formulaCell(requestFormula(L"RC[-1]"))))));

    CHECK(sheet.parseCells(1));
    CHECK(sheet.parseCells(0));
    CHECK(sheet.parseCells(1));

    CHECK(arraysOf(sheet) == "[0,1  FD LAST][0,1 A.X FD LAST]");
}

TEST_CASE("A second parseFormulas appends the arrays again") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(
        sheet.importFromString(book(row(cell(L"A.X") + formulaCell(requestFormula(L"RC[-1]"))))));

    CHECK(sheet.parseFormulas());
    CHECK(sheet.parseFormulas());

    CHECK(arraysOf(sheet) == "[0,1 A.X FD LAST][0,1 A.X FD LAST]");
}

TEST_CASE("An explicit row index closes the current array even if it is empty") {
    const Apartment apartment;

    CHECK(parsedArrays(row(formulaCell(requestFormula(L"")), 1) +
                       row(formulaCell(requestFormula(L""))) +
                       row(formulaCell(requestFormula(L"")), 9) + row(L"", 20)) ==
          "[][0,0  FD LAST; 1,0  FD LAST][8,0  FD LAST][]");
}

TEST_CASE("A pass other than 0 and 1 parses the formulas and stores no arrays") {
    const Apartment apartment;
    for (const int pass : {2, -1, 100}) {
        FormatXML4Spdsheet sheet;
        REQUIRE(sheet.importFromString(book(row(formulaCell(requestFormula(L"")), 4) +
                                            row(formulaCell(requestFormula(L"")), 9))));

        CHECK(sheet.parseCells(pass));

        CHECK(sheet.listOfFormulaArraysSize() == 0);
    }
}

TEST_CASE("Only pass 1 starts a new array at an explicit row index") {
    const Apartment apartment;
    // The second formula contains neither "QkGet" nor "QData". Such a formula can be read only if
    // an earlier formula in the same array contains one of these names.
    const std::wstring xml =
        book(row(formulaCell(requestFormula(L"")), 1) + row(formulaCell(L"=XXX(\"A\")"), 9));
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(xml));

    CHECK(sheet.parseCells(2));
    CHECK_FALSE(sheet.parseCells(1));
}

TEST_CASE("A value pass ignores formulas") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(row(formulaCell(L"=SUM(R[-1]C)")))));

    CHECK(sheet.parseCells(0));

    CHECK(sheet.listOfFormulaArraysSize() == 0);
}

// Formulas

TEST_CASE("An empty formula is ignored") {
    const Apartment apartment;

    CHECK(parsedArrays(row(formulaCell(L""))) == "[]");
}

TEST_CASE("The pass fails if the first formula of an array calls neither QkGet nor QData") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(row(formulaCell(L"=SUM(R[-1]C)")))));

    CHECK_FALSE(sheet.parseFormulas());

    CHECK(sheet.listOfFormulaArraysSize() == 0);
}

TEST_CASE("A failing formula discards its array and keeps the earlier arrays") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(
        row(formulaCell(requestFormula(L""))) +
        row(formulaCell(requestFormula(L"")) + formulaCell(L"=QkGet (\"FD\",\"A.X\",\"LAST\")"),
            5))));

    CHECK_FALSE(sheet.parseFormulas());

    CHECK(arraysOf(sheet) == "[0,0  FD LAST]");
}

TEST_CASE("A later formula without QkGet or QData is read as a call at offset 4") {
    const Apartment apartment;

    CHECK(parsedArrays(row(formulaCell(requestFormula(L"")) + formulaCell(L"=SUM(R[-1]C)"))) ==
          "[0,0  FD LAST]");
    CHECK(parsedArrays(
              row(formulaCell(requestFormula(L"")) + formulaCell(L"=SUM(\"A\",\"B\",\"C\")"))) ==
          "[0,0  FD LAST; 0,1 B A C]");
    CHECK(parsedArrays(row(formulaCell(L"=QData(\"A\",\"B\",\"C\")") +
                           formulaCell(L"=SUM(\"A\",\"B\",\"C\")"))) == "[0,0 A C B; 0,1 A C B]");
}

TEST_CASE(
    "The pass fails if a later formula without QkGet or QData has no parenthesis at offset 4") {
    const Apartment apartment;
    for (const wchar_t* const formula : {L"=", L"=1+1", L"=1+12", L"=SUMME(RC)", L"=A(R,C)"}) {
        FormatXML4Spdsheet sheet;
        REQUIRE(sheet.importFromString(
            book(row(formulaCell(requestFormula(L"")) + formulaCell(formula)))));

        CHECK_FALSE(sheet.parseFormulas());
    }
}

TEST_CASE("A later formula with fewer than 4 characters is rejected and discards its array") {
    const Apartment apartment;
    const std::wstring before = formulaCell(requestFormula(L""));
    for (const wchar_t* const formula : {L"=", L"=1", L"=AB"}) {
        FormatXML4Spdsheet sheet;
        REQUIRE(sheet.importFromString(book(row(before) + row(before + formulaCell(formula), 5))));

        CHECK_FALSE(sheet.parseFormulas());

        CHECK(arraysOf(sheet) == "[0,0  FD LAST]");
    }
}

TEST_CASE("QkGet is searched before QData, regardless of their order in the formula") {
    const Apartment apartment;

    CHECK(parsedArrays(row(formulaCell(L"=QData(\"A\",\"B\",\"C\")+QkGet(\"D\",\"E\",\"F\")"))) ==
          "[0,0 E D F]");
    CHECK(parsedArrays(row(formulaCell(L"=IF(RC,QData(\"A\",\"B\",\"C\"),0)"))) == "[0,0 A C B]");
}

TEST_CASE("The last formula of an array determines the kind of the array") {
    const Apartment apartment;
    const auto kindOf = [](const std::wstring& cells) {
        FormatXML4Spdsheet sheet;
        REQUIRE(sheet.importFromString(book(row(cells))));
        REQUIRE(sheet.parseFormulas());
        return sheet.listOfFormulaArraysGetAt(0)->kind;
    };
    const std::wstring qkGet = formulaCell(L"=QkGet(\"A\",\"B\",\"C\")");
    const std::wstring qData = formulaCell(L"=QData(\"A\",\"B\",\"C\")");

    CHECK(kindOf(L"") == -1);
    CHECK(kindOf(qkGet) == 0);
    CHECK(kindOf(qData) == 1);
    CHECK(kindOf(qkGet + qData) == 1);
    CHECK(kindOf(qData + qkGet) == 0);
    CHECK(kindOf(qData + formulaCell(L"=SUM(RC)")) == 1);
}

TEST_CASE("An array contains the records of both functions") {
    const Apartment apartment;

    CHECK(parsedArrays(row(formulaCell(L"=QkGet(\"FD\",\"A.X\",\"LAST\")") +
                           formulaCell(L"=QData(\"B.Y\",\"BID\",\"FE\")"))) ==
          "[0,0 A.X FD LAST; 0,1 B.Y FE BID]");
}

TEST_CASE("The first record for a cell is kept across formulas") {
    const Apartment apartment;

    CHECK(parsedArrays(row(formulaCell(L"=QkGet(\"FD\",RC[5]:RC[6],\"LAST\")") +
                           formulaCell(L"=QkGet(\"FD\",\"OWN\",\"LAST\")") + cell(L"A", 6) +
                           cell(L"B"))) == "[0,0 A FD LAST; 0,1 B FD LAST]");
}

}  // namespace
