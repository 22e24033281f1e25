#include <doctest/doctest.h>
#include <windows.h>

#include <ole2.h>

#include <string>

#include "clipboard/CDataObject.h"
#include "formats/FormatXML4Spdsheet.h"
#include "tests/support/Apartment.h"
#include "tests/support/DataObjects.h"
#include "tests/support/ForeignDataObject.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/Workbooks.h"

namespace {

using namespace testsupport;

CLIPFORMAT format() { return static_cast<CLIPFORMAT>(FormatXML4Spdsheet::GetClipboardID()); }

TEST_CASE("The clipboard format of a workbook is registered as XML Spreadsheet") {
    CHECK(std::wstring(FormatXML4Spdsheet::GetClipboardName()) == L"XML Spreadsheet");
    CHECK(FormatXML4Spdsheet::GetClipboardID() == RegisterClipboardFormatW(L"XML Spreadsheet"));
}

int g_registrations = 0;

UINT WINAPI countedRegistration(const wchar_t*) {
    ++g_registrations;
    return 0xC0DE;
}

TEST_CASE("The identifier of a registered format is cached") {
    const unsigned int known = FormatXML4Spdsheet::GetClipboardID();
    g_registrations = 0;
    const ReplacedImport counted("RegisterClipboardFormatW", &countedRegistration);

    CHECK(FormatXML4Spdsheet::GetClipboardID() == known);

    CHECK(g_registrations == 0);
}

TEST_CASE("AcceptData accepts a workbook only in global memory") {
    const Apartment apartment;
    const auto empty = newDataObject();
    const auto block = newDataObject();
    REQUIRE(setBlock(*block, format(), "x") == S_OK);
    const auto stream = newDataObject();
    FORMATETC streamFormat = formatOf(format(), TYMED_ISTREAM);
    STGMEDIUM medium{};
    medium.tymed = TYMED_ISTREAM;
    REQUIRE(CreateStreamOnHGlobal(nullptr, TRUE, &medium.pstm) == S_OK);
    REQUIRE(stream->SetData(&streamFormat, &medium, TRUE) == S_OK);

    CHECK(FormatXML4Spdsheet::AcceptData(*empty) == DV_E_CLIPFORMAT);
    CHECK(FormatXML4Spdsheet::AcceptData(*block) == S_OK);
    CHECK(FormatXML4Spdsheet::AcceptData(*stream) == DV_E_CLIPFORMAT);
}

TEST_CASE("An exported workbook is accepted and imported with its formulas") {
    const Apartment apartment;
    const auto object = newDataObject();
    FormatXML4Spdsheet written;
    REQUIRE(written.addRow());
    REQUIRE(written.addCell(L"", L"\u00c4.X & <Co>"));
    REQUIRE(written.addCell(L"=QkGet(\"F&D\",RC[-1],\"LAST\")", L""));

    CHECK(FormatXML4Spdsheet::ExportData(*object, written) == S_OK);
    CHECK(FormatXML4Spdsheet::AcceptData(*object) == S_OK);
    FormatXML4Spdsheet read;
    CHECK(FormatXML4Spdsheet::ImportData(*object, read) == S_OK);

    REQUIRE(read.parseFormulas());
    REQUIRE(read.listOfFormulaArraysSize() == 1);
    const auto& records = read.listOfFormulaArraysGetAt(0)->records;
    REQUIRE(records.count({0, 1}) == 1);
    CHECK(records.at({0, 1}).sym == L"\u00c4.X & <Co>");
    CHECK(records.at({0, 1}).feed == L"F&D");
}

TEST_CASE("A workbook is exported as UTF-8 text that ends in NUL") {
    const Apartment apartment;
    const auto object = newDataObject();
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.addRow());
    REQUIRE(sheet.addCell(L"", L"\u00e4\u20ac"));

    REQUIRE(FormatXML4Spdsheet::ExportData(*object, sheet) == S_OK);

    const std::string bytes = blockOf(*object, format());
    CHECK(bytes.find("<?mso-application progid='Excel.Sheet'?>") != std::string::npos);
    CHECK(bytes.find("\xc3\xa4\xe2\x82\xac") != std::string::npos);
    CHECK(bytes.find('\0') == bytes.size() - 1);
}

TEST_CASE("Exporting a sheet without a document fails") {
    const Apartment apartment;
    const auto object = newDataObject();
    FormatXML4Spdsheet sheet;

    CHECK(FormatXML4Spdsheet::ExportData(*object, sheet) == E_FAIL);

    CHECK(CDataObject::GetDataCount(*object) == 0);
}

TEST_CASE("Exporting a workbook returns the error code from SetData") {
    const Apartment apartment;
    ForeignDataObject object;
    object.onSetData = [](const FORMATETC&, STGMEDIUM&, bool) { return STG_E_MEDIUMFULL; };
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.addRow());

    CHECK(FormatXML4Spdsheet::ExportData(object, sheet) == STG_E_MEDIUMFULL);
}

TEST_CASE("Importing text that is not a workbook fails") {
    const Apartment apartment;
    for (const char* const text : {"", "no markup", "<Book/>", "<Workbook/>"}) {
        const auto object = newDataObject();
        REQUIRE(CDataObject::SetTextData(*object, format(), text, -1) == S_OK);
        FormatXML4Spdsheet sheet;

        CHECK(FormatXML4Spdsheet::ImportData(*object, sheet) == E_FAIL);
    }
}

TEST_CASE(
    "Importing from a data object without a workbook fails, and the sheet can still be written") {
    const Apartment apartment;
    const auto object = newDataObject();
    FormatXML4Spdsheet sheet;

    CHECK(FormatXML4Spdsheet::ImportData(*object, sheet) == E_FAIL);

    CHECK(sheet.addRow());
}

TEST_CASE("Importing into a used sheet returns the result of its first operation") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, format(), narrow(book(L"")).c_str(), -1) == S_OK);
    FormatXML4Spdsheet written;
    REQUIRE(written.addRow());
    FormatXML4Spdsheet failed;
    REQUIRE_FALSE(failed.importFromString(L""));

    CHECK(FormatXML4Spdsheet::ImportData(*object, written) == S_OK);
    CHECK(FormatXML4Spdsheet::ImportData(*object, failed) == E_FAIL);

    CHECK_FALSE(written.parseFormulas());
}

TEST_CASE("An imported workbook can be exported again") {
    const Apartment apartment;
    const auto object = newDataObject();
    FormatXML4Spdsheet sheet;
    REQUIRE(sheet.importFromString(book(row(cell(L"A.X")))));

    CHECK(FormatXML4Spdsheet::ExportData(*object, sheet) == S_OK);

    FormatXML4Spdsheet again;
    REQUIRE(FormatXML4Spdsheet::ImportData(*object, again) == S_OK);
    CHECK(rowsOf(again) == "Row[Cell[Data['A.X']]]");
}

}  // namespace
