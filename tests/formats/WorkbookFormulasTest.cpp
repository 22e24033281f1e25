#include <doctest/doctest.h>
#include <windows.h>

#include <string>

#include "formats/FormatXML4Spdsheet.h"
#include "tests/support/Apartment.h"
#include "tests/support/Workbooks.h"

namespace {

using namespace testsupport;
using Reference = FormatXML4Spdsheet::Reference;
using Record = FormatXML4Spdsheet::Record;
using ArrayOfFormulas = FormatXML4Spdsheet::ArrayOfFormulas;

// Returns a reference in the form "<row>x<rowCount> <column>x<columnCount>".
std::string described(const Reference& ref) {
    return std::to_string(ref.row) + "x" + std::to_string(ref.rowCount) + " " +
           std::to_string(ref.column) + "x" + std::to_string(ref.columnCount);
}

// The results of parseRef() or parseReference() at the start of a formula: the return value, the
// reference, and the position after the reference.
struct ParseResult {
    bool accepted = false;
    std::string found;
    unsigned __int64 pos = 0;
};

ParseResult resultOfParseRef(FormatXML4Spdsheet& sheet, const std::wstring& formula) {
    ParseResult result;
    Reference ref;
    result.accepted = sheet.parseRef(formula, ref, result.pos);
    result.found = described(ref);
    return result;
}

ParseResult resultOfParseReference(FormatXML4Spdsheet& sheet, const std::wstring& formula) {
    ParseResult result;
    Reference ref;
    result.accepted = sheet.parseReference(formula, ref, result.pos);
    result.found = described(ref);
    return result;
}

// A sheet after a call to parseCells. The last cell is at zero-based row 10, column 1. After the
// call, the current position is in the next row and the next column: row 11, column 2.
class SheetAtRow11Column2 {
public:
    SheetAtRow11Column2() {
        REQUIRE(sheet.importFromString(book(row(cell(L"", 2), 11))));
        REQUIRE(sheet.parseCells(0));
    }

    Apartment apartment;
    FormatXML4Spdsheet sheet;
};

// Imports a sheet with a formula at zero-based row 10, column 2, and returns the records that
// parseFormulas() creates for the formula. The sheet also contains A.X at (9,2), LAST at (9,3), BID
// at (9,4), B.Y at (10,0) and C.Z at (11,0).
std::string recordsOfFormula(const std::wstring& formula) {
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(row(cell(L"A.X", 3) + cell(L"LAST") + cell(L"BID"), 10) +
                                        row(cell(L"B.Y") + formulaCell(formula, 3)) +
                                        row(cell(L"C.Z")))));
    REQUIRE(sheet.parseFormulas());
    REQUIRE(sheet.listOfFormulaArraysSize() == 2);
    return recordsOf(*sheet.listOfFormulaArraysGetAt(1));
}

bool isRejected(const std::wstring& formula) {
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(row(formulaCell(formula)))));
    return !sheet.parseFormulas();
}

TEST_CASE("A new Reference has no rows and columns, and a new array has kind -1") {
    const Reference ref;
    const ArrayOfFormulas array;

    CHECK(described(ref) == "-1x0 -1x0");
    CHECK(array.kind == -1);
    CHECK(array.records.empty());
}

// parseValue

TEST_CASE("parseValue reads to the next double quote and moves past it") {
    FormatXML4Spdsheet sheet;
    std::wstring value = L"before";
    unsigned __int64 pos = 1;

    CHECK(sheet.parseValue(L"\"A.X\",B", value, pos));

    CHECK(value == L"A.X");
    CHECK(pos == 5);
}

TEST_CASE("parseValue does not support escaped quotes") {
    FormatXML4Spdsheet sheet;
    std::wstring value;
    unsigned __int64 pos = 0;

    CHECK(sheet.parseValue(L"a\"\"b\"", value, pos));

    CHECK(value == L"a");
    CHECK(pos == 2);
}

TEST_CASE("parseValue fails without a closing quote and changes nothing") {
    FormatXML4Spdsheet sheet;
    std::wstring value = L"kept";
    unsigned __int64 pos = 2;

    CHECK_FALSE(sheet.parseValue(L"\"A.X", value, pos));

    CHECK(value == L"kept");
    CHECK(pos == 2);
}

// parseIndex

TEST_CASE("parseIndex reads a signed decimal number in brackets and moves past them") {
    FormatXML4Spdsheet sheet;
    unsigned __int64 pos = 1;

    CHECK(sheet.parseIndex(L"R[-12]C", pos) == -12);

    CHECK(pos == 6);
}

TEST_CASE("parseIndex returns 0 and keeps the position without an opening bracket") {
    FormatXML4Spdsheet sheet;
    unsigned __int64 pos = 1;

    CHECK(sheet.parseIndex(L"RC[2]", pos) == 0);

    CHECK(pos == 1);
}

TEST_CASE("parseIndex returns 0 and skips the opening bracket if there is no closing one") {
    FormatXML4Spdsheet sheet;
    unsigned __int64 pos = 1;

    CHECK(sheet.parseIndex(L"R[12,C", pos) == 0);

    CHECK(pos == 2);
}

TEST_CASE("parseIndex reads the leading number in the brackets and ignores the remaining text") {
    FormatXML4Spdsheet sheet;
    const auto indexOf = [&sheet](const std::wstring& formula) {
        unsigned __int64 pos = 0;
        const int index = sheet.parseIndex(formula, pos);
        CHECK(pos == formula.size());
        return index;
    };

    CHECK(indexOf(L"[]") == 0);
    CHECK(indexOf(L"[+7]") == 7);
    CHECK(indexOf(L"[ 7 ]") == 7);
    CHECK(indexOf(L"[7x9]") == 7);
    CHECK(indexOf(L"[x9]") == 0);
    CHECK(indexOf(L"[99999999999]") == 2147483647);
}

// parseRef

TEST_CASE("parseRef reads a corner relative to row 0, column 0 of a new sheet") {
    FormatXML4Spdsheet sheet;

    const ParseResult result = resultOfParseRef(sheet, L"R[2]C[-1]:");

    CHECK(result.accepted);
    CHECK(result.found == "2x1 -1x1");
    CHECK(result.pos == 9);
}

TEST_CASE_FIXTURE(SheetAtRow11Column2,
                  "parseRef adds the offsets to the position that parseCells has reached") {
    CHECK(resultOfParseRef(sheet, L"R[-1]C[3]").found == "10x1 5x1");
    CHECK(resultOfParseRef(sheet, L"RC").found == "11x1 2x1");
}

TEST_CASE("parseRef reads the parts that are present and always succeeds") {
    FormatXML4Spdsheet sheet;

    CHECK(resultOfParseRef(sheet, L"R[5]").found == "5x1 -1x0");
    CHECK(resultOfParseRef(sheet, L"C[5]").found == "-1x0 5x1");
    CHECK(resultOfParseRef(sheet, L"R5C2").found == "0x1 -1x0");
    CHECK(resultOfParseRef(sheet, L"C[1]R[1]").found == "-1x0 1x1");
    CHECK(resultOfParseRef(sheet, L"R[1").found == "0x1 -1x0");
    CHECK(resultOfParseRef(sheet, L"rc").found == "-1x0 -1x0");
    CHECK(resultOfParseRef(sheet, L" RC").found == "-1x0 -1x0");
    CHECK(resultOfParseRef(sheet, L"A1").found == "-1x0 -1x0");
    CHECK(resultOfParseRef(sheet, L"$R$C").accepted);
    CHECK(resultOfParseRef(sheet, L"").accepted);
}

TEST_CASE("parseRef keeps the members of a Reference for parts that are not present") {
    FormatXML4Spdsheet sheet;
    Reference ref = {7, 3, 8, 4};
    unsigned __int64 pos = 0;

    CHECK(sheet.parseRef(L"C[1]", ref, pos));

    CHECK(described(ref) == "7x3 1x1");
}

// parseReference

TEST_CASE("parseReference moves to the comma that ends the argument") {
    FormatXML4Spdsheet sheet;

    const ParseResult result = resultOfParseReference(sheet, L"R[1]C[2]garbage,RC)");

    CHECK(result.accepted);
    CHECK(result.found == "1x1 2x1");
    CHECK(result.pos == 15);
}

TEST_CASE("parseReference moves to the closing parenthesis if no comma follows") {
    FormatXML4Spdsheet sheet;

    const ParseResult result = resultOfParseReference(sheet, L"RC)+1");

    CHECK(result.accepted);
    CHECK(result.pos == 2);
}

TEST_CASE("parseReference accepts a comma after the closing parenthesis as the end") {
    FormatXML4Spdsheet sheet;

    CHECK(resultOfParseReference(sheet, L"RC)+A(1,2)").pos == 7);
}

TEST_CASE("parseReference fails and changes nothing if neither a comma nor a parenthesis follows") {
    FormatXML4Spdsheet sheet;

    const ParseResult result = resultOfParseReference(sheet, L"R[1]C:R[3]C");

    CHECK_FALSE(result.accepted);
    CHECK(result.found == "-1x0 -1x0");
    CHECK(result.pos == 0);
}

TEST_CASE("parseReference reads a range whose corners are in either order") {
    FormatXML4Spdsheet sheet;

    CHECK(resultOfParseReference(sheet, L"R[1]C[2]:R[3]C[2],").found == "1x3 2x1");
    CHECK(resultOfParseReference(sheet, L"R[1]C[2]:R[1]C[5],").found == "1x1 2x4");
    CHECK(resultOfParseReference(sheet, L"R[3]C[5]:R[1]C[2],").found == "1x3 2x4");
    CHECK(resultOfParseReference(sheet, L"R[1]C[5]:R[3]C[2],").found == "1x3 2x4");
}

TEST_CASE_FIXTURE(SheetAtRow11Column2, "A reversed range starts at its upper row") {
    CHECK(resultOfParseReference(sheet, L"R[1]C:R[-1]C,").found == "10x3 2x1");
}

TEST_CASE("A row or column that only one corner specifies does not make a range") {
    FormatXML4Spdsheet sheet;

    CHECK(resultOfParseReference(sheet, L"C[0]:R[1]C,").found == "-1x0 0x1");
    CHECK(resultOfParseReference(sheet, L"R[0]C[2]:C[4],").found == "0x1 2x3");
    CHECK(resultOfParseReference(sheet, L"R[0]C[2]:,").found == "0x1 2x1");
    CHECK(resultOfParseReference(sheet, L":R[3]C[3],").found == "-1x0 -1x0");
}

TEST_CASE("The second corner ends at the end of its argument") {
    FormatXML4Spdsheet sheet;

    // The "]" of the second corner is after the comma that ends the argument. The offset before the
    // "]" is therefore read as 0.
    CHECK(resultOfParseReference(sheet, L"R[2]C[2]:R[5,]C[5]").found == "0x3 2x1");
    CHECK(resultOfParseReference(sheet, L"R[2]C[2]:R[C,]").found == "0x3 0x3");
}

TEST_CASE("The closing bracket of the first corner can be after the end of its argument") {
    FormatXML4Spdsheet sheet;

    const ParseResult result = resultOfParseReference(sheet, L"R[5,]C[3],");

    CHECK(result.found == "5x1 3x1");
    CHECK(result.pos == 3);
}

TEST_CASE("A colon after the argument does not make a range") {
    FormatXML4Spdsheet sheet;

    CHECK(resultOfParseReference(sheet, L"R[1]C[1],R[5]C:R[9]C)").found == "1x1 1x1");
}

TEST_CASE("Corners after the second one are ignored") {
    FormatXML4Spdsheet sheet;

    CHECK(resultOfParseReference(sheet, L"RC:R[1]C:R[9]C,").found == "0x2 0x1");
}

TEST_CASE("parseReference keeps the members of a Reference for parts that are not present") {
    FormatXML4Spdsheet sheet;
    Reference ref = {7, 3, 8, 4};
    unsigned __int64 pos = 0;

    CHECK(sheet.parseReference(L"A1:R[2]C,", ref, pos));

    CHECK(described(ref) == "7x3 8x4");
}

// parseArg, and the functions that read one argument

TEST_CASE("parseArg reads a quoted string into the value") {
    FormatXML4Spdsheet sheet;
    std::wstring value;
    Reference ref;
    unsigned __int64 pos = 0;

    CHECK(sheet.parseArg(L"\"A,B)\",", value, ref, pos));

    CHECK(value == L"A,B)");
    CHECK(described(ref) == "-1x0 -1x0");
    CHECK(pos == 6);
}

TEST_CASE("parseArg accepts an empty argument before a comma") {
    FormatXML4Spdsheet sheet;
    std::wstring value = L"kept";
    Reference ref;
    unsigned __int64 pos = 0;

    CHECK(sheet.parseArg(L",RC)", value, ref, pos));

    CHECK(value == L"kept");
    CHECK(described(ref) == "-1x0 -1x0");
    CHECK(pos == 0);
}

TEST_CASE("parseArg reads any other argument as a reference") {
    FormatXML4Spdsheet sheet;
    std::wstring value = L"kept";
    Reference ref;
    unsigned __int64 pos = 0;

    CHECK(sheet.parseArg(L"R[1]C[2])", value, ref, pos));

    CHECK(value == L"kept");
    CHECK(described(ref) == "1x1 2x1");
    CHECK(pos == 8);
}

TEST_CASE("parseArg fails for an unterminated string or reference") {
    FormatXML4Spdsheet sheet;
    for (const wchar_t* const formula : {L"\"A.X", L"R[1]C", L"A.X", L""}) {
        std::wstring value;
        Reference ref;
        unsigned __int64 pos = 0;

        CHECK_FALSE(sheet.parseArg(formula, value, ref, pos));
    }
}

TEST_CASE("parseSYM, parseField and parseFeed each set their own member of the record") {
    FormatXML4Spdsheet sheet;
    Record record;
    Reference ref;
    unsigned __int64 pos = 0;

    CHECK(sheet.parseSYM(L"\"A:X\",", record, ref, pos));
    pos = 0;
    CHECK(sheet.parseField(L"\"L:T\",", record, ref, pos));
    pos = 0;
    CHECK(sheet.parseFeed(L"\"FD\",", record, ref, pos));

    CHECK(record.sym == L"A:X");
    CHECK(record.field == L"L:T");
    CHECK(record.feed == L"FD");
}

TEST_CASE("parseFeed removes the prefix up to the first colon") {
    FormatXML4Spdsheet sheet;
    const auto feedOf = [&sheet](const std::wstring& formula) {
        Record record;
        record.feed = L"P:Q:R";
        Reference ref;
        unsigned __int64 pos = 0;
        REQUIRE(sheet.parseFeed(formula, record, ref, pos));
        return narrow(record.feed);
    };

    CHECK(feedOf(L"\"A:B:C\",") == "B:C");
    CHECK(feedOf(L"\"A:\",") == "");
    CHECK(feedOf(L"\":A\",") == "A");
    CHECK(feedOf(L"\"A\",") == "A");
    CHECK(feedOf(L",") == "Q:R");
    CHECK(feedOf(L"RC,") == "Q:R");
}

TEST_CASE("parseFeed keeps the feed if the argument is unterminated") {
    FormatXML4Spdsheet sheet;
    Record record;
    record.feed = L"P:Q";
    Reference ref;
    unsigned __int64 pos = 0;

    CHECK_FALSE(sheet.parseFeed(L"\"A:B", record, ref, pos));

    CHECK(record.feed == L"P:Q");
}

TEST_CASE("A position past the end of a formula is treated as its end") {
    FormatXML4Spdsheet sheet;
    const std::wstring formula = L"\"RC,";
    for (const unsigned __int64 start : {4ULL, 5ULL, 1000ULL, ~0ULL}) {
        std::wstring value = L"kept";
        Record record;
        Reference ref;
        unsigned __int64 pos = start;

        CHECK_FALSE(sheet.parseValue(formula, value, pos));
        CHECK(sheet.parseIndex(formula, pos) == 0);
        CHECK(sheet.parseRef(formula, ref, pos));
        CHECK_FALSE(sheet.parseReference(formula, ref, pos));
        CHECK_FALSE(sheet.parseArg(formula, value, ref, pos));
        CHECK_FALSE(sheet.parseFeed(formula, record, ref, pos));

        CHECK(pos == start);
        CHECK(value == L"kept");
        CHECK(described(ref) == "-1x0 -1x0");
    }
}

// Calls

TEST_CASE("A call with three literals makes one record in the formula's own cell") {
    const Apartment apartment;

    CHECK(recordsOfFormula(L"=QkGet(\"FD\",\"A.X\",\"LAST\")") == "10,2 A.X FD LAST");
    CHECK(recordsOfFormula(L"=QData(\"A.X\",\"LAST\",\"FD\")") == "10,2 A.X FD LAST");
}

TEST_CASE("A reference to one cell uses the text of the cell") {
    const Apartment apartment;

    CHECK(recordsOfFormula(L"=QkGet(\"FD\",R[-1]C,\"LAST\")") == "10,2 A.X FD LAST");
}

TEST_CASE("Two ranges make a record for each pair of cells at the sum of their offsets") {
    const Apartment apartment;

    CHECK(recordsOfFormula(L"=QData(RC[-2]:R[1]C[-2],R[-1]C[1]:R[-1]C[2],\"X:FD\")") ==
          "10,2 B.Y FD LAST; 10,3 B.Y FD BID; 11,2 C.Z FD LAST; 11,3 C.Z FD BID");
}

TEST_CASE("A call with fewer than three arguments is accepted but makes no record") {
    const Apartment apartment;

    CHECK(recordsOfFormula(L"=QkGet(\"FD\",\"A.X\")") == "");
    CHECK(recordsOfFormula(L"=QData(\"A.X\")") == "");
}

TEST_CASE("A space between the function name and the parenthesis is rejected") {
    const Apartment apartment;

    CHECK(isRejected(L"=QkGet (\"FD\",\"A.X\",\"LAST\")"));
    CHECK(isRejected(L"=QData (\"A.X\",\"LAST\",\"FD\")"));
}

TEST_CASE("An absolute reference is not resolved and leaves the feed empty") {
    const Apartment apartment;

    CHECK(recordsOfFormula(L"=QkGet(R5C2,\"A.X\",\"LAST\")") == "");
}

TEST_CASE("Three literals with an empty feed make no record") {
    const Apartment apartment;

    CHECK(recordsOfFormula(L"=QkGet(\"\",\"A.X\",\"LAST\")") == "");
    CHECK(recordsOfFormula(L"=QData(\"A.X\",\"LAST\",\"X:\")") == "");
    CHECK(recordsOfFormula(L"=QData(\"A.X\",\"LAST\",)") == "");
}

TEST_CASE("A field from a cell makes a record even if the feed is empty") {
    const Apartment apartment;

    CHECK(recordsOfFormula(L"=QkGet(\"\",\"A.X\",R[-1]C[1])") == "10,2 A.X  LAST");
}

TEST_CASE("A range of instruments makes a record for each existing cell") {
    const Apartment apartment;

    CHECK(recordsOfFormula(L"=QkGet(,RC[-2]:R[5]C[-2],\"LAST\")") ==
          "10,2 B.Y  LAST; 11,2 C.Z  LAST");
}

TEST_CASE("A missing cell of a range uses the text of the previous cell") {
    const Apartment apartment;

    CHECK(recordsOfFormula(L"=QkGet(\"FD\",RC[-2]:R[2]C[-2],R[-1]C[1])") ==
          "10,2 B.Y FD LAST; 11,2 C.Z FD LAST; 12,2 C.Z FD LAST");
}

TEST_CASE("The outermost loop is over feeds and the innermost loop is over fields") {
    const Apartment apartment;

    // The feeds A.X, LAST and BID are in one row. The instruments B.Y and C.Z are in one column.
    CHECK(recordsOfFormula(L"=QkGet(R[-1]C:R[-1]C[2],RC[-2]:R[1]C[-2],\"F\")") ==
          "10,2 B.Y A.X F; 10,3 B.Y LAST F; 10,4 B.Y BID F; "
          "11,2 C.Z A.X F; 11,3 C.Z LAST F; 11,4 C.Z BID F");
}

TEST_CASE("The prefix of a feed is kept in a cell and removed from a literal") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(
        sheet.importFromString(book(row(cell(L"X:FD") + formulaCell(L"=QkGet(RC[-1],\"A\",\"B\")") +
                                        formulaCell(L"=QkGet(\"X:FD\",\"A\",\"B\")")))));

    REQUIRE(sheet.parseFormulas());

    CHECK(arraysOf(sheet) == "[0,1 A X:FD B; 0,2 A FD B]");
}

TEST_CASE("An unterminated call is rejected") {
    const Apartment apartment;

    CHECK(isRejected(L"=QkGet"));
    CHECK(isRejected(L"=QkGet("));
    CHECK(isRejected(L"=QkGet(\"FD"));
    CHECK(isRejected(L"=QkGet(\"FD\",RC"));
    CHECK(isRejected(L"=QkGet(\"FD\",\"A.X\",\"LAST"));
    CHECK(isRejected(L"=QData(\"FD\",\"A.X\",FD"));
}

TEST_CASE("Other text after a quoted argument ends the call without a record") {
    const Apartment apartment;

    CHECK(recordsOfFormula(L"=QkGet(\"FD\"&amp;\"X\",\"A.X\",\"LAST\")") == "");
    CHECK(recordsOfFormula(L"=QkGet(\"FD\", \"A.X\",\"LAST\")") == "10,2  FD LAST");
}

TEST_CASE("A reference to billions of rows is read without delay") {
    const Apartment apartment;

    CHECK(recordsOfFormula(L"=QkGet(\"FD\",R[-1]C:R[2000000000]C,\"LAST\")") == "10,2 A.X FD LAST");
}

TEST_CASE("An offset out of the range of int refers to no cell") {
    const Apartment apartment;

    CHECK(recordsOfFormula(L"=QkGet(\"FD\",R[2147483647]C[2147483647],\"LAST\")") ==
          "10,2  FD LAST");
    CHECK(recordsOfFormula(L"=QkGet(\"FD\",R[-2147483648]C[-99999999999],\"LAST\")") ==
          "10,2  FD LAST");
    CHECK(recordsOfFormula(L"=QkGet(\"FD\",R[-99999999999]C:R[99999999999]C,\"LAST\")")
              .starts_with("10,2  FD LAST"));
}

TEST_CASE("A record for a cell outside the range of int is dropped") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(
        book(row(cell(L"A.X"), 2147483646) +
             row(cell(L"B.Y") + formulaCell(L"=QkGet(\"FD\",R[-1]C[-1]:R[1]C[-1],\"LAST\")")) +
             row(cell(L"C.Z")))));

    CHECK(sheet.parseFormulas());

    CHECK(arraysOf(sheet) == "[][2147483646,1 A.X FD LAST; 2147483647,1 B.Y FD LAST]");
}

TEST_CASE("A formula that needs more records than the limit of a sheet is rejected") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(
        book(row(cell(L"LAST") + formulaCell(L"=QkGet(\"FD\",\"A.X\",RC[-1])")) +
             row(formulaCell(L"=QkGet(\"FD\",R[0]C:R[2000000000]C,R[-1]C)"), 2))));

    CHECK_FALSE(sheet.parseFormulas());

    CHECK(arraysOf(sheet) == "[0,1 A.X FD LAST]");
}

// Returns a row with the text "v" in its first cell, followed by `count` Cell elements for its
// second cell. All of these elements contain the same formula, which makes requests for 1,024
// cells.
std::wstring repeatedFormulas(int count, int index) {
    std::wstring cells = cell(L"v", 1);
    for (int i = 0; i < count; ++i)
        cells += formulaCell(L"=QkGet(\"F\",R[0]C[9]:R[1023]C[9],RC[-1])", 2);
    return row(cells, index);
}

TEST_CASE("The formulas of a sheet can make at most 1048576 requests") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(repeatedFormulas(1000, 1) + repeatedFormulas(24, 5000) +
                                        row(formulaCell(L"=QkGet(\"F\",\"S\",\"L\")"), 9000))));
    REQUIRE(sheet.parseCells(0));

    CHECK_FALSE(sheet.parseCells(1));

    // Each row has an explicit index and therefore begins a new array. The array before the first
    // row is empty.
    REQUIRE(sheet.listOfFormulaArraysSize() == 3);
    CHECK(sheet.listOfFormulaArraysGetAt(1)->records.size() == 1024);
    CHECK(sheet.listOfFormulaArraysGetAt(2)->records.size() == 1024);
}

TEST_CASE("A pass that stores no arrays does not count toward the limit of requests") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(repeatedFormulas(600, 1))));
    REQUIRE(sheet.parseCells(0));

    CHECK(sheet.parseCells(2));
    CHECK(sheet.parseCells(2));
    CHECK(sheet.parseCells(1));
    CHECK_FALSE(sheet.parseCells(1));
}

TEST_CASE("The requests of a sheet can have at most 67108864 characters in total") {
    const Apartment apartment;
    const auto isParsed = [](const std::wstring& lastField) {
        FormatXML4Spdsheet sheet;
        std::wstring fields = cell(lastField);
        for (int i = 1; i < 64; ++i) fields += cell(L"");
        REQUIRE(sheet.importFromString(book(row(cell(std::wstring(1'048'576, L'f')) + fields +
                                                formulaCell(L"=QkGet(RC[-65],,RC[-64]:RC[-1])")))));
        return sheet.parseFormulas();
    };

    CHECK(isParsed(L""));
    CHECK_FALSE(isParsed(L"1"));
}

TEST_CASE("A pass over the formulas of a sheet can take at most 16777216 steps") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    // Each formula visits 4,096 cells outside its range, one in each row, and takes three more
    // steps. Together, 4,093 formulas take 16,777,207 steps.
    const std::wstring formula = formulaCell(L"=QkGet(\"F\",R[-2147483647]C[1]:R[0]C[1],\"L\")", 2);
    std::wstring rows, formulas;
    for (int i = 0; i < 4096; ++i) rows += row(cell(L"1"));
    for (int i = 0; i < 4093; ++i) formulas += formula;
    REQUIRE(sheet.importFromString(book(rows + row(formulas, 5000) + row(formula, 6000))));
    REQUIRE(sheet.parseCells(0));

    CHECK_FALSE(sheet.parseCells(1));

    REQUIRE(sheet.listOfFormulaArraysSize() == 2);
    CHECK(sheet.listOfFormulaArraysGetAt(1)->kind == 0);
}

// The list of arrays

TEST_CASE("The list of arrays of a new sheet is empty") {
    const FormatXML4Spdsheet sheet;

    CHECK(sheet.listOfFormulaArraysSize() == 0);
    CHECK(sheet.listOfFormulaArraysGetAt(0) == nullptr);
    CHECK(sheet.listOfFormulaArraysGetAt(99) == nullptr);
}

TEST_CASE("An index past the end of the list returns the last array") {
    FormatXML4Spdsheet sheet;
    ArrayOfFormulas first;
    first.kind = 0;
    ArrayOfFormulas second;
    second.kind = 1;

    sheet.listOfFormulaArraysPush(first);
    sheet.listOfFormulaArraysPush(second);

    CHECK(sheet.listOfFormulaArraysSize() == 2);
    CHECK(sheet.listOfFormulaArraysGetAt(0)->kind == 0);
    CHECK(sheet.listOfFormulaArraysGetAt(1)->kind == 1);
    CHECK(sheet.listOfFormulaArraysGetAt(2)->kind == 1);
    CHECK(sheet.listOfFormulaArraysGetAt(99)->kind == 1);
    CHECK(sheet.listOfFormulaArraysGetAt(~0ULL)->kind == 1);
}

TEST_CASE("Pushing an array stores a copy") {
    FormatXML4Spdsheet sheet;
    ArrayOfFormulas array;
    array.records[{3, 4}] = {L"A.X", L"FD", L"LAST"};

    sheet.listOfFormulaArraysPush(array);
    array.records.clear();

    CHECK(arraysOf(sheet) == "[3,4 A.X FD LAST]");
}

TEST_CASE("Records are ordered by row and then by column") {
    ArrayOfFormulas array;
    array.records[{2, 1}].sym = L"d";
    array.records[{1, 2}].sym = L"b";
    array.records[{1, 10}].sym = L"c";
    array.records[{-1, 5}].sym = L"a";

    CHECK(recordsOf(array) == "-1,5 a  ; 1,2 b  ; 1,10 c  ; 2,1 d  ");
}

}  // namespace
