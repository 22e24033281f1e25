#include <doctest/doctest.h>
#include <windows.h>

#include <comdef.h>

#include <algorithm>
#include <string>

#include "formats/FormatXML4Spdsheet.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Apartment.h"
#include "tests/support/ObservedDom.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ScriptedClass.h"
#include "tests/support/ScriptedDom.h"
#include "tests/support/Workbooks.h"

namespace {

using namespace testsupport;
using ATL::CComPtr;

void addRows(FormatXML4Spdsheet& sheet, int count) {
    for (; count > 0; --count) REQUIRE(sheet.addRow());
}

// Adds a cell for each value to the current row. An empty string adds an empty cell.
void addValues(FormatXML4Spdsheet& sheet, std::initializer_list<const wchar_t*> values) {
    for (const wchar_t* const value : values) REQUIRE(sheet.addCell(L"", value));
}

TEST_CASE("A new document is a Workbook with the Worksheet Sheet1 and an empty Table") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;

    REQUIRE(sheet.addRow());

    CHECK(outlineOf(sheet) == "Workbook[Worksheet{ss:Name=Sheet1}[Table]]");
}

TEST_CASE("The Workbook element declares five namespaces in a fixed order") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.addRow());
    std::wstring xml;

    REQUIRE(sheet.exportToString(xml));

    CHECK(xml.find(L"<Workbook xmlns=\"urn:schemas-microsoft-com:office:spreadsheet\""
                   L" xmlns:o=\"urn:schemas-microsoft-com:office:office\""
                   L" xmlns:x=\"urn:schemas-microsoft-com:office:excel\""
                   L" xmlns:ss=\"urn:schemas-microsoft-com:office:spreadsheet\""
                   L" xmlns:html=\"http://www.w3.org/TR/REC-html40\">") != std::wstring::npos);
}

TEST_CASE("The XML of a workbook begins with the declaration and the mso-application instruction") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.addRow());
    std::wstring xml;

    REQUIRE(sheet.exportToString(xml));

    const auto declaration = xml.find(L"<?xml version='1.0'?>");
    const auto application = xml.find(L"<?mso-application progid='Excel.Sheet'?>");
    const auto root = xml.find(L"<Workbook ");
    CHECK(declaration == 0);
    CHECK(application != std::wstring::npos);
    CHECK(application < root);
}

TEST_CASE("A row of cells is written as a Row of Cells with Data") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    addRows(sheet, 1);

    addValues(sheet, {L"a", L"b"});

    CHECK(rowsOf(sheet) == "Row[Cell[Data['a']] Cell[Data['b']]]");
}

TEST_CASE("addCell fails and writes nothing before setTableSize or addRow") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;

    CHECK_FALSE(sheet.addCell(L"", L"early"));
    REQUIRE(sheet.addRow());
    CHECK(sheet.addCell(L"", L"late"));

    CHECK(rowsOf(sheet) == "Row[Cell[Data['late']]]");
}

TEST_CASE("addCell after setTableSize without addRow starts the first row") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.setTableSize(1, 1));

    CHECK(sheet.addCell(L"", L"a"));
    REQUIRE(sheet.addRow());
    CHECK(sheet.addCell(L"", L"b"));

    CHECK(rowsOf(sheet) == "Row[Cell[Data['a']]] Row[Cell[Data['b']]]");
}

TEST_CASE("An empty cell after setTableSize without addRow starts the first row") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.setTableSize(1, 1));

    CHECK(sheet.addCell(L"", L""));
    REQUIRE(sheet.addRow());
    CHECK(sheet.addCell(L"", L"b"));

    CHECK(rowsOf(sheet) == "Row Row[Cell[Data['b']]]");
}

TEST_CASE("setTableSize writes the number of columns before the number of rows") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;

    CHECK(sheet.setTableSize(5, 3));

    CHECK(outlineOf(sheet).find("Table{ss:ExpandedColumnCount=3 ss:ExpandedRowCount=5}") !=
          std::string::npos);
}

TEST_CASE("setTableSize writes any number unchanged, and the last call takes effect") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;

    CHECK(sheet.setTableSize(5, 3));
    CHECK(sheet.setTableSize(-1, 0));

    CHECK(outlineOf(sheet).find("Table{ss:ExpandedColumnCount=0 ss:ExpandedRowCount=-1}") !=
          std::string::npos);
}

TEST_CASE("A row without contents is not written") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;

    addRows(sheet, 1);
    addValues(sheet, {L"", L""});

    CHECK(rowsOf(sheet) == "");
}

TEST_CASE("A row after a row with contents has no index") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    addRows(sheet, 1);
    addValues(sheet, {L"a"});

    addRows(sheet, 1);
    addValues(sheet, {L"b"});

    CHECK(rowsOf(sheet) == "Row[Cell[Data['a']]] Row[Cell[Data['b']]]");
}

TEST_CASE("A row after an empty row has its one-based row number as its index") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    addRows(sheet, 1);
    addValues(sheet, {L"a"});

    addRows(sheet, 2);
    addValues(sheet, {L"b"});
    addRows(sheet, 4);
    addValues(sheet, {L"c"});

    CHECK(rowsOf(sheet) ==
          "Row[Cell[Data['a']]] Row{ss:Index=3}[Cell[Data['b']]] Row{ss:Index=7}[Cell[Data['c']]]");
}

TEST_CASE("If the first contents are in row 2, an empty Row precedes their Row") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;

    addRows(sheet, 2);
    addValues(sheet, {L"x"});

    CHECK(rowsOf(sheet) == "Row Row[Cell[Data['x']]]");
}

TEST_CASE("If the first contents are below row 2, an empty Row precedes a Row with an index") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;

    addRows(sheet, 4);
    addValues(sheet, {L"x", L"y"});

    CHECK(rowsOf(sheet) == "Row Row{ss:Index=4}[Cell[Data['x']] Cell[Data['y']]]");
}

TEST_CASE("The index of a cell is the column gap and not the column") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    addRows(sheet, 1);

    addValues(sheet, {L"", L"", L"", L"z"});
    addValues(sheet, {L"", L"q"});

    CHECK(rowsOf(sheet) == "Row[Cell{ss:Index=3}[Data['z']] Cell{ss:Index=2}[Data['q']]]");
}

TEST_CASE("The first cell with contents has no index if it is in column 2") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    addRows(sheet, 1);

    addValues(sheet, {L"", L"x"});

    CHECK(rowsOf(sheet) == "Row[Cell[Data['x']]]");
}

TEST_CASE("A new row does not reset the count for column gaps") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    addRows(sheet, 1);
    addValues(sheet, {L"a", L"b", L"c"});

    addRows(sheet, 1);
    addValues(sheet, {L"", L"", L"", L"", L"e"});
    addRows(sheet, 1);
    addValues(sheet, {L"f", L"", L"", L"g"});

    CHECK(rowsOf(sheet) ==
          "Row[Cell[Data['a']] Cell[Data['b']] Cell[Data['c']]] "
          "Row[Cell{ss:Index=2}[Data['e']]] "
          "Row[Cell[Data['f']] Cell{ss:Index=3}[Data['g']]]");
}

TEST_CASE("A cell left of the last written column has no index, even after empty cells") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    addRows(sheet, 1);
    addValues(sheet, {L"a", L"b", L"c"});

    addRows(sheet, 2);
    addValues(sheet, {L"", L"y"});

    CHECK(rowsOf(sheet) ==
          "Row[Cell[Data['a']] Cell[Data['b']] Cell[Data['c']]] Row{ss:Index=3}[Cell[Data['y']]]");
}

TEST_CASE("A cell with only a formula has an empty Data element of type String") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    addRows(sheet, 1);

    CHECK(sheet.addCell(L"=1+1", L""));

    CHECK(outlineOf(sheet).find("Cell{ss:Formula==1+1}[Data{ss:Type=String}]") !=
          std::string::npos);
}

TEST_CASE("A cell with a formula and a value is written with both") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    addRows(sheet, 1);

    CHECK(sheet.addCell(L"=1+1", L"2"));

    CHECK(rowsOf(sheet) == "Row[Cell{ss:Formula==1+1}[Data['2']]]");
}

TEST_CASE("A number is written with the type String") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    addRows(sheet, 1);

    addValues(sheet, {L"12.5"});

    CHECK(outlineOf(sheet).find("Data{ss:Type=String}['12.5']") != std::string::npos);
}

TEST_CASE("Markup characters in values and formulas are written as text") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    addRows(sheet, 1);

    CHECK(sheet.addCell(L"=QkGet(\"A&B\",\"<C>\",'D')", L"a & b &amp; <c> \"d\" 'e' ]]>"));

    CHECK(rowsOf(sheet) ==
          "Row[Cell{ss:Formula==QkGet(\"A&B\",\"<C>\",'D')}"
          "[Data['a & b &amp; <c> \"d\" 'e' ]]>']]]");
}

TEST_CASE(
    "addCell fails for a value that the document rejects and keeps the parts already written") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    addRows(sheet, 1);
    addValues(sheet, {L"a"});

    CHECK_FALSE(sheet.addCell(L"", std::wstring(L"x\0y", 3)));
    addValues(sheet, {L"c"});

    CHECK(rowsOf(sheet) == "Row[Cell[Data['a']] Cell[Data] Cell[Data['c']]]");
}

TEST_CASE("A sheet cannot be used after its document could not be created") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    {
        const ScriptedClass none(kDocument30, [](REFIID, void**) { return E_ACCESSDENIED; });
        CHECK_FALSE(sheet.addRow());
    }

    CHECK_FALSE(sheet.addRow());
    CHECK_FALSE(sheet.setTableSize(1, 1));
    CHECK_FALSE(sheet.addCell(L"", L"x"));
    CHECK_FALSE(sheet.importFromString(book(L"")));
    std::wstring text;
    CHECK_FALSE(sheet.exportToString(text));
}

TEST_CASE("Writing fails if any call to the document fails") {
    const Apartment apartment;
    ObservedDom dom;
    const auto writes = [] {
        FormatXML4Spdsheet sheet;
        bool written = sheet.setTableSize(3, 3);
        for (int row = 1; row <= 3; ++row) written = sheet.addRow() && written;
        written = sheet.addCell(L"", L"") && written;
        written = sheet.addCell(L"", L"") && written;
        return sheet.addCell(L"=A", L"a") && written;
    };
    REQUIRE(writes());
    const int calls = static_cast<int>(dom.calls.size());
    REQUIRE(calls > 30);

    for (int n = 1; n <= calls; ++n) {
        CAPTURE(dom.calls[static_cast<std::size_t>(n - 1)]);
        dom.failNth(n);
        CHECK_FALSE(writes());
    }
    CHECK(dom.objects == 0);
}

TEST_CASE("Writing fails if the document returns no processing instruction") {
    const Apartment apartment;
    ScriptedDocument document;
    document.onCreateProcessingInstruction = returnsNothing(S_OK);
    const ScriptedClass scripted(kDocument30, document);

    CHECK_FALSE(FormatXML4Spdsheet().addRow());
}

TEST_CASE("setTableSize fails for an imported table") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(L"")));

    CHECK_FALSE(sheet.setTableSize(1, 1));
}

TEST_CASE("A sheet cannot be used after its document could not be initialized") {
    const Apartment apartment;
    ObservedDom dom;
    FormatXML4Spdsheet sheet;
    dom.setResult(L"createElement Table", E_FAIL);
    CHECK_FALSE(sheet.setTableSize(1, 1));
    dom.onCall = nullptr;

    CHECK_FALSE(sheet.setTableSize(1, 1));
    CHECK_FALSE(sheet.addRow());
    CHECK_FALSE(sheet.addCell(L"", L"a"));
    CHECK_FALSE(sheet.importFromString(book(L"")));
    std::wstring text;
    CHECK_FALSE(sheet.exportToString(text));
}

// Creates a sheet with one row, calls `write` to add cells to the row, and returns the XML of the
// sheet. `write` also selects which calls to the document fail.
template <class Write>
std::wstring writtenWithFailures(Write&& write) {
    ObservedDom dom;
    FormatXML4Spdsheet sheet;
    addRows(sheet, 1);
    write(sheet, dom);
    return textOf(sheet);
}

TEST_CASE("A row that could not be appended is created again for the next cell") {
    const Apartment apartment;

    const std::wstring xml = writtenWithFailures([](FormatXML4Spdsheet& sheet, ObservedDom& dom) {
        dom.setResult(L"appendChild Row", E_FAIL);
        CHECK_FALSE(sheet.addCell(L"", L"a"));
        dom.onCall = nullptr;
        CHECK(sheet.addCell(L"", L"b"));
    });

    CHECK(rowsOf(xml) == "Row[Cell[Data['b']]]");
}

TEST_CASE("A cell that could not be appended leaves a column gap") {
    const Apartment apartment;

    const std::wstring xml = writtenWithFailures([](FormatXML4Spdsheet& sheet, ObservedDom& dom) {
        dom.setResult(L"appendChild Cell", E_FAIL);
        CHECK_FALSE(sheet.addCell(L"", L"a"));
        CHECK_FALSE(sheet.addCell(L"", L"b"));
        dom.onCall = nullptr;
        CHECK(sheet.addCell(L"", L"c"));
    });

    CHECK(rowsOf(xml) == "Row[Cell{ss:Index=2}[Data['c']]]");
}

TEST_CASE("An appended cell is kept if its formula or Data cannot be written") {
    const Apartment apartment;

    const std::wstring xml = writtenWithFailures([](FormatXML4Spdsheet& sheet, ObservedDom& dom) {
        dom.setResult(L"setAttribute ss:Formula =A", E_FAIL);
        CHECK_FALSE(sheet.addCell(L"=A", L"a"));
        dom.setResult(L"createElement Data", E_FAIL);
        CHECK_FALSE(sheet.addCell(L"=B", L"b"));
        dom.setResult(L"setAttribute ss:Type String", E_FAIL);
        CHECK_FALSE(sheet.addCell(L"=C", L"c"));
        dom.onCall = nullptr;
    });

    CHECK(rowsOf(xml) == "Row[Cell Cell{ss:Formula==B} Cell{ss:Formula==C}[Data]]");
}

TEST_CASE("exportToXML returns a copy that later cells do not change") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    addRows(sheet, 1);
    addValues(sheet, {L"a"});
    CComPtr<IXMLDOMDocument2> document;

    REQUIRE(sheet.exportToXML(&document));
    addValues(sheet, {L"b"});

    CComPtr<IXMLDOMElement> root;
    REQUIRE(document->get_documentElement(&root) == S_OK);
    const std::string outline = outlineOf(*root);
    CHECK(outline.find("Row[Cell[Data{ss:Type=String}['a']]]") != std::string::npos);
    CHECK(rowsOf(sheet) == "Row[Cell[Data['a']] Cell[Data['b']]]");
}

TEST_CASE("Exporting an unused sheet fails and leaves the outputs unchanged") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    const CComPtr<IXMLDOMDocument2> other = newDocument();
    IXMLDOMDocument2* document = other;
    std::wstring text = L"kept";

    CHECK_FALSE(sheet.exportToXML(&document));
    CHECK_FALSE(sheet.exportToString(text));

    CHECK(document == other.p);
    CHECK(text == L"kept");
}

TEST_CASE("exportToXML rejects a null pointer and clears the pointer if copying fails") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    addRows(sheet, 1);
    const CComPtr<IXMLDOMDocument2> other = newDocument();
    IXMLDOMDocument2* document = other;

    CHECK_FALSE(sheet.exportToXML(nullptr));
    {
        const ScriptedClass none(kDocument30, [](REFIID, void**) { return E_ACCESSDENIED; });
        CHECK_FALSE(sheet.exportToXML(&document));
    }

    CHECK(document == nullptr);
}

TEST_CASE("Writing a sheet throws when memory runs out and leaks no memory") {
    const Apartment apartment;
    long failures = 0;

    const long injected = sweepAllocationFailures(
        [&failures] {
            try {
                FormatXML4Spdsheet sheet;
                sheet.setTableSize(2, 2);
                sheet.addRow();
                sheet.addRow();
                sheet.addCell(L"=A", L"a");
                std::wstring text;
                sheet.exportToString(text);
            } catch (const _com_error& error) {
                if (error.Error() == E_OUTOFMEMORY) ++failures;
            } catch (const std::bad_alloc&) {
                ++failures;
            }
        },
        [](long) {});

    CHECK(injected > 20);
    CHECK(failures == injected + 1);
}

// Makes a private member accessible. Access checks do not apply to the template arguments of an
// explicit instantiation.
using AppendChild = bool (FormatXML4Spdsheet::*)(CComPtr<IXMLDOMElement>&, const ATL::CComBSTR&,
                                                 ATL::CComVariant&);
AppendChild privateAppendChild();
template <AppendChild Member>
struct Opened {
    friend AppendChild privateAppendChild() { return Member; }
};
template struct Opened<&FormatXML4Spdsheet::appendChildElementNode>;

TEST_CASE("appendChildElementNode appends an element with a typed value") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    const auto document = parsed(L"<Parent/>");
    CComPtr<IXMLDOMElement> parent;
    REQUIRE(document->get_documentElement(&parent) == S_OK);
    ATL::CComVariant value(42);

    CHECK((sheet.*privateAppendChild())(parent, ATL::CComBSTR(L"Child"), value));

    CHECK(outlineOf(*parent) == "Parent[Child['42']]");
}

TEST_CASE("appendChildElementNode fails if a call to the document fails") {
    const Apartment apartment;
    const auto document = parsed(L"<Parent/>");
    CComPtr<IXMLDOMElement> parent;
    REQUIRE(document->get_documentElement(&parent) == S_OK);
    ATL::CComVariant value(L"42");
    ObservedDom dom;

    for (const wchar_t* failing : {L"create", L"createNode Child", L"put_nodeTypedValue 42"}) {
        CAPTURE(std::wstring(failing));
        FormatXML4Spdsheet sheet;
        dom.setResult(failing, E_FAIL);
        CHECK_FALSE((sheet.*privateAppendChild())(parent, ATL::CComBSTR(L"Child"), value));
    }
    CHECK(outlineOf(*parent) == "Parent");
}

TEST_CASE("appendChildElementNode uses the existing document") {
    const Apartment apartment;
    const auto document = parsed(L"<Parent/>");
    CComPtr<IXMLDOMElement> parent;
    REQUIRE(document->get_documentElement(&parent) == S_OK);
    ATL::CComVariant value(42);
    ObservedDom dom;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.addRow());

    (sheet.*privateAppendChild())(parent, ATL::CComBSTR(L"Child"), value);

    CHECK(std::count(dom.calls.begin(), dom.calls.end(), L"create") == 1);
}

TEST_CASE("appendChildElementNode fails without a parent") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    CComPtr<IXMLDOMElement> parent;
    ATL::CComVariant value(42);

    CHECK_FALSE((sheet.*privateAppendChild())(parent, ATL::CComBSTR(L"Child"), value));
}

}  // namespace
