#include <comdef.h>

#include <new>
#include <string>
#include <vector>

#include "tests/formats/InstrumentReading.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/ObservedDom.h"
#include "tests/support/ScriptedClass.h"
#include "tests/support/ScriptedDom.h"

using OrvexClipboard::FormatXML;
using namespace testsupport;

namespace {

using Getter = bool (FormatXML::*)(std::wstring&);

}  // namespace

TEST_CASE_FIXTURE(Read,
                  "FormatXML reads documents of other DOM implementations like MSXML documents") {
    const std::wstring xml =
        L"<TarloData xmlns='urn:t' xmlns:p='urn:p'><!-- c --><Portfolios><?Portfolio p?>"
        L"<Portfolio><?Type p?><p:Type>1</p:Type><Type kind='x'>2</Type></Portfolio>"
        L"</Portfolios><Portfolios/><Instruments>" +
        instrument(L"A", L"<!--ItemCode--><p:KeyLetter>p</p:KeyLetter><Fields/>") +
        L"<Instrument><x><ItemCode>B</ItemCode></x><itemcode>b</itemcode></Instrument>"
        L"<Instrument ItemCode='C'/>text<Instrument><ItemCode> <![CDATA[D]]></ItemCode>" +
        fields({L"1", L"", L"3"}) + fields({L"4"}) + L"</Instrument></Instruments></TarloData>";
    const auto values = [&xml] {
        std::vector<std::wstring> all;
        const auto add = [&all](FormatXML& read, Getter get) {
            std::wstring text = kUntouched;
            const bool isRead = (read.*get)(text);
            all.push_back((isRead ? L"1 " : L"0 ") + text);
        };
        FormatXML read;
        REQUIRE(read.importFromString(xml));
        while (read.getPortfolio()) {
            add(read, &FormatXML::getPortfolio_PortfolioId);
            add(read, &FormatXML::getPortfolio_Type);
        }
        while (read.getInstrument()) {
            add(read, &FormatXML::getInstrument_ItemCode);
            add(read, &FormatXML::getInstrument_Keyletter);
            while (read.getField()) {
                add(read, &FormatXML::getField_FID);
                add(read, &FormatXML::getField_Name);
            }
        }
        return all;
    };
    const std::vector<std::wstring> own = values();
    CHECK(own.size() > 15);
    const ObservedDom dom;
    CHECK(values() == own);
}

// Replaces MSXML with another implementation, whose document contains one portfolio with one value.
struct ForeignPortfolio {
    ForeignPortfolio() {
        document.onLoadXml = [](const std::wstring&, VARIANT_BOOL* successful) {
            *successful = VARIANT_TRUE;
            return S_OK;
        };
        document.onSelectSingleNode = returnsObject(root);
        root.onSelectSingleNode = returnsObject(portfolios);
        portfolios.onGetChildNodes = returnsObject(list);
        list.onGetLength = returnsValue(1L);
        list.onNextNode = returnsObject(portfolio);
        portfolio.onSelectSingleNode = returnsObject(id);
        id.onGetFirstChild = returnsObject(text);
    }

    ScriptedDocument document;
    ScriptedNode root, portfolios, portfolio, id, text;
    ScriptedList list;
    ScriptedClass scripted{kDocument30, document};
};

TEST_CASE("A null node list of another DOM implementation is treated as empty") {
    const Apartment apartment;
    ForeignPortfolio foreign;
    FormatXML read;
    REQUIRE(read.importFromString(L"<TarloData/>"));
    foreign.portfolios.onGetChildNodes = returnsNothing(S_OK);

    CHECK(read.getPortfolio() == 0);
}

TEST_CASE("An element of another DOM implementation has no value if its first child is null") {
    const Apartment apartment;
    ForeignPortfolio foreign;
    FormatXML read;
    REQUIRE(read.importFromString(L"<TarloData/>"));
    foreign.id.onGetFirstChild = returnsNothing(S_OK);
    std::wstring value = kUntouched;
    REQUIRE(read.getPortfolio() == 1);

    CHECK_FALSE(read.getPortfolio_PortfolioId(value));

    CHECK(value == kUntouched);
}

// Makes a private member accessible. Access checks do not apply to the template arguments of an
// explicit instantiation.
using BeginImport = bool (FormatXML::*)(const std::wstring&, const std::wstring&);
BeginImport privateBeginImport();
template <BeginImport Member>
struct Opened {
    friend BeginImport privateBeginImport() { return Member; }
};
template struct Opened<&FormatXML::beginImport>;

TEST_CASE("beginImport loads the given source and ignores the text") {
    const Apartment apartment;
    ScriptedDocument document;
    std::wstring source;
    document.onLoad = [&source](const VARIANT& from, VARIANT_BOOL* successful) {
        source = contentsOf(from.vt == VT_BSTR ? from.bstrVal : nullptr);
        *successful = VARIANT_TRUE;
        return S_OK;
    };
    document.onSelectSingleNode = returnsObject(document);
    const ScriptedClass scripted(kDocument30, document);
    FormatXML read;

    CHECK((read.*privateBeginImport())(L"C:\\a.xml", L"<TarloData/>"));

    CHECK(source == L"C:\\a.xml");
}

TEST_CASE("beginImport fails if both the source and the text are empty") {
    const Apartment apartment;
    FormatXML read;

    CHECK_FALSE((read.*privateBeginImport())(L"", L""));
}

TEST_CASE_FIXTURE(Read, "Text is parsed synchronously and without loading external references") {
    ObservedDom dom;
    FormatXML read;
    REQUIRE(read.importFromString(L"<TarloData/>"));
    CHECK(dom.calls ==
          std::vector<std::wstring>{L"create", L"put_async false", L"put_resolveExternals false",
                                    L"put_validateOnParse false", L"getProperty ProhibitDTD",
                                    L"getProperty MaxElementDepth", L"loadXML",
                                    L"selectSingleNode TarloData"});
}

TEST_CASE_FIXTURE(Read, "A document is copied with the safe settings and keeps its document type") {
    FormatXML source;
    REQUIRE(source.importFromString(L"<TarloData/>"));
    ATL::CComPtr<IXMLDOMDocument2> given, copy;
    REQUIRE(source.exportToXML(&given));
    const std::vector<std::wstring> copied{L"create", L"put_async false",
                                           L"put_resolveExternals false",
                                           L"put_validateOnParse false", L"load"};
    ObservedDom dom;
    FormatXML read;

    REQUIRE(read.importFromXML(*given));
    REQUIRE(dom.calls.size() == 6);
    dom.calls.pop_back();  // the call that selects the root
    CHECK(dom.calls == copied);
    dom.calls.clear();
    REQUIRE(read.exportToXML(&copy));
    CHECK(dom.calls == copied);
}

TEST_CASE_FIXTURE(
    Read, "A value getter selects its element and reads the typed value of the first child") {
    ObservedDom dom;
    FormatXML read;
    REQUIRE(read.importFromString(L"<TarloData><Instruments>" + instrument(L"A") +
                                  L"</Instruments></TarloData>"));
    REQUIRE(read.getInstrument() == 1);
    dom.calls.clear();
    std::wstring text;
    REQUIRE(read.getInstrument_ItemCode(text));
    REQUIRE(dom.calls.size() >= 3);
    CHECK(dom.calls[0] == L"selectSingleNode ItemCode");
    CHECK(dom.calls[1] == L"get_firstChild");
    CHECK(dom.calls[2] == L"get_nodeTypedValue");

    for (const wchar_t* failing :
         {L"selectSingleNode ItemCode", L"get_firstChild", L"get_nodeTypedValue"}) {
        dom.setResult(failing, E_FAIL);
        text = kUntouched;
        CHECK_FALSE(read.getInstrument_ItemCode(text));
        CHECK(text == kUntouched);
    }
}

TEST_CASE_FIXTURE(Read, "A cursor that fails to start returns 0 and can start later") {
    ObservedDom dom;
    FormatXML read;
    REQUIRE(read.importFromString(
        L"<TarloData><Instruments>" +
        instrument(L"A", fields({L"1"}) + freeTexts(L"<FreeText>t</FreeText>")) +
        L"</Instruments></TarloData>"));
    for (const wchar_t* failing :
         {L"selectSingleNode Instruments", L"get_childNodes", L"get_length", L"nextNode"}) {
        dom.setResult(failing, E_FAIL);
        CHECK(read.getInstrument() == 0);
    }
    dom.onCall = nullptr;
    REQUIRE(read.getInstrument() == 1);
    for (const wchar_t* failing :
         {L"selectSingleNode Fields", L"get_childNodes", L"get_length", L"nextNode"}) {
        dom.setResult(failing, E_FAIL);
        CHECK(read.getField() == 0);
    }
    std::wstring text;
    for (const wchar_t* failing :
         {L"selectSingleNode ./FreeTexts", L"selectNodes ./FreeText", L"get_length", L"nextNode"}) {
        dom.setResult(failing, E_FAIL);
        CHECK(read.getFreeText(text) == 0);
    }
    dom.onCall = nullptr;
    CHECK(read.getField() == 1);
    CHECK(read.getFreeText(text) == 1);
    CHECK(text == L"t");
}

TEST_CASE_FIXTURE(Read,
                  "A cursor that fails to move has no current instrument but keeps its position") {
    ObservedDom dom;
    FormatXML read;
    REQUIRE(read.importFromString(L"<TarloData><Instruments>" + instrument(L"A") +
                                  instrument(L"B") + L"</Instruments></TarloData>"));
    REQUIRE(read.getInstrument() == 1);
    dom.setResult(L"nextNode", E_FAIL);
    CHECK(read.getInstrument() == 0);
    std::wstring text = kUntouched;
    CHECK_FALSE(read.getInstrument_ItemCode(text));
    dom.onCall = nullptr;
    CHECK(read.getInstrument() == 1);
    CHECK(read.getInstrument_ItemCode(text));
    CHECK(text == L"B");
}

TEST_CASE_FIXTURE(
    Read,
    "getFreeText returns 1 and empty text if get_text fails, but 0 if it returns E_INVALIDARG") {
    ObservedDom dom;
    FormatXML read;
    REQUIRE(read.importFromString(
        L"<TarloData><Instruments>" +
        instrument(L"A", freeTexts(L"<FreeText>1</FreeText><FreeText>2</FreeText>"
                                   L"<FreeText>3</FreeText><FreeText>4</FreeText>")) +
        L"</Instruments></TarloData>"));
    REQUIRE(read.getInstrument() == 1);
    std::wstring text = kUntouched;
    dom.setResult(L"get_text", S_FALSE);
    CHECK(read.getFreeText(text) == 1);
    CHECK(text.empty());
    text = kUntouched;
    dom.setResult(L"get_text", E_FAIL);
    CHECK(read.getFreeText(text) == 1);
    CHECK(text.empty());
    text = kUntouched;
    dom.setResult(L"get_text", E_INVALIDARG);
    CHECK(read.getFreeText(text) == 0);
    CHECK(text.empty());
    dom.onCall = nullptr;
    CHECK(read.getFreeText(text) == 1);
    CHECK(text == L"4");
}

TEST_CASE_FIXTURE(
    Read, "getFreeText returns the first text again after get_text returned E_INVALIDARG for it") {
    ObservedDom dom;
    FormatXML read;
    REQUIRE(read.importFromString(
        L"<TarloData><Instruments>" +
        instrument(L"A", freeTexts(L"<FreeText>1</FreeText><FreeText>2</FreeText>")) +
        L"</Instruments></TarloData>"));
    REQUIRE(read.getInstrument() == 1);
    std::wstring text;
    dom.setResult(L"get_text", E_INVALIDARG);
    CHECK(read.getFreeText(text) == 0);
    dom.onCall = nullptr;
    CHECK(read.getFreeText(text) == 1);
    CHECK(text == L"1");
}

TEST_CASE_FIXTURE(Read,
                  "An object cannot import again after any step of its first import has failed") {
    ObservedDom dom;
    for (const wchar_t* failing : {L"create", L"loadXML", L"selectSingleNode TarloData"}) {
        FormatXML read;
        dom.setResult(failing, E_FAIL);
        CHECK_FALSE(read.importFromString(L"<TarloData/>"));
        dom.onCall = nullptr;
        CHECK_FALSE(read.importFromString(L"<TarloData/>"));
    }
    CHECK(dom.objects == 0);
}

TEST_CASE_FIXTURE(Read,
                  "Reading an instrument document reports a failure whenever an allocation fails") {
    FormatXML source;
    REQUIRE(source.putPortfolio(L"P", L"T"));
    REQUIRE(source.putInstrument(L"an item code that no short string holds", L"K", L"F"));
    REQUIRE(source.putField(L"n", L"1", L"v"));
    ATL::CComPtr<IXMLDOMDocument2> given;
    REQUIRE(source.exportToXML(&given));
    const std::wstring xml =
        L"<TarloData><Instruments>" +
        instrument(L"A", freeTexts(L"<FreeText>a text that no short string holds</FreeText>")) +
        L"</Instruments></TarloData>";
    bool complete = false;
    const auto read = [&] {
        try {
            FormatXML first, second;
            std::wstring text;
            complete = first.importFromXML(*given) && first.getPortfolio() &&
                       first.getPortfolio_PortfolioId(text) && first.getPortfolio_Type(text) &&
                       first.getInstrument() && first.getInstrument_ItemCode(text) &&
                       first.getInstrument_Keyletter(text) && first.getField() &&
                       first.getField_FID(text) && first.getField_Name(text) &&
                       second.importFromString(xml) && second.getInstrument() &&
                       second.getFreeText(text);
        } catch (const std::bad_alloc&) {
            complete = false;
        } catch (const _com_error& error) {
            complete = false;
            CHECK(error.Error() == E_OUTOFMEMORY);
        }
    };
    const long failures =
        testsupport::sweepAllocationFailures(read, [&](long) { CHECK_FALSE(complete); });
    CHECK(complete);
    CHECK(failures > 5);
}
