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

CLIPFORMAT formatId() { return static_cast<CLIPFORMAT>(Format::GetClipboardID()); }

HRESULT exportText(IDataObject& object, const wchar_t* text) {
    const ATL::CComBSTR xml(text);
    return Format::ExportData(object, xml.m_str);
}

// Imports XML as a BSTR. Returns the result and the structure of the imported XML.
std::pair<HRESULT, std::wstring> importText(IDataObject& object) {
    ATL::CComBSTR xml;
    const HRESULT hr = Format::ImportData(object, &xml.m_str);
    return {hr, xml.m_str ? structureOf(parse(contentsOf(xml))) : L"null"};
}

TEST_CASE("FormatCCFPersistData accepts only streams and blocks") {
    const Apartment apartment;
    const auto stream = newDataObject(), block = newDataObject(), empty = newDataObject();
    REQUIRE(CDataObject::SetXMLData(*stream, formatId(), *parse(L"<a/>")) == S_OK);
    REQUIRE(setBlock(*block, formatId(), "<a/>") == S_OK);

    CHECK(Format::AcceptData(*stream) == S_OK);
    CHECK(Format::AcceptData(*block) == S_OK);
    CHECK(Format::AcceptData(*empty) == DV_E_CLIPFORMAT);
}

TEST_CASE("FormatCCFPersistData exports a document as a stream") {
    const Apartment apartment;
    const auto object = newDataObject();

    CHECK(Format::ExportData(*object, *parse(L"<a>x</a>")) == S_OK);

    CHECK(listOf(*object) == std::vector{std::pair(int{formatId()}, int{TYMED_ISTREAM})});
    CHECK(Format::AcceptData(*object) == S_OK);
}

TEST_CASE("FormatCCFPersistData imports an exported document into documents of both classes") {
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

TEST_CASE(
    "FormatCCFPersistData::ImportData creates MSXML 3.0 documents, ImportXML6Data MSXML 6.0 ones") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, formatId(), "<a/>") == S_OK);
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
    REQUIRE(setBlock(*object, formatId(), "<a>x</a>") == S_OK);

    CHECK(importText(*object) == std::pair(S_OK, std::wstring(L"a{x}")));
}

TEST_CASE("FormatCCFPersistData rejects null output pointers") {
    const auto object = newDataObject();

    CHECK(Format::ImportData(*object, static_cast<IXMLDOMDocument2**>(nullptr)) == E_POINTER);
    CHECK(Format::ImportXML6Data(*object, nullptr) == E_POINTER);
    CHECK(Format::ImportData(*object, static_cast<wchar_t**>(nullptr)) == E_POINTER);
}

TEST_CASE("FormatCCFPersistData clears the output if there is no data to import") {
    const Apartment apartment;
    const auto object = newDataObject();
    wchar_t garbage[] = L"garbage";
    wchar_t* xml = garbage;

    CHECK(Format::ImportData(*object, &xml) == DV_E_CLIPFORMAT);

    CHECK(xml == nullptr);
}

TEST_CASE("FormatCCFPersistData clears the output if the data is not well-formed") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, formatId(), "<a>") == S_OK);

    CHECK(importText(*object) == std::pair(E_FAIL, std::wstring(L"null")));
}

TEST_CASE("FormatCCFPersistData returns the error code from get_xml") {
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
    REQUIRE(setBlock(*object, formatId(), "<a/>") == S_OK);

    CHECK(importText(*object) == std::pair(E_ACCESSDENIED, std::wstring(L"null")));

    CHECK(document.references() == 0);
}

TEST_CASE("FormatCCFPersistData returns a success code of get_xml unchanged") {
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
    REQUIRE(setBlock(*object, formatId(), "<a/>") == S_OK);

    ATL::CComBSTR xml;

    CHECK(Format::ImportData(*object, &xml.m_str) == S_FALSE);

    CHECK(contentsOf(xml) == L"<a/>");
}

TEST_CASE("FormatCCFPersistData exports text as a stream") {
    const Apartment apartment;
    const auto object = newDataObject();

    CHECK(exportText(*object, L"<a>caf\u00E9</a>") == S_OK);

    CHECK(listOf(*object) == std::vector{std::pair(int{formatId()}, int{TYMED_ISTREAM})});
    CHECK(importText(*object) == std::pair(S_OK, std::wstring(L"a{caf\u00E9}")));
}

TEST_CASE("FormatCCFPersistData returns E_POINTER for a null or empty string") {
    const auto object = newDataObject();
    wchar_t literal[] = L"";

    CHECK(Format::ExportData(*object, static_cast<wchar_t*>(nullptr)) == E_POINTER);
    CHECK(exportText(*object, L"") == E_POINTER);
    CHECK(Format::ExportData(*object, literal) == E_POINTER);

    CHECK(CDataObject::GetDataCount(*object) == 0);
}

TEST_CASE("FormatCCFPersistData reads nothing before a string that is not a BSTR") {
    const Apartment apartment;
    const struct {
        unsigned lengthPrefix;
        wchar_t text[8];
    } literal = {0, L"<a/>"};
    const auto object = newDataObject();

    CHECK(Format::ExportData(*object, const_cast<wchar_t*>(literal.text)) == S_OK);
}

TEST_CASE("FormatCCFPersistData returns S_FALSE for text that is not XML and stores nothing") {
    const Apartment apartment;
    for (const wchar_t* const text : {L"no xml", L"<a>", L"<a/><b/>", L" "}) {
        CAPTURE(std::wstring(text));
        const auto object = newDataObject();

        CHECK(exportText(*object, text) == S_FALSE);

        CHECK(CDataObject::GetDataCount(*object) == 0);
    }
}

TEST_CASE("FormatCCFPersistData checks the HRESULT of loadXML and ignores its success flag") {
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

    CHECK(exportText(*object, L"<a/>") == E_ABORT);  // the result of QueryInterface
    result = S_FALSE;
    CHECK(exportText(*object, L"<a/>") == S_FALSE);
    result = E_ACCESSDENIED;
    CHECK(exportText(*object, L"<a/>") == E_ACCESSDENIED);

    CHECK(document.references() == 0);
}

TEST_CASE("FormatCCFPersistData looks up the document class by its ProgID") {
    static std::wstring queried;
    const ReplacedImport<HRESULT STDAPICALLTYPE(LPCOLESTR, LPCLSID)> replaced(
        "CLSIDFromProgID", [](LPCOLESTR name, LPCLSID) -> HRESULT {
            queried = name;
            return CO_E_CLASSSTRING;
        });

    CHECK(exportText(*newDataObject(), L"<a/>") == CO_E_CLASSSTRING);

    CHECK(queried == L"Msxml2.DOMDocument.3.0");
}

TEST_CASE("FormatCCFPersistData creates a document of the class that it looked up") {
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

TEST_CASE("FormatCCFPersistData throws E_FAIL if the class reports success without a document") {
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

TEST_CASE("FormatCCFPersistData returns the data object's result") {
    const Apartment apartment;
    ForeignDataObject object;
    object.onSetData = [](const FORMATETC&, STGMEDIUM&, bool) { return STG_E_MEDIUMFULL; };

    CHECK(exportText(object, L"<a/>") == STG_E_MEDIUMFULL);
    CHECK(Format::ExportData(object, *parse(L"<a/>")) == STG_E_MEDIUMFULL);
}

TEST_CASE("FormatCCFPersistData leaks nothing") {
    const Apartment apartment;

    CHECK(blocksLeftBy([] {
              const auto object = newDataObject();
              CHECK(exportText(*object, L"<a>x</a>") == S_OK);
              CHECK(exportText(*object, L"no xml") == S_FALSE);
              CHECK(importText(*object).first == S_OK);
          }) == 0);
}

}  // namespace
