#include "formats/FormatCCFPersistData.h"

#include <comdef.h>
#include <doctest/doctest.h>

#include <string>
#include <utility>

#include "clipboard/CDataObject.h"
#include "tests/support/Apartment.h"
#include "tests/support/DataObjects.h"
#include "tests/support/Documents.h"
#include "tests/support/ForeignDataObject.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/ScriptedClass.h"

namespace {

using namespace testsupport;
using Format = OrvexClipboard::FormatCCFPersistData;

CLIPFORMAT number() { return static_cast<CLIPFORMAT>(Format::GetClipboardID()); }

HRESULT exportText(IDataObject& object, const wchar_t* text) {
    const ATL::CComBSTR xml(text);
    return Format::ExportData(object, xml.m_str);
}

// The structure of the text that is imported, which must be a BSTR.
std::pair<HRESULT, std::wstring> importText(IDataObject& object) {
    ATL::CComBSTR xml;
    const HRESULT hr = Format::ImportData(object, &xml.m_str);
    return {hr, xml.m_str ? structureOf(parse(contentsOf(xml))) : L"null"};
}

TEST_CASE("FormatCCFPersistData accepts streams and blocks and nothing else") {
    const Apartment apartment;
    const auto stream = newDataObject(), block = newDataObject(), empty = newDataObject();
    REQUIRE(CDataObject::SetXMLData(*stream, number(), *parse(L"<a/>")) == S_OK);
    REQUIRE(setBlock(*block, number(), "<a/>") == S_OK);

    CHECK(Format::AcceptData(*stream) == S_OK);
    CHECK(Format::AcceptData(*block) == S_OK);
    CHECK(Format::AcceptData(*empty) == DV_E_CLIPFORMAT);
}

TEST_CASE("FormatCCFPersistData exports a document as a stream") {
    const Apartment apartment;
    const auto object = newDataObject();

    CHECK(Format::ExportData(*object, *parse(L"<a>x</a>")) == S_OK);

    CHECK(listOf(*object) == std::vector{std::pair(int{number()}, int{TYMED_ISTREAM})});
    CHECK(Format::AcceptData(*object) == S_OK);
}

TEST_CASE("FormatCCFPersistData imports what it exported into documents of both classes") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(Format::ExportData(*object, *parse(L"<a>x<b/></a>")) == S_OK);
    Document document, document6;

    CHECK(Format::ImportData(*object, &document) == S_OK);
    CHECK(Format::ImportXML6Data(*object, &document6) == S_OK);

    CHECK(structureOf(document) == L"a{xb{}}");
    CHECK(structureOf(document6) == L"a{xb{}}");
    CHECK(selectionLanguageOf(*document) == L"XPath");
}

TEST_CASE("FormatCCFPersistData creates documents of the class that is imported into") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, number(), "<a/>") == S_OK);
    const auto refusing = [](HRESULT hr) {
        return ScriptedClass::Create([hr](REFIID, void**) { return hr; });
    };
    const ScriptedClass class30(kDocument30, refusing(E_ACCESSDENIED));
    const ScriptedClass class60(kDocument60, refusing(E_ABORT));
    Document document;

    CHECK(Format::ImportData(*object, &document) == E_ACCESSDENIED);
    CHECK(Format::ImportXML6Data(*object, &document) == E_ABORT);
    CHECK(importText(*object).first == E_ACCESSDENIED);
}

TEST_CASE("FormatCCFPersistData imports from a block") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, number(), "<a>x</a>") == S_OK);

    CHECK(importText(*object) == std::pair(S_OK, std::wstring(L"a{x}")));
}

TEST_CASE("FormatCCFPersistData refuses null out pointers") {
    const auto object = newDataObject();

    CHECK(Format::ImportData(*object, static_cast<IXMLDOMDocument2**>(nullptr)) == E_POINTER);
    CHECK(Format::ImportXML6Data(*object, nullptr) == E_POINTER);
    CHECK(Format::ImportData(*object, static_cast<wchar_t**>(nullptr)) == E_POINTER);
}

TEST_CASE("FormatCCFPersistData gives out null where there is nothing to import") {
    const Apartment apartment;
    const auto object = newDataObject();
    wchar_t garbage[] = L"garbage";
    wchar_t* xml = garbage;

    CHECK(Format::ImportData(*object, &xml) == DV_E_CLIPFORMAT);

    CHECK(xml == nullptr);
}

TEST_CASE("FormatCCFPersistData gives out null for what is not well-formed") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, number(), "<a>") == S_OK);

    CHECK(importText(*object) == std::pair(E_FAIL, std::wstring(L"null")));
}

TEST_CASE("FormatCCFPersistData passes on why a document gives no text") {
    const Apartment apartment;
    ScriptedDocument document;
    document.onLoad = [](const VARIANT&, VARIANT_BOOL* successful) {
        *successful = VARIANT_TRUE;
        return S_OK;
    };
    document.onGetXml = [](BSTR* xml) {
        *xml = nullptr;
        return E_ACCESSDENIED;
    };
    const ScriptedClass scripted(kDocument30, document);
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, number(), "<a/>") == S_OK);

    CHECK(importText(*object) == std::pair(E_ACCESSDENIED, std::wstring(L"null")));

    CHECK(document.references() == 0);
}

TEST_CASE("FormatCCFPersistData answers what the text of a document answers") {
    const Apartment apartment;
    ScriptedDocument document;
    document.onLoad = [](const VARIANT&, VARIANT_BOOL* successful) {
        *successful = VARIANT_TRUE;
        return S_OK;
    };
    document.onGetXml = [](BSTR* xml) {
        *xml = SysAllocString(L"<a/>");
        return S_FALSE;
    };
    const ScriptedClass scripted(kDocument30, document);
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, number(), "<a/>") == S_OK);

    ATL::CComBSTR xml;

    CHECK(Format::ImportData(*object, &xml.m_str) == S_FALSE);

    CHECK(contentsOf(xml) == L"<a/>");
}

TEST_CASE("FormatCCFPersistData exports text as a stream") {
    const Apartment apartment;
    const auto object = newDataObject();

    CHECK(exportText(*object, L"<a>caf\u00E9</a>") == S_OK);

    CHECK(listOf(*object) == std::vector{std::pair(int{number()}, int{TYMED_ISTREAM})});
    CHECK(importText(*object) == std::pair(S_OK, std::wstring(L"a{caf\u00E9}")));
}

TEST_CASE("FormatCCFPersistData exports no empty text") {
    const auto object = newDataObject();
    wchar_t literal[] = L"";

    CHECK(Format::ExportData(*object, static_cast<wchar_t*>(nullptr)) == E_POINTER);
    CHECK(exportText(*object, L"") == E_POINTER);
    CHECK(Format::ExportData(*object, literal) == E_POINTER);

    CHECK(CDataObject::GetDataCount(*object) == 0);
}

TEST_CASE("FormatCCFPersistData reads nothing in front of a text that is no BSTR") {
    const Apartment apartment;
    const struct {
        unsigned whatALengthWouldBe;
        wchar_t text[8];
    } literal = {0, L"<a/>"};
    const auto object = newDataObject();

    CHECK(Format::ExportData(*object, const_cast<wchar_t*>(literal.text)) == S_OK);
}

TEST_CASE("FormatCCFPersistData answers S_FALSE for text that is no XML and stores nothing") {
    const Apartment apartment;
    for (const wchar_t* const text : {L"no xml", L"<a>", L"<a/><b/>", L" "}) {
        CAPTURE(std::wstring(text));
        const auto object = newDataObject();

        CHECK(exportText(*object, text) == S_FALSE);

        CHECK(CDataObject::GetDataCount(*object) == 0);
    }
}

TEST_CASE("FormatCCFPersistData goes by what loadXML returns and not by its flag") {
    const Apartment apartment;
    ScriptedDocument document;
    HRESULT result = S_OK;
    document.onLoadXml = [&result](const std::wstring&, VARIANT_BOOL* successful) {
        *successful = result == S_OK ? VARIANT_FALSE : VARIANT_TRUE;
        return result;
    };
    document.onQueryInterface = [](REFIID, void**) { return E_ABORT; };
    const ScriptedClass scripted(kDocument30, document);
    const auto object = newDataObject();

    CHECK(exportText(*object, L"<a/>") == E_ABORT);  // asked for its stream
    result = S_FALSE;
    CHECK(exportText(*object, L"<a/>") == S_FALSE);
    result = E_ACCESSDENIED;
    CHECK(exportText(*object, L"<a/>") == E_ACCESSDENIED);

    CHECK(document.references() == 0);
}

TEST_CASE("FormatCCFPersistData looks up the class of its documents by name") {
    static std::wstring asked;
    const ReplacedImport<HRESULT STDAPICALLTYPE(LPCOLESTR, LPCLSID)> replaced(
        "CLSIDFromProgID", [](LPCOLESTR name, LPCLSID) -> HRESULT {
            asked = name;
            return CO_E_CLASSSTRING;
        });

    CHECK(exportText(*newDataObject(), L"<a/>") == CO_E_CLASSSTRING);

    CHECK(asked == L"Msxml2.DOMDocument.3.0");
}

TEST_CASE("FormatCCFPersistData creates the document of the class that was looked up") {
    static CLSID created;
    static DWORD context;
    static constexpr CLSID kLookedUp = {0x12345678, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};
    const ReplacedImport<HRESULT STDAPICALLTYPE(LPCOLESTR, LPCLSID)> lookup(
        "CLSIDFromProgID", [](LPCOLESTR, LPCLSID documentClass) -> HRESULT {
            *documentClass = kLookedUp;
            return S_OK;
        });
    const ReplacedImport<HRESULT STDAPICALLTYPE(REFCLSID, IUnknown*, DWORD, REFIID, void**)> create(
        "CoCreateInstance",
        [](REFCLSID documentClass, IUnknown*, DWORD where, REFIID, void** object) -> HRESULT {
            created = documentClass;
            context = where;
            *object = nullptr;
            return REGDB_E_CLASSNOTREG;
        });

    CHECK(exportText(*newDataObject(), L"<a/>") == REGDB_E_CLASSNOTREG);

    CHECK(created == kLookedUp);
    CHECK(context == CLSCTX_ALL);
}

TEST_CASE("FormatCCFPersistData raises E_FAIL for a creation that succeeds without a document") {
    const Apartment apartment;
    const ReplacedImport<HRESULT STDAPICALLTYPE(REFCLSID, IUnknown*, DWORD, REFIID, void**)> create(
        "CoCreateInstance", [](REFCLSID, IUnknown*, DWORD, REFIID, void** object) -> HRESULT {
            *object = nullptr;
            return S_OK;
        });
    HRESULT raised = S_OK;

    try {
        exportText(*newDataObject(), L"<a/>");
    } catch (const _com_error& error) {
        raised = error.Error();
    }

    CHECK(raised == E_FAIL);
}

TEST_CASE("FormatCCFPersistData answers what the data object answered") {
    const Apartment apartment;
    ForeignDataObject object;
    object.onSetData = [](const FORMATETC&, STGMEDIUM&, bool) { return STG_E_MEDIUMFULL; };

    CHECK(exportText(object, L"<a/>") == STG_E_MEDIUMFULL);
    CHECK(Format::ExportData(object, *parse(L"<a/>")) == STG_E_MEDIUMFULL);
}

TEST_CASE("FormatCCFPersistData leaves nothing behind") {
    const Apartment apartment;

    CHECK(blocksLeftBy([] {
              const auto object = newDataObject();
              CHECK(exportText(*object, L"<a>x</a>") == S_OK);
              CHECK(exportText(*object, L"no xml") == S_FALSE);
              CHECK(importText(*object).first == S_OK);
          }) == 0);
}

}  // namespace
