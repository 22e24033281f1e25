// Tests FormatObjectArchive and FormatObjectContext. The classes differ only in the name of the
// format.
#include <doctest/doctest.h>

#include <string>
#include <utility>
#include <vector>

#include "clipboard/CDataObject.h"
#include "formats/FormatObjectArchive.h"
#include "formats/FormatObjectContext.h"
#include "tests/support/Apartment.h"
#include "tests/support/DataObjects.h"
#include "tests/support/Documents.h"
#include "tests/support/ForeignDataObject.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ScriptedClass.h"

namespace {

using namespace testsupport;
using namespace OrvexClipboard;

struct Format {
    std::string name;
    unsigned (*getId)();
    HRESULT (*acceptData)(IDataObject&);
    HRESULT (*importData)(IDataObject&, IXMLDOMDocument2**);
    HRESULT (*importXml6Data)(IDataObject&, IXMLDOMDocument2**);
    HRESULT (*exportData)(IDataObject&, IXMLDOMDocument2&);

    CLIPFORMAT formatId() const { return static_cast<CLIPFORMAT>(getId()); }
};

template <class T>
Format formatFor(const char* name) {
    return {name,           &T::GetClipboardID, &T::AcceptData,
            &T::ImportData, &T::ImportXML6Data, &T::ExportData};
}

const Format kFormats[] = {formatFor<FormatObjectArchive>("archive"),
                           formatFor<FormatObjectContext>("context")};

TEST_CASE("The archive and context formats export a document as a stream") {
    const Apartment apartment;
    for (const Format& format : kFormats) {
        CAPTURE(format.name);
        const auto object = newDataObject();

        CHECK(format.exportData(*object, *parse(L"<a/>")) == S_OK);

        CHECK(listOf(*object) ==
              std::vector{std::pair(int{format.formatId()}, int{TYMED_ISTREAM})});
    }
}

TEST_CASE(
    "The archive and context formats import an exported document although AcceptData rejects it") {
    const Apartment apartment;
    for (const Format& format : kFormats) {
        CAPTURE(format.name);
        const auto object = newDataObject();
        REQUIRE(format.exportData(*object, *parse(L"<a>x</a>")) == S_OK);
        Document document, document6;

        CHECK(format.acceptData(*object) == DV_E_CLIPFORMAT);
        CHECK(format.importData(*object, &document) == S_OK);
        CHECK(format.importXml6Data(*object, &document6) == S_OK);

        CHECK(structureOf(document) == L"a{x}");
        CHECK(structureOf(document6) == L"a{x}");
        CHECK(selectionLanguageOf(*document) == L"XPath");
    }
}

TEST_CASE("The archive and context formats accept and import a block") {
    const Apartment apartment;
    for (const Format& format : kFormats) {
        CAPTURE(format.name);
        const auto object = newDataObject();
        REQUIRE(setBlock(*object, format.formatId(), "<a>x</a>") == S_OK);
        Document document;

        CHECK(format.acceptData(*object) == S_OK);
        CHECK(format.importData(*object, &document) == S_OK);

        CHECK(structureOf(document) == L"a{x}");
    }
}

TEST_CASE("The archive and context formats accept data if there is both a stream and a block") {
    const Apartment apartment;
    for (const Format& format : kFormats) {
        CAPTURE(format.name);
        const auto object = newDataObject();
        const Document document = parse(L"<a/>");
        REQUIRE(format.exportData(*object, *document) == S_OK);
        REQUIRE(CDataObject::SetXMLData(*object, format.formatId(), TYMED_HGLOBAL, *document) ==
                S_OK);

        CHECK(format.acceptData(*object) == S_OK);
    }
}

TEST_CASE("The archive and context formats do not read each other's data") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(kFormats[0].exportData(*object, *parse(L"<a/>")) == S_OK);
    Document document;

    CHECK(kFormats[1].importData(*object, &document) == DV_E_CLIPFORMAT);
}

TEST_CASE(
    "ImportData of archive and context creates MSXML 3.0 documents, ImportXML6Data MSXML 6.0 "
    "ones") {
    const Apartment apartment;
    const auto refusing = [](HRESULT hr) {
        return ScriptedClass::Create([hr](REFIID, void**) { return hr; });
    };
    const ScriptedClass class30(kDocument30, refusing(E_ACCESSDENIED));
    const ScriptedClass class60(kDocument60, refusing(E_ABORT));
    for (const Format& format : kFormats) {
        CAPTURE(format.name);
        const auto object = newDataObject();
        REQUIRE(setBlock(*object, format.formatId(), "<a/>") == S_OK);
        Document document;

        CHECK(format.importData(*object, &document) == E_ACCESSDENIED);
        CHECK(format.importXml6Data(*object, &document) == E_ABORT);
    }
}

TEST_CASE("The archive and context formats return the data object's result") {
    const Apartment apartment;
    ForeignDataObject object;
    object.onSetData = [](const FORMATETC&, STGMEDIUM&, bool) { return STG_E_MEDIUMFULL; };
    object.onGetData = [](const FORMATETC&, STGMEDIUM&) { return OLE_E_NOTRUNNING; };
    object.onQueryGetData = [](const FORMATETC&) { return S_FALSE; };
    for (const Format& format : kFormats) {
        CAPTURE(format.name);
        Document document;

        CHECK(format.exportData(object, *parse(L"<a/>")) == STG_E_MEDIUMFULL);
        CHECK(format.importData(object, &document) == OLE_E_NOTRUNNING);
        CHECK(format.importXml6Data(object, &document) == OLE_E_NOTRUNNING);
        CHECK(format.importData(object, nullptr) == E_POINTER);
        CHECK(format.importXml6Data(object, nullptr) == E_POINTER);
        CHECK(format.acceptData(object) == S_FALSE);
    }
}

}  // namespace
