// Tests the import of workbooks from text, from files, from MSXML documents and from documents of
// other implementations.
#include <doctest/doctest.h>
#include <windows.h>

#include <comdef.h>

#include <functional>
#include <new>
#include <string>
#include <vector>

#include "formats/FormatXML4Spdsheet.h"
#include "tests/formats/WorkbookReading.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Apartment.h"
#include "tests/support/ScriptedClass.h"
#include "tests/support/ScriptedDom.h"

namespace {

using namespace testsupport;
using ATL::CComPtr;

TEST_CASE("XML, a parsed document and a copy of the document result in the same requests") {
    const Apartment apartment;
    const std::wstring xml = book(row(cell(L"A.X", 3) + cell(L"a&amp;b")) +
                                  row(formulaCell(requestFormula(L"R[-1]C"), 3)) +
                                  row(formulaCell(requestFormula(L"R[-3]C[3]")), 4));
    const std::string expected = "[1,2 A.X FD LAST][3,0 a&b FD LAST]";
    const auto document = parsed(xml);
    const auto copy = newDocument();
    VARIANT source;
    source.vt = VT_UNKNOWN;
    source.punkVal = document;
    VARIANT_BOOL loaded = VARIANT_FALSE;
    REQUIRE(copy->load(source, &loaded) == S_OK);
    VARIANT language;
    const ATL::CComBSTR xpath(L"XPath");
    language.vt = VT_BSTR;
    language.bstrVal = xpath;
    REQUIRE(copy->setProperty(ATL::CComBSTR(L"SelectionLanguage"), language) == S_OK);

    CHECK(parsedArrays(row(cell(L"A.X", 3) + cell(L"a&amp;b")) +
                       row(formulaCell(requestFormula(L"R[-1]C"), 3)) +
                       row(formulaCell(requestFormula(L"R[-3]C[3]")), 4)) == expected);
    for (IXMLDOMDocument2* const each : {document.p, copy.p}) {
        FormatXML4Spdsheet sheet;
        REQUIRE(sheet.importFromXML(*each));
        REQUIRE(sheet.parseFormulas());
        CHECK(arraysOf(sheet) == expected);
    }
}

TEST_CASE("exportToXML and exportToString of a written workbook result in the same requests") {
    const Apartment apartment;
    FormatXML4Spdsheet written;
    REQUIRE(written.addRow());
    REQUIRE(written.addCell(L"", L"A.X & Co"));
    REQUIRE(written.addRow());
    REQUIRE(written.addRow());
    REQUIRE(written.addCell(L"=QkGet(\"FD\",R[-2]C,\"LAST\")", L""));
    CComPtr<IXMLDOMDocument2> document;
    REQUIRE(written.exportToXML(&document));
    std::wstring text;
    REQUIRE(written.exportToString(text));
    FormatXML4Spdsheet fromDocument;
    FormatXML4Spdsheet fromText;

    REQUIRE(fromDocument.importFromXML(*document));
    REQUIRE(fromDocument.parseFormulas());
    REQUIRE(fromText.importFromString(text));
    REQUIRE(fromText.parseFormulas());

    CHECK(arraysOf(fromDocument) == "[][2,0 A.X & Co FD LAST]");
    CHECK(arraysOf(fromText) == "[][2,0 A.X & Co FD LAST]");
}

TEST_CASE("A column gap in a written row is read as a column index") {
    const Apartment apartment;
    FormatXML4Spdsheet written;
    REQUIRE(written.addRow());
    for (const wchar_t* const value : {L"a", L"", L"", L"d"}) REQUIRE(written.addCell(L"", value));
    std::wstring text;
    REQUIRE(written.exportToString(text));
    REQUIRE(rowsOf(written) == "Row[Cell[Data['a']] Cell{ss:Index=3}[Data['d']]]");

    FormatXML4Spdsheet read;
    REQUIRE(read.importFromString(
        text.replace(text.find(L"</Row>"), 6, formulaCell(requestFormula(L"RC[-1]")) + L"</Row>")));
    REQUIRE(read.parseFormulas());

    CHECK(arraysOf(read) == "[0,3 d FD LAST]");
}

constexpr wchar_t kForeignWorkbook[] =
    LR"xml(<?xml version="1.0"?>
<?mso-application progid="Excel.Sheet"?>
<Workbook xmlns="urn:schemas-microsoft-com:office:spreadsheet"
 xmlns:o="urn:schemas-microsoft-com:office:office"
 xmlns:x="urn:schemas-microsoft-com:office:excel"
 xmlns:ss="urn:schemas-microsoft-com:office:spreadsheet"
 xmlns:html="http://www.w3.org/TR/REC-html40">
 <DocumentProperties xmlns="urn:schemas-microsoft-com:office:office">
  <Version>11.9999</Version>
 </DocumentProperties>
 <Styles>
  <Style ss:ID="s21"><NumberFormat ss:Format="Short Date"/></Style>
 </Styles>
 <Worksheet ss:Name="Quotes">
  <Table ss:ExpandedColumnCount="4" ss:ExpandedRowCount="5" x:FullColumns="1" x:FullRows="1">
   <Column ss:AutoFitWidth="0" ss:Width="84.75"/>
   <Row ss:Index="2" ss:AutoFitHeight="0">
    <Cell ss:StyleID="s21"><Data ss:Type="String">A.X</Data></Cell>
    <Cell ss:Index="3" ss:StyleID="s21"><Data ss:Type="String">LAST</Data></Cell>
    <Cell ss:StyleID="s21" ss:Formula="=QkGet(&quot;X:FD&quot;,RC[-3],RC[-1])"><Data
      ss:Type="Error">#NAME?</Data></Cell>
   </Row>
   <Row>
    <Cell><Data ss:Type="String">B.Y</Data></Cell>
    <Cell ss:Index="4" ss:Formula="=QData(RC[-3],R[-1]C[-1],&quot;FD&quot;)"/>
   </Row>
  </Table>
  <WorksheetOptions xmlns="urn:schemas-microsoft-com:office:excel"><Selected/></WorksheetOptions>
 </Worksheet>
 <Worksheet ss:Name="Sheet2"><Table/></Worksheet>
</Workbook>)xml";

TEST_CASE("A workbook with the other elements that spreadsheet programs write is read") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;

    REQUIRE(sheet.importFromString(kForeignWorkbook));
    REQUIRE(sheet.parseFormulas());

    CHECK(arraysOf(sheet) == "[][1,3 A.X FD LAST; 2,3 B.Y FD LAST]");
}

TEST_CASE("importFromXML copies the document of a workbook") {
    const Apartment apartment;
    const auto document = parsed(book(row(cell(L"before"))));
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromXML(*document));

    VARIANT_BOOL loaded = VARIANT_FALSE;
    REQUIRE(document->loadXML(ATL::CComBSTR(L"<Other/>"), &loaded) == S_OK);

    CHECK(rowsOf(sheet) == "Row[Cell[Data['before']]]");
}

// Makes a private member accessible. Access checks do not apply to the template arguments of an
// explicit instantiation.
using BeginImport = bool (FormatXML4Spdsheet::*)(const std::wstring&, const std::wstring&);
BeginImport privateBeginImport();
template <BeginImport Member>
struct Opened {
    friend BeginImport privateBeginImport() { return Member; }
};
template struct Opened<&FormatXML4Spdsheet::beginImport>;

// Creates a file with the given text, and deletes it at the end of the scope.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& text) {
        wchar_t folder[MAX_PATH];
        REQUIRE(GetTempPathW(MAX_PATH, folder) > 0);
        wchar_t path[MAX_PATH];
        REQUIRE(GetTempFileNameW(folder, L"wb", 0, path) != 0);
        m_path = path;
        const HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        REQUIRE(file != INVALID_HANDLE_VALUE);
        DWORD written = 0;
        WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
        CloseHandle(file);
        REQUIRE(written == text.size());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { DeleteFileW(m_path.c_str()); }

    const std::wstring& path() const { return m_path; }

private:
    std::wstring m_path;
};

TEST_CASE("beginImport reads a file and ignores the text argument") {
    const Apartment apartment;
    const TemporaryFile file(narrow(book(row(cell(L"from the file")))));
    FormatXML4Spdsheet sheet;

    CHECK((sheet.*privateBeginImport())(file.path(), book(row(cell(L"from the text")))));

    CHECK(rowsOf(sheet) == "Row[Cell[Data['from the file']]]");
}

using Settings = std::vector<std::string>;

// Calls `load` with a sheet whose document logs its settings and fails to load. Returns the
// settings that were made before the document's load function was called. The document has the
// ProhibitDTD and MaxElementDepth properties, and both limits are initially off.
template <class Load>
Settings settingsBy(Load&& load) {
    ScriptedDocument document;
    Settings settings, whenLoaded;
    document.onPutFlag = [&settings](const char* name, bool value) {
        settings.push_back(std::string(name) + (value ? " on" : " off"));
        return S_OK;
    };
    document.onGetProperty = [](const std::wstring&, VARIANT* value) {
        value->vt = VT_I4;
        value->lVal = 0;
        return S_OK;
    };
    document.onSetProperty = [&settings](const std::wstring& name, const VARIANT&) {
        settings.push_back(narrow(name));
        return S_OK;
    };
    document.onLoad = [&](const VARIANT&, VARIANT_BOOL*) {
        whenLoaded = settings;
        return E_FAIL;
    };
    document.onLoadXml = [&](const std::wstring&, VARIANT_BOOL*) {
        whenLoaded = settings;
        return E_FAIL;
    };
    const ScriptedClass scriptedClass(kDocument30, document);
    FormatXML4Spdsheet sheet;
    CHECK_FALSE(load(sheet));
    return whenLoaded;
}

TEST_CASE("A document gets its safe settings before it loads text, a file or another document") {
    const Apartment apartment;
    ScriptedDocument source;
    const Settings markup{"async off", "resolveExternals off", "validateOnParse off", "ProhibitDTD",
                          "MaxElementDepth"};

    CHECK(settingsBy([](FormatXML4Spdsheet& sheet) { return sheet.importFromString(book(L"")); }) ==
          markup);
    CHECK(settingsBy([](FormatXML4Spdsheet& sheet) {
              return (sheet.*privateBeginImport())(L"C:\\book.xml", L"");
          }) == markup);
    CHECK(settingsBy([&source](FormatXML4Spdsheet& sheet) {
              return sheet.importFromXML(source);
          }) == Settings{"async off", "resolveExternals off", "validateOnParse off"});
}

TEST_CASE("A copy from exportToXML gets the safe settings before it is loaded") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(L"")));

    CHECK(settingsBy([&sheet](FormatXML4Spdsheet&) {
              ATL::CComPtr<IXMLDOMDocument2> copy;
              return sheet.exportToXML(&copy);
          }) == Settings{"async off", "resolveExternals off", "validateOnParse off"});
}

TEST_CASE("A document whose Workbook, Worksheet, Table or rows cannot be queried is rejected") {
    const Apartment apartment;
    std::vector<std::wstring> queries;
    ScriptedDocument document;
    ScriptedNode workbook, worksheet, table;
    const auto holds = [&queries](IXMLDOMNode& child) {
        return [&queries, &child](const std::wstring& query, IXMLDOMNode** node) {
            queries.push_back(query);
            child.AddRef();
            *node = &child;
            return S_OK;
        };
    };
    document.onLoadXml = [](const std::wstring&, VARIANT_BOOL* successful) {
        *successful = VARIANT_TRUE;
        return S_OK;
    };
    const ScriptedClass scriptedClass(kDocument30, document);
    const auto imported = [&queries] {
        queries.clear();
        FormatXML4Spdsheet sheet;
        return sheet.importFromString(L"<Workbook/>");
    };

    CHECK_FALSE(imported());
    document.onSelectSingleNode = holds(workbook);
    CHECK_FALSE(imported());
    workbook.onSelectSingleNode = holds(worksheet);
    CHECK_FALSE(imported());
    worksheet.onSelectSingleNode = holds(table);
    CHECK_FALSE(imported());

    CHECK(queries == std::vector<std::wstring>{L"Workbook", L"Worksheet", L"Table"});
    CHECK(document.references() + workbook.references() + worksheet.references() +
              table.references() ==
          0);
}

// Replaces MSXML with another implementation, whose document is a workbook with one row. The first
// cell contains "A.X", and the second cell contains a formula that requests A.X.
struct ForeignWorkbook {
    ForeignWorkbook() {
        document.onLoadXml = [](const std::wstring&, VARIANT_BOOL* successful) {
            *successful = VARIANT_TRUE;
            return S_OK;
        };
        document.onSelectSingleNode = returnsObject(workbook);
        workbook.onSelectSingleNode = returnsObject(worksheet);
        worksheet.onSelectSingleNode = returnsObject(table);
        table.onSelectNodes = returnsObject(rows);
        rows.onGetLength = returnsValue(1L);
        rows.onNextNode = once(row);
        row.onGetFirstChild = returnsObject(textCell);
        isElement(textCell, L"Cell");
        textCell.onGetFirstChild = returnsObject(style);
        textCell.onGetNextSibling = returnsObject(formulaCell);
        isElement(style, L"Style");
        style.onGetNextSibling = returnsObject(data);
        isElement(data, L"Data");
        data.onGetText = returnsText(L"A.X");
        isElement(formulaCell, L"Cell");
        formulaCell.onGetAttributes = returnsObject(attributes);
        formulaCell.onGetFirstChild = returnsNothing(S_FALSE);
        formulaCell.onGetNextSibling = returnsNothing(S_FALSE);
        attributes.onNextNode = once(formula);
        formula.onGetNodeName = returnsText(L"ss:Formula");
        formula.onGetText = returnsText(requestFormula(L"RC[-1]"));
    }

    // Returns the requests that the formulas make, "refused" if the workbook cannot be imported, or
    // "not parsed" if parseFormulas() fails.
    std::string parsedArrays() {
        FormatXML4Spdsheet sheet;
        if (!sheet.importFromString(L"<Workbook/>")) return "refused";
        return sheet.parseFormulas() ? arraysOf(sheet) : "not parsed";
    }

    ScriptedDocument document;
    ScriptedNode workbook, worksheet, table, row, textCell, style, data, formulaCell, formula;
    ScriptedList rows;
    ScriptedAttributes attributes;
    ScriptedClass scriptedClass{kDocument30, document};

private:
    static void isElement(ScriptedNode& node, const std::wstring& name) {
        node.onGetNodeType = returnsValue(NODE_ELEMENT);
        node.onGetNodeName = returnsText(name);
    }
    // Returns a nextNode function for a list of one node. The calls alternately return the node and
    // report the end of the list.
    static std::function<HRESULT(IXMLDOMNode**)> once(ScriptedNode& node) {
        return [&node, isAtEnd = true](IXMLDOMNode** result) mutable {
            isAtEnd = !isAtEnd;
            return isAtEnd ? returnsNothing(S_FALSE)(result) : returnsObject(node)(result);
        };
    }
};

TEST_CASE("A workbook of another DOM implementation is read like an MSXML workbook") {
    const Apartment apartment;

    CHECK(ForeignWorkbook().parsedArrays() == "[0,1 A.X FD LAST]");
}

TEST_CASE("Attributes are enumerated from the start even if their map keeps its position") {
    const Apartment apartment;
    ForeignWorkbook book;
    bool isAtEnd = false;
    book.attributes.onNextNode = [&](IXMLDOMNode** result) {
        if (isAtEnd) return returnsNothing(S_FALSE)(result);
        isAtEnd = true;
        return returnsObject(book.formula)(result);
    };
    book.attributes.onReset = [&isAtEnd] {
        isAtEnd = false;
        return S_OK;
    };

    CHECK(book.parsedArrays() == "[0,1 A.X FD LAST]");
}

TEST_CASE("A failing call to another DOM implementation is treated as a missing part") {
    const Apartment apartment;
    const std::string noText = "[0,1  FD LAST]", nothing = "[]", refused = "refused";
    const struct {
        const char* label;
        std::function<void(ForeignWorkbook&)> injectFailure;
        const std::string& arrays;
    } rows[] = {
        {"the rows are none",
         [](ForeignWorkbook& book) { book.table.onSelectNodes = returnsNothing(S_OK); }, refused},
        {"the rows fail",
         [](ForeignWorkbook& book) { book.table.onSelectNodes = returnsNothing(E_FAIL); }, refused},
        {"the rows have no number", [](ForeignWorkbook& book) { book.rows.onGetLength = nullptr; },
         refused},
        {"the row is none",
         [](ForeignWorkbook& book) { book.rows.onNextNode = returnsNothing(S_OK); }, nothing},
        {"the cells fail",
         [](ForeignWorkbook& book) { book.row.onGetFirstChild = returnsNothing(E_FAIL); }, nothing},
        {"there are no cells",
         [](ForeignWorkbook& book) { book.row.onGetFirstChild = returnsNothing(S_OK); }, nothing},
        {"the next cell fails",
         [](ForeignWorkbook& book) { book.textCell.onGetNextSibling = returnsNothing(E_FAIL); },
         nothing},
        {"a cell has no type",
         [](ForeignWorkbook& book) { book.formulaCell.onGetNodeType = nullptr; }, nothing},
        {"a cell has no name",
         [](ForeignWorkbook& book) { book.formulaCell.onGetNodeName = nullptr; }, nothing},
        {"the node beside Data fails",
         [](ForeignWorkbook& book) { book.style.onGetNextSibling = returnsNothing(E_FAIL); },
         noText},
        {"the attributes cannot be reset",
         [](ForeignWorkbook& book) { book.attributes.onReset = [] { return E_FAIL; }; }, nothing},
        {"Data has no text", [](ForeignWorkbook& book) { book.data.onGetText = nullptr; }, noText},
    };
    for (const auto& row : rows) {
        CAPTURE(row.label);
        ForeignWorkbook book;
        row.injectFailure(book);

        CHECK(book.parsedArrays() == row.arrays);
    }
}

TEST_CASE("A document that fails to load is rejected, with or without an error code") {
    const Apartment apartment;
    ScriptedDocument document, source;
    document.onLoad = [](const VARIANT&, VARIANT_BOOL* successful) {
        *successful = VARIANT_FALSE;
        return S_OK;
    };
    document.onLoadXml = [](const std::wstring&, VARIANT_BOOL* successful) {
        *successful = VARIANT_FALSE;
        return S_OK;
    };
    const ScriptedClass scriptedClass(kDocument30, document);

    CHECK_FALSE(FormatXML4Spdsheet().importFromString(book(L"")));
    CHECK_FALSE(FormatXML4Spdsheet().importFromXML(source));
    document.onLoad = nullptr;
    CHECK_FALSE(FormatXML4Spdsheet().importFromXML(source));
}

// A document that implements only IXMLDOMDocument and therefore has no getProperty or setProperty
// method.
struct OldDocument : ScriptedDocument {
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (iid != kIXMLDOMDocument2) return ScriptedDocument::QueryInterface(iid, object);
        *object = nullptr;
        return E_NOINTERFACE;
    }
};

TEST_CASE("A document that does not support properties is still loaded") {
    const Apartment apartment;
    OldDocument document;
    std::wstring loaded;
    document.onLoadXml = [&loaded](const std::wstring& text, VARIANT_BOOL*) {
        loaded = text;
        return E_FAIL;
    };
    const ScriptedClass scriptedClass(kDocument30, document);

    CHECK_FALSE(FormatXML4Spdsheet().importFromString(L"<Workbook/>"));

    CHECK(loaded == L"<Workbook/>");
}

TEST_CASE("beginImport does not use the text if the file is missing") {
    const Apartment apartment;
    FormatXML4Spdsheet sheet;

    CHECK_FALSE((sheet.*privateBeginImport())(L"C:\\no such folder\\book.xml", book(L"")));
}

TEST_CASE("Reading a sheet throws when memory runs out and leaks no memory") {
    const Apartment apartment;
    const std::wstring xml = book(row(cell(L"A.X") + formulaCell(requestFormula(L"RC[-1]"))));
    long failures = 0;

    const long injected = sweepAllocationFailures(
        [&] {
            try {
                FormatXML4Spdsheet sheet;
                sheet.importFromString(xml);
                sheet.parseFormulas();
            } catch (const _com_error& error) {
                if (error.Error() == E_OUTOFMEMORY) ++failures;
            } catch (const std::bad_alloc&) {
                ++failures;
            }
        },
        [](long) {});

    CHECK(injected > 5);
    CHECK(failures == injected + 1);
}

}  // namespace
