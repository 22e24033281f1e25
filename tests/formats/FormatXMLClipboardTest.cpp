#include <comdef.h>

#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/formats/InstrumentDocument.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/DataObjects.h"
#include "tests/support/Documents.h"
#include "tests/support/ForeignDataObject.h"
#include "tests/support/ObservedDom.h"
#include "tests/support/ReplacedImport.h"

using OrvexClipboard::FormatXML;
using testsupport::Apartment;
using testsupport::blockOf;
using testsupport::Document;
using testsupport::ForeignDataObject;

namespace {

struct Exchange {
    Apartment apartment;
    ATL::CComPtr<IDataObject> data = testsupport::newDataObject();
    const CLIPFORMAT format = static_cast<CLIPFORMAT>(FormatXML::GetClipboardID());

    void store(const std::string& bytes) {
        REQUIRE(testsupport::setBlock(*data, format, bytes) == S_OK);
    }
};

void fill(FormatXML& document) {
    REQUIRE(document.putPortfolio(L"P", L"T"));
    REQUIRE(document.putInstrument(L"<R&D>", L"\u65e5\u672c", L"\U0001f600"));
    REQUIRE(document.putField(L"n", L"1", L"v"));
}

constexpr wchar_t kOther[] = L"<Other/>";

}  // namespace

static_assert(std::is_same_v<decltype(FormatXML::GetClipboardName()), const wchar_t*>);
static_assert(std::is_same_v<decltype(FormatXML::GetClipboardID()), unsigned int>);

TEST_CASE("The clipboard format is registered once under its name") {
    CHECK(std::wstring(FormatXML::GetClipboardName()) == L"DALVO_XML_FORMAT");
    CHECK(FormatXML::GetClipboardID() == ::RegisterClipboardFormatW(L"DALVO_XML_FORMAT"));
    CHECK(FormatXML::GetClipboardID() == FormatXML::GetClipboardID());
}

TEST_CASE_FIXTURE(Exchange, "FormatXML::AcceptData accepts only a global block") {
    CHECK(FormatXML::AcceptData(*data) == DV_E_CLIPFORMAT);
    const Document document = testsupport::parse(L"<TarloData/>");
    REQUIRE(CDataObject::SetXMLData(*data, format, *document) == S_OK);  // as a stream
    CHECK(FormatXML::AcceptData(*data) == DV_E_CLIPFORMAT);
    store("x");
    CHECK(FormatXML::AcceptData(*data) == S_OK);
}

TEST_CASE_FIXTURE(Exchange, "FormatXML::AcceptData returns the data object's result") {
    ForeignDataObject foreign;
    foreign.onQueryGetData = [this](const FORMATETC& queried) {
        return queried.cfFormat == format && queried.tymed == TYMED_HGLOBAL ? S_FALSE : E_FAIL;
    };
    CHECK(FormatXML::AcceptData(foreign) == S_FALSE);
}

TEST_CASE_FIXTURE(Exchange, "FormatXML imports an exported document") {
    FormatXML written, read;
    fill(written);
    CHECK(FormatXML::ExportData(*data, written) == S_OK);
    CHECK(FormatXML::ImportData(*data, read) == S_OK);
    CHECK(shown(read) == shown(written));
    std::wstring text;
    REQUIRE(read.getInstrument() == 1);
    CHECK(read.getInstrument_ItemCode(text));
    CHECK(text == L"<R&D>");
}

TEST_CASE_FIXTURE(Exchange,
                  "FormatXML::ExportData stores one global block of UTF-8 that ends in NUL") {
    FormatXML written;
    REQUIRE(written.putPortfolio(L"\u00e9", L"T"));
    REQUIRE(FormatXML::ExportData(*data, written) == S_OK);
    CHECK(testsupport::listOf(*data) == std::vector<std::pair<int, int>>{{format, TYMED_HGLOBAL}});
    const std::string block = blockOf(*data, format);
    CHECK(block.find('\0') == block.size() - 1);
    CHECK(block.find("\xc3\xa9") != block.npos);
}

TEST_CASE_FIXTURE(Exchange, "FormatXML::ExportData fails for a new object and stores nothing") {
    FormatXML fresh, failed;
    REQUIRE_FALSE(failed.importFromString(kOther));
    CHECK(FormatXML::ExportData(*data, fresh) == E_FAIL);
    CHECK(FormatXML::ExportData(*data, failed) == E_FAIL);
    CHECK(CDataObject::GetDataCount(*data) == 0);
}

TEST_CASE_FIXTURE(Exchange, "FormatXML::ExportData returns the result of SetData") {
    FormatXML written;
    fill(written);
    ForeignDataObject foreign;
    HRESULT answer = DV_E_TYMED;
    foreign.onSetData = [&](const FORMATETC&, STGMEDIUM& medium, bool release) {
        if (SUCCEEDED(answer) && release) ::ReleaseStgMedium(&medium);
        return answer;
    };
    const Document document = testsupport::parse(L"<TarloData/>");
    std::wstring xml = L"<TarloData/>";
    CHECK(FormatXML::ExportData(foreign, written) == DV_E_TYMED);
    CHECK(FormatXML::ExportData(foreign, *document) == DV_E_TYMED);
    CHECK(FormatXML::ExportData(foreign, xml.data()) == DV_E_TYMED);
    answer = S_FALSE;
    CHECK(FormatXML::ExportData(foreign, written) == S_FALSE);
    CHECK(FormatXML::ExportData(foreign, xml.data()) == S_FALSE);
}

TEST_CASE_FIXTURE(Exchange,
                  "FormatXML::ExportData fails when the copy of the document cannot be created") {
    testsupport::ObservedDom dom;
    {
        FormatXML written;
        fill(written);
        dom.setResult(L"load", E_ACCESSDENIED);
        CHECK(FormatXML::ExportData(*data, written) == E_FAIL);
    }
    CHECK(dom.objects == 0);
    CHECK(CDataObject::GetDataCount(*data) == 0);
}

TEST_CASE_FIXTURE(
    Exchange,
    "FormatXML::ImportData fails for missing or malformed data, and the object can still import") {
    FormatXML read;
    CHECK(FormatXML::ImportData(*data, read) == E_FAIL);
    store("no xml");
    CHECK(FormatXML::ImportData(*data, read) == E_FAIL);
    store("<TarloData/>");
    CHECK(FormatXML::ImportData(*data, read) == S_OK);
}

TEST_CASE_FIXTURE(Exchange,
                  "FormatXML::ImportData returns E_FAIL for every error code of the data object") {
    ForeignDataObject foreign;
    foreign.onGetData = [](const FORMATETC&, STGMEDIUM&) { return E_OUTOFMEMORY; };
    FormatXML read;
    CHECK(FormatXML::ImportData(foreign, read) == E_FAIL);
}

TEST_CASE_FIXTURE(
    Exchange,
    "FormatXML::ImportData with another root element fails and makes the object unusable") {
    store("<Other/>");
    FormatXML read;
    CHECK(FormatXML::ImportData(*data, read) == E_FAIL);
    store("<TarloData/>");
    CHECK(FormatXML::ImportData(*data, read) == E_FAIL);
}

TEST_CASE_FIXTURE(
    Exchange, "FormatXML::ImportData into a written document returns S_OK and imports nothing") {
    store("<TarloData><Extra/></TarloData>");
    FormatXML written;
    REQUIRE(written.putPortfolio(L"P", L"T"));
    const std::wstring before = shown(written);
    CHECK(FormatXML::ImportData(*data, written) == S_OK);
    CHECK(shown(written) == before);
}

TEST_CASE_FIXTURE(Exchange, "FormatXML::ImportData releases every document that it created") {
    store("<TarloData><Instruments><Instrument/></Instruments></TarloData>");
    testsupport::ObservedDom dom;
    {
        FormatXML read;
        CHECK(FormatXML::ImportData(*data, read) == S_OK);
        CHECK(read.getInstrument() == 1);
    }
    CHECK(dom.objects == 0);
}

TEST_CASE_FIXTURE(
    Exchange,
    "FormatXML::ImportData reads a block without a NUL and a block with bytes after its NUL") {
    FormatXML first, second;
    store("<TarloData></TarloData>");
    CHECK(FormatXML::ImportData(*data, first) == S_OK);
    store(std::string("<TarloData></TarloData>\0\0\0\0", 27));
    CHECK(FormatXML::ImportData(*data, second) == S_OK);
}

TEST_CASE_FIXTURE(Exchange, "FormatXML exports and imports a document object unchanged") {
    const Document given = testsupport::parse(L"<Other>\u65e5<b/>&amp;</Other>");
    CHECK(FormatXML::ExportData(*data, *given) == S_OK);
    IXMLDOMDocument2* received = nullptr;
    CHECK(FormatXML::ImportData(*data, &received) == S_OK);
    REQUIRE(received);
    CHECK(testsupport::structureOf(received) == testsupport::structureOf(given));
    CHECK(received->Release() == 0);
}

TEST_CASE_FIXTURE(
    Exchange,
    "FormatXML::ImportData into a document returns the error code and clears the output") {
    CHECK(FormatXML::ImportData(*data, static_cast<IXMLDOMDocument2**>(nullptr)) == E_POINTER);
    IXMLDOMDocument2* received = reinterpret_cast<IXMLDOMDocument2*>(this);
    CHECK(FormatXML::ImportData(*data, &received) == DV_E_CLIPFORMAT);
    CHECK(received == nullptr);
    store("no xml");
    received = reinterpret_cast<IXMLDOMDocument2*>(this);
    CHECK(FormatXML::ImportData(*data, &received) == E_FAIL);
    CHECK(received == nullptr);
}

TEST_CASE_FIXTURE(Exchange,
                  "FormatXML::ExportData stores text as UTF-8 up to its NUL without parsing it") {
    std::wstring text = L"<not xml \u00e9\u65e5\U0001f600";
    text.push_back(L'\0');
    text += L"more";
    CHECK(FormatXML::ExportData(*data, text.data()) == S_OK);
    using namespace std::string_literals;
    CHECK(blockOf(*data, format) == "<not xml \xc3\xa9\xe6\x97\xa5\xf0\x9f\x98\x80\0"s);
}

TEST_CASE_FIXTURE(Exchange, "FormatXML::ExportData stores a single NUL for an empty string") {
    std::wstring text;
    CHECK(FormatXML::ExportData(*data, text.data()) == S_OK);
    CHECK(blockOf(*data, format) == std::string(1, '\0'));
}

TEST_CASE_FIXTURE(Exchange, "FormatXML::ExportData returns E_POINTER for a null string") {
    CHECK(FormatXML::ExportData(*data, static_cast<wchar_t*>(nullptr)) == E_POINTER);
    CHECK(CDataObject::GetDataCount(*data) == 0);
}

TEST_CASE_FIXTURE(Exchange, "FormatXML imports exported text that is an XML document") {
    std::wstring text =
        L"<TarloData><Portfolios><Portfolio><PortfolioId>\u00e9</PortfolioId></Portfolio>"
        L"</Portfolios></TarloData>";
    REQUIRE(FormatXML::ExportData(*data, text.data()) == S_OK);
    FormatXML read;
    REQUIRE(FormatXML::ImportData(*data, read) == S_OK);
    REQUIRE(read.getPortfolio() == 1);
    CHECK(read.getPortfolio_PortfolioId(text));
    CHECK(text == L"\u00e9");
}

TEST_CASE_FIXTURE(
    Exchange,
    "FormatXML::ExportData fails and stores nothing if the system cannot convert the text") {
    const testsupport::ReplacedImport<decltype(::WideCharToMultiByte)> refusal(
        "WideCharToMultiByte",
        +[](UINT, DWORD, const wchar_t*, int, char*, int, const char*, BOOL*) { return 0; });
    wchar_t xml[] = L"<a>\xD800</a>";

    CHECK(FormatXML::ExportData(*data, xml) == E_FAIL);

    CHECK(FormatXML::AcceptData(*data) == DV_E_CLIPFORMAT);
}

TEST_CASE_FIXTURE(
    Exchange,
    "Exporting or importing with FormatXML reports a failure whenever an allocation fails") {
    FormatXML written;
    fill(written);
    std::wstring xml = L"<TarloData><Portfolios/></TarloData>";
    bool complete = false;
    const auto exchange = [&] {
        try {
            const auto target = testsupport::newDataObject();
            FormatXML first, second;
            complete = target && FormatXML::ExportData(*target, written) == S_OK &&
                       FormatXML::ImportData(*target, first) == S_OK &&
                       FormatXML::ExportData(*target, xml.data()) == S_OK &&
                       FormatXML::ImportData(*target, second) == S_OK;
        } catch (const std::bad_alloc&) {
            complete = false;
        } catch (const _com_error& error) {
            complete = false;
            CHECK(error.Error() == E_OUTOFMEMORY);
        }
    };
    const long failures =
        testsupport::sweepAllocationFailures(exchange, [&](long) { CHECK_FALSE(complete); });
    CHECK(complete);
    CHECK(failures > 10);
}
