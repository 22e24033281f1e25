#include "formats/FormatSymFid.h"

#include <memory>
#include <string>
#include <type_traits>

#include "tests/formats/InstrumentDocument.h"
#include "tests/support/DataObjects.h"
#include "tests/support/ForeignDataObject.h"

using OrvexClipboard::FormatSymFid;
using OrvexClipboard::FormatXML;
using testsupport::Apartment;

namespace {

struct Selection {
    Apartment apartment;
    ATL::CComPtr<IDataObject> data = testsupport::newDataObject();
    FormatSymFid selection;

    void fill() {
        REQUIRE(selection.putInstrument(L"ABC.DE", L"K", L"FEED"));
        REQUIRE(selection.putField(L"Last", L"6", L""));
        REQUIRE(selection.putField(L"Bid", L"22", L""));
    }
    void store(const std::string& bytes) {
        REQUIRE(testsupport::setBlock(
                    *data, static_cast<CLIPFORMAT>(FormatSymFid::GetClipboardID()), bytes) == S_OK);
    }
};

}  // namespace

static_assert(std::is_same_v<decltype(&FormatSymFid::GetClipboardName), const wchar_t* (*)()>);
static_assert(std::is_same_v<decltype(&FormatSymFid::GetClipboardID), unsigned int (*)()>);
static_assert(
    std::is_same_v<decltype(&FormatSymFid::ImportData), HRESULT (*)(IDataObject&, FormatXML&)>);
static_assert(
    std::is_same_v<decltype(&FormatSymFid::ExportData), HRESULT (*)(IDataObject&, FormatXML&)>);
static_assert(std::is_base_of_v<FormatXML, FormatSymFid>);
static_assert(std::has_virtual_destructor_v<FormatSymFid>);
static_assert(sizeof(FormatSymFid) == sizeof(FormatXML));

TEST_CASE("FormatSymFid has its own clipboard format") {
    CHECK(std::wstring(FormatSymFid::GetClipboardName()) == L"DALVO_SYMFID_FORMAT");
    CHECK(FormatSymFid::GetClipboardID() == ::RegisterClipboardFormatW(L"DALVO_SYMFID_FORMAT"));
    CHECK(FormatSymFid::GetClipboardID() == FormatSymFid::GetClipboardID());
    CHECK(FormatSymFid::GetClipboardID() != FormatXML::GetClipboardID());
}

TEST_CASE_FIXTURE(Selection,
                  "A selection is exported and imported with its instruments and fields") {
    fill();
    REQUIRE(FormatSymFid::ExportData(*data, selection) == S_OK);
    FormatSymFid read;
    REQUIRE(FormatSymFid::ImportData(*data, read) == S_OK);
    CHECK(shown(read) == shown(selection));
    std::wstring walked, text;
    while (read.getInstrument()) {
        REQUIRE(read.getInstrument_ItemCode(text));
        walked += text;
        while (read.getField()) {
            REQUIRE(read.getField_FID(text));
            walked += L" " + text;
        }
    }
    CHECK(walked == L"ABC.DE 6 22");
}

TEST_CASE_FIXTURE(Selection, "FormatSymFid::ExportData stores one global block in its own format") {
    fill();
    REQUIRE(FormatSymFid::ExportData(*data, selection) == S_OK);
    CHECK(testsupport::listOf(*data) ==
          std::vector<std::pair<int, int>>{
              {static_cast<int>(FormatSymFid::GetClipboardID()), TYMED_HGLOBAL}});
}

TEST_CASE_FIXTURE(Selection, "FormatSymFid exports any instrument document") {
    FormatXML written, read;
    REQUIRE(written.putPortfolio(L"P", L"T"));
    REQUIRE(FormatSymFid::ExportData(*data, written) == S_OK);
    CHECK(FormatSymFid::ImportData(*data, read) == S_OK);
    CHECK(shown(read) == shown(written));
}

TEST_CASE_FIXTURE(Selection, "FormatSymFid and FormatXML do not read each other's format") {
    fill();
    FormatXML plain;
    FormatSymFid read;
    REQUIRE(FormatXML::ExportData(*data, selection) == S_OK);
    CHECK(FormatSymFid::ImportData(*data, read) == E_FAIL);

    const auto other = testsupport::newDataObject();
    REQUIRE(FormatSymFid::ExportData(*other, selection) == S_OK);
    CHECK(FormatXML::ImportData(*other, plain) == E_FAIL);
}

TEST_CASE_FIXTURE(Selection, "FormatSymFid::AcceptData queries the format of FormatXML") {
    fill();
    REQUIRE(FormatSymFid::ExportData(*data, selection) == S_OK);
    CHECK(FormatSymFid::AcceptData(*data) == DV_E_CLIPFORMAT);
    REQUIRE(FormatXML::ExportData(*data, selection) == S_OK);
    CHECK(FormatSymFid::AcceptData(*data) == S_OK);
}

TEST_CASE_FIXTURE(Selection, "FormatSymFid::ExportData fails for a new object and stores nothing") {
    CHECK(FormatSymFid::ExportData(*data, selection) == E_FAIL);
    CHECK(CDataObject::GetDataCount(*data) == 0);
}

TEST_CASE_FIXTURE(Selection, "FormatSymFid::ExportData returns the result of SetData") {
    fill();
    testsupport::ForeignDataObject foreign;
    foreign.onSetData = [](const FORMATETC&, STGMEDIUM&, bool) { return DV_E_TYMED; };
    CHECK(FormatSymFid::ExportData(foreign, selection) == DV_E_TYMED);
}

TEST_CASE_FIXTURE(
    Selection,
    "FormatSymFid::ImportData fails for missing and malformed text and for another root element") {
    CHECK(FormatSymFid::ImportData(*data, selection) == E_FAIL);
    store("no xml");
    CHECK(FormatSymFid::ImportData(*data, selection) == E_FAIL);
    store("<Other/>");
    CHECK(FormatSymFid::ImportData(*data, selection) == E_FAIL);
    // After the failed import of <Other/>, each later import into this object also fails.
    store("<TarloData/>");
    CHECK(FormatSymFid::ImportData(*data, selection) == E_FAIL);
}

TEST_CASE_FIXTURE(Selection, "A FormatSymFid object can be deleted through its base class") {
    std::unique_ptr<FormatXML> base = std::make_unique<FormatSymFid>();
    CHECK(base->putPortfolio(L"P", L"T"));
}
