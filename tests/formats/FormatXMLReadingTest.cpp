#include <comdef.h>

#include <string>
#include <vector>

#include "tests/formats/InstrumentReading.h"
#include "tests/support/ObservedDom.h"

using OrvexClipboard::FormatXML;
using namespace testsupport;

namespace {

using Getter = bool (FormatXML::*)(std::wstring&);

}  // namespace

TEST_CASE_FIXTURE(Read, "getPortfolio visits each portfolio once and then stays at the end") {
    importPortfolios(
        L"<Portfolio><PortfolioId>P1</PortfolioId><Type>T1</Type></Portfolio>"
        L"<Portfolio><PortfolioId>P2</PortfolioId><Type>T2</Type></Portfolio>");
    std::wstring id, type;
    CHECK(document.getPortfolio() == 1);
    CHECK(document.getPortfolio_PortfolioId(id));
    CHECK(id == L"P1");
    CHECK(document.getPortfolio_Type(type));
    CHECK(type == L"T1");
    CHECK(document.getPortfolio() == 1);
    CHECK(document.getPortfolio_PortfolioId(id));
    CHECK(id == L"P2");
    CHECK(document.getPortfolio() == 0);
    CHECK(document.getPortfolio() == 0);
    CHECK(document.getPortfolio() == 0);
}

TEST_CASE_FIXTURE(Read, "getInstrument visits each instrument once and then stays at the end") {
    importInstruments(L"<Instrument><ItemCode>A</ItemCode><KeyLetter>K</KeyLetter></Instrument>" +
                      instrument(L"B"));
    std::wstring text;
    CHECK(document.getInstrument() == 1);
    CHECK(document.getInstrument_ItemCode(text));
    CHECK(text == L"A");
    CHECK(document.getInstrument_Keyletter(text));
    CHECK(text == L"K");
    CHECK(document.getInstrument() == 1);
    CHECK(itemCode() == L"B");
    CHECK(document.getInstrument() == 0);
    CHECK(document.getInstrument() == 0);
}

TEST_CASE_FIXTURE(Read, "getField visits the fields and starts again after the end") {
    importInstruments(instrument(L"A", fields({L"1", L"2", L"3"})));
    REQUIRE(document.getInstrument() == 1);
    for (int round = 0; round < 2; ++round) {
        CHECK(document.getField() == 1);
        CHECK(fieldId() == L"1");
        std::wstring name;
        CHECK(document.getField_Name(name));
        CHECK(name == L"n1");
        CHECK(document.getField() == 1);
        CHECK(document.getField() == 1);
        CHECK(fieldId() == L"3");
        CHECK(document.getField() == 0);
    }
}

TEST_CASE_FIXTURE(Read, "getField after the end starts with the fields of the current instrument") {
    importInstruments(instrument(L"A", fields({L"1", L"2"})) + instrument(L"B", fields({L"3"})) +
                      instrument(L"C") + instrument(L"D", fields({L"4"})));
    std::wstring walked;
    while (document.getInstrument()) {
        walked += itemCode();
        while (document.getField()) walked += fieldId();
    }
    CHECK(walked == L"A12B3CD4");
}

TEST_CASE_FIXTURE(Read, "getField returns the remaining fields of the previous instrument first") {
    importInstruments(instrument(L"A", fields({L"1", L"2", L"3"})) +
                      instrument(L"B", fields({L"4", L"5"})));
    REQUIRE(document.getInstrument() == 1);
    REQUIRE(document.getField() == 1);
    REQUIRE(document.getInstrument() == 1);
    CHECK(fieldId() == L"1");
    CHECK(document.getField() == 1);
    CHECK(fieldId() == L"2");
    CHECK(document.getField() == 1);
    CHECK(fieldId() == L"3");
    CHECK(document.getField() == 0);
    CHECK(document.getField() == 1);
    CHECK(fieldId() == L"4");
}

TEST_CASE_FIXTURE(Read, "getField returns the remaining fields after the last instrument") {
    importInstruments(instrument(L"A", fields({L"1", L"2"})));
    REQUIRE(document.getInstrument() == 1);
    REQUIRE(document.getField() == 1);
    REQUIRE(document.getInstrument() == 0);
    CHECK(document.getField() == 1);
    CHECK(fieldId() == L"2");
    CHECK(document.getField() == 0);
    CHECK(document.getField() == 0);
}

TEST_CASE_FIXTURE(Read, "getField before the first instrument returns 0") {
    importInstruments(instrument(L"A", fields({L"1"})));
    CHECK(document.getField() == 0);
    REQUIRE(document.getInstrument() == 1);
    CHECK(document.getField() == 1);
}

TEST_CASE_FIXTURE(Read, "An instrument without a field list or with an empty one has no fields") {
    importInstruments(instrument(L"A") + instrument(L"B", L"<Fields/>"));
    REQUIRE(document.getInstrument() == 1);
    CHECK(document.getField() == 0);
    REQUIRE(document.getInstrument() == 1);
    CHECK(document.getField() == 0);
}

TEST_CASE_FIXTURE(Read, "getFreeText visits the free texts and starts again after the end") {
    importInstruments(instrument(
        L"A", freeTexts(L"<FreeText>one</FreeText><FreeText> two&amp; </FreeText><FreeText/>")));
    REQUIRE(document.getInstrument() == 1);
    for (int round = 0; round < 2; ++round) {
        CHECK(freeText() == L"one");
        CHECK(freeText() == L"two&");
        CHECK(freeText() == L"");
        CHECK(freeText() == L"(end)");
    }
}

TEST_CASE_FIXTURE(Read, "getFreeText reads only elements with its name and all text in them") {
    importInstruments(instrument(L"A", freeTexts(L"<!-- c --><Other>x</Other>"
                                                 L"<FreeText>a<b>b</b><![CDATA[c]]></FreeText>")));
    REQUIRE(document.getInstrument() == 1);
    CHECK(freeText() == L"abc");
    CHECK(freeText() == L"(end)");
}

TEST_CASE_FIXTURE(
    Read,
    "getFreeText returns the remaining texts of the previous instrument first, like getField") {
    importInstruments(instrument(L"A", freeTexts(L"<FreeText>1</FreeText><FreeText>2</FreeText>")) +
                      instrument(L"B", freeTexts(L"<FreeText>3</FreeText>")));
    REQUIRE(document.getInstrument() == 1);
    CHECK(freeText() == L"1");
    REQUIRE(document.getInstrument() == 1);
    CHECK(freeText() == L"2");
    CHECK(freeText() == L"(end)");
    CHECK(freeText() == L"3");
}

TEST_CASE_FIXTURE(Read, "getFreeText empties its argument if there is nothing to read") {
    CHECK(freeText() == L"(end)");
    importInstruments(instrument(L"A") + instrument(L"B", freeTexts(L"")));
    CHECK(freeText() == L"(end)");
    REQUIRE(document.getInstrument() == 1);
    CHECK(freeText() == L"(end)");
    REQUIRE(document.getInstrument() == 1);
    CHECK(freeText() == L"(end)");
}

TEST_CASE_FIXTURE(Read,
                  "The value getters fail without a cursor position and keep their argument") {
    const Getter getters[] = {&FormatXML::getPortfolio_PortfolioId,
                              &FormatXML::getPortfolio_Type,
                              &FormatXML::getInstrument_ItemCode,
                              &FormatXML::getInstrument_Keyletter,
                              &FormatXML::getField_Name,
                              &FormatXML::getField_FID};
    const auto checkAll = [&] {
        for (const Getter getter : getters) {
            std::wstring text = kUntouched;
            CHECK_FALSE((document.*getter)(text));
            CHECK(text == kUntouched);
        }
    };
    checkAll();
    import(
        L"<TarloData><Portfolios><Portfolio><PortfolioId>P</PortfolioId><Type>T</Type></Portfolio>"
        L"</Portfolios><Instruments><Instrument><ItemCode>A</ItemCode><KeyLetter>K</KeyLetter>"
        L"<Fields><Field><FID>1</FID><Name>n</Name></Field></Fields></Instrument></Instruments>"
        L"</TarloData>");
    checkAll();
    REQUIRE(document.getPortfolio() == 1);
    REQUIRE(document.getInstrument() == 1);
    REQUIRE(document.getField() == 1);
    for (const Getter getter : getters) {
        std::wstring text;
        CHECK((document.*getter)(text));
    }
    REQUIRE(document.getPortfolio() == 0);
    REQUIRE(document.getInstrument() == 0);
    REQUIRE(document.getField() == 0);
    checkAll();
}

TEST_CASE_FIXTURE(Read, "A missing or empty element leaves the argument unchanged") {
    importInstruments(
        L"<Instrument/><Instrument><ItemCode/></Instrument>"
        L"<Instrument><ItemCode></ItemCode></Instrument>"
        L"<Instrument><ItemCode>  </ItemCode></Instrument>"
        L"<Instrument><itemcode>A</itemcode></Instrument>"
        L"<Instrument><x><ItemCode>A</ItemCode></x></Instrument>");
    for (int i = 0; i < 6; ++i) {
        CAPTURE(i);
        REQUIRE(document.getInstrument() == 1);
        std::wstring text = kUntouched;
        CHECK_FALSE(document.getInstrument_ItemCode(text));
        CHECK(text == kUntouched);
    }
}

TEST_CASE_FIXTURE(
    Read, "Every value getter leaves its argument unchanged for a missing or empty element") {
    const struct {
        const char* label;
        Getter get;
        const wchar_t* name;
    } rows[] = {{"portfolio id", &FormatXML::getPortfolio_PortfolioId, L"PortfolioId"},
                {"portfolio type", &FormatXML::getPortfolio_Type, L"Type"},
                {"item code", &FormatXML::getInstrument_ItemCode, L"ItemCode"},
                {"key letter", &FormatXML::getInstrument_Keyletter, L"KeyLetter"},
                {"field name", &FormatXML::getField_Name, L"Name"},
                {"field id", &FormatXML::getField_FID, L"FID"}};
    for (const auto& row : rows) {
        CAPTURE(row.label);
        const std::wstring name = row.name;
        for (const std::wstring& element :
             {std::wstring(), L"<" + name + L"/>", L"<" + name + L"></" + name + L">",
              L"<" + name + L" a='1'/>"}) {
            FormatXML read;
            REQUIRE(read.importFromString(L"<TarloData><Portfolios><Portfolio>" + element +
                                          L"</Portfolio></Portfolios><Instruments><Instrument>" +
                                          element + L"<Fields><Field>" + element +
                                          L"</Field></Fields></Instrument></Instruments>" +
                                          L"</TarloData>"));
            REQUIRE(read.getPortfolio() == 1);
            REQUIRE(read.getInstrument() == 1);
            REQUIRE(read.getField() == 1);
            std::wstring text = kUntouched;
            CHECK_FALSE((read.*row.get)(text));
            CHECK(text == kUntouched);
        }
    }
}

TEST_CASE_FIXTURE(Read,
                  "A value getter reads the first child of its element, whatever its node type") {
    importInstruments(
        L"<Instrument><ItemCode>first<!-- c -->second</ItemCode></Instrument>"
        L"<Instrument><ItemCode><!-- comment -->text</ItemCode></Instrument>"
        L"<Instrument><ItemCode><![CDATA[<section> & ]]>text</ItemCode></Instrument>"
        L"<Instrument><ItemCode><?target data?>text</ItemCode></Instrument>"
        L"<Instrument><ItemCode><b>in</b>out</ItemCode></Instrument>"
        L"<Instrument><ItemCode> padded </ItemCode></Instrument>"
        L"<Instrument><ItemCode a='1'>A</ItemCode><ItemCode>B</ItemCode></Instrument>");
    std::vector<std::wstring> values;
    while (document.getInstrument()) values.push_back(itemCode());
    CHECK(values == std::vector<std::wstring>{L"first", L" comment ", L"<section> & ", L"data",
                                              L"in", L" padded ", L"A"});
}

TEST_CASE_FIXTURE(Read,
                  "A typed first child is converted to text or leaves the argument unchanged") {
    const std::wstring types = L" xmlns:dt='urn:schemas-microsoft-com:datatypes' dt:dt=";
    importInstruments(instrument(L"<n" + types + L"'int'>7</n>") +
                      instrument(L"<n" + types + L"'int'>no number</n>"));
    REQUIRE(document.getInstrument() == 1);
    CHECK(itemCode() == L"7");
    REQUIRE(document.getInstrument() == 1);
    CHECK(itemCode() == kUntouched);
}

TEST_CASE_FIXTURE(Read, "A value getter throws the error code if it cannot clear the value") {
    ObservedDom dom;
    {
        FormatXML read;
        REQUIRE(
            read.importFromString(L"<TarloData><Instruments><Instrument><ItemCode>A</ItemCode>"
                                  L"</Instrument></Instruments></TarloData>"));
        REQUIRE(read.getInstrument() == 1);
        dom.changeTypedValue = [](VARIANT& value) {
            ::VariantClear(&value);
            value.vt = 0x0fff;
        };
        std::wstring text = kUntouched;
        HRESULT raised = S_OK;
        try {
            read.getInstrument_ItemCode(text);
        } catch (const _com_error& error) {
            raised = error.Error();
        }
        CHECK(raised == DISP_E_BADVARTYPE);
        CHECK(text == kUntouched);
    }
    CHECK(dom.objects == 0);
}

TEST_CASE_FIXTURE(
    Read, "Every child node is an item of the instrument list, but only elements have values") {
    importInstruments(L"<!-- c -->" + instrument(L"A") + L"text<?p i?>" + instrument(L"B") +
                      L"<Other><ItemCode>C</ItemCode></Other>");
    std::vector<std::wstring> values;
    while (document.getInstrument()) values.push_back(itemCode());
    CHECK(values ==
          std::vector<std::wstring>{kUntouched, L"A", kUntouched, kUntouched, L"B", L"C"});
}

TEST_CASE_FIXTURE(
    Read,
    "Every child node is an item of the portfolio and field lists, but not of the free texts") {
    const std::wstring among = L"<!-- c -->text<?p i?><x/>";
    import(L"<TarloData><Portfolios>" + among +
           L"<Portfolio><PortfolioId>P</PortfolioId></Portfolio></Portfolios><Instruments>" +
           instrument(L"A", L"<Fields>" + among + L"<Field><FID>1</FID></Field></Fields>" +
                                freeTexts(among + L"<FreeText>t</FreeText>")) +
           L"</Instruments></TarloData>");
    std::wstring text;
    for (int i = 0; i < 4; ++i) {
        CHECK(document.getPortfolio() == 1);
        CHECK_FALSE(document.getPortfolio_PortfolioId(text));
    }
    CHECK(document.getPortfolio() == 1);
    CHECK(document.getPortfolio_PortfolioId(text));
    CHECK(document.getPortfolio() == 0);
    REQUIRE(document.getInstrument() == 1);
    for (int i = 0; i < 4; ++i) {
        CHECK(document.getField() == 1);
        CHECK(fieldId() == kUntouched);
    }
    CHECK(document.getField() == 1);
    CHECK(fieldId() == L"1");
    CHECK(document.getField() == 0);
    CHECK(freeText() == L"t");
    CHECK(freeText() == L"(end)");
}

TEST_CASE_FIXTURE(Read, "Only the first list with a given name is read") {
    import(L"<TarloData><Instruments>" + instrument(L"A") + L"</Instruments><Instruments>" +
           instrument(L"B") + L"</Instruments></TarloData>");
    CHECK(document.getInstrument() == 1);
    CHECK(itemCode() == L"A");
    CHECK(document.getInstrument() == 0);
}

TEST_CASE_FIXTURE(Read, "Missing lists are empty") {
    import(L"<TarloData/>");
    std::wstring text;
    CHECK(document.getPortfolio() == 0);
    CHECK(document.getInstrument() == 0);
    CHECK(document.getField() == 0);
    CHECK(document.getFreeText(text) == 0);
}

TEST_CASE_FIXTURE(
    Read, "Attributes, comments, instructions and declarations around the lists are ignored") {
    import(
        L"<?xml version='1.0'?><!-- c --><?p i?>"
        L"<TarloData Version='9' x='1'> <!-- c --> text <Instruments n='1'>"
        L"<Instrument id='7'><ItemCode kind='x'>A</ItemCode></Instrument>"
        L"</Instruments></TarloData><!-- end -->");
    REQUIRE(document.getInstrument() == 1);
    CHECK(itemCode() == L"A");
}

TEST_CASE_FIXTURE(Read, "Names are compared exactly, including prefixes") {
    import(
        L"<TarloData xmlns='urn:t' xmlns:p='urn:p'><Instruments>"
        L"<Instrument><p:ItemCode>A</p:ItemCode><ItemCode>B</ItemCode></Instrument>"
        L"</Instruments></TarloData>");
    REQUIRE(document.getInstrument() == 1);
    CHECK(itemCode() == L"B");
    FormatXML prefixed;
    CHECK_FALSE(prefixed.importFromString(L"<p:TarloData xmlns:p='urn:p'/>"));
}

TEST_CASE_FIXTURE(Read, "An import requires well-formed text with the root element TarloData") {
    for (const wchar_t* text :
         {L"", L" ", L"text", L"<TarloData>", L"<TarloData/><TarloData/>", L"<Other/>",
          L"<Other><TarloData/></Other>", L"<tarlodata/>", L"<TarloData>&nothing;</TarloData>",
          L"<TarloData a=1/>", L"<TarloData>\x01</TarloData>"}) {
        FormatXML read;
        CHECK_FALSE(read.importFromString(text));
        CHECK(read.getInstrument() == 0);
        CHECK(shown(read).empty());
    }
}

TEST_CASE_FIXTURE(Read, "An object cannot import again after an import failed") {
    CHECK_FALSE(document.importFromString(L""));
    CHECK_FALSE(document.importFromString(L"<TarloData/>"));
    FormatXML source;
    REQUIRE(source.putPortfolio(L"P", L"T"));
    ATL::CComPtr<IXMLDOMDocument2> copy;
    REQUIRE(source.exportToXML(&copy));
    CHECK_FALSE(document.importFromXML(*copy));
}

TEST_CASE_FIXTURE(Read, "A second import after a successful one reads nothing and returns true") {
    importInstruments(instrument(L"A"));
    CHECK(document.importFromString(L"<Other/>"));
    CHECK(document.importFromString(L""));
    CHECK(document.getInstrument() == 1);
    CHECK(itemCode() == L"A");
}

TEST_CASE_FIXTURE(Read, "importFromXML copies the document") {
    FormatXML source;
    REQUIRE(source.putInstrument(L"A", L"K", L"F"));
    ATL::CComPtr<IXMLDOMDocument2> given;
    REQUIRE(source.exportToXML(&given));
    CHECK(document.importFromXML(*given));
    VARIANT_BOOL loaded;
    REQUIRE(given->loadXML(ATL::CComBSTR(L"<Other/>"), &loaded) == S_OK);
    CHECK(document.getInstrument() == 1);
    CHECK(itemCode() == L"A");
    CHECK(shown(document) == shown(source));
    IXMLDOMDocument2* const last = given.Detach();
    CHECK(last->Release() == 0);
}

TEST_CASE_FIXTURE(Read, "importFromXML rejects an empty document and another root element") {
    FormatXML source;
    REQUIRE(source.putPortfolio(L"P", L"T"));
    ATL::CComPtr<IXMLDOMDocument2> given;
    REQUIRE(source.exportToXML(&given));
    for (const wchar_t* text : {L"", L"<Other/>"}) {
        VARIANT_BOOL loaded;
        given->loadXML(ATL::CComBSTR(text), &loaded);
        FormatXML read;
        CHECK_FALSE(read.importFromXML(*given));
        CHECK_FALSE(read.importFromString(L"<TarloData/>"));
    }
}

TEST_CASE_FIXTURE(Read, "An imported document can be exported completely") {
    import(L"<TarloData Version='2'><Extra a='1'>x</Extra><Instruments/></TarloData>");
    CHECK(shown(document) == L"TarloData[Version='2'](Extra[a='1']='x' Instruments)");
}

TEST_CASE_FIXTURE(Read, "The cursors find nothing in a written document") {
    REQUIRE(document.putPortfolio(L"P", L"T"));
    REQUIRE(document.putInstrument(L"A", L"K", L"F"));
    REQUIRE(document.putField(L"n", L"1", L"v"));
    CHECK(document.getPortfolio() == 0);
    CHECK(document.getInstrument() == 0);
    CHECK(document.getField() == 0);
    CHECK(freeText() == L"(end)");
}

TEST_CASE("Nothing can be read on a thread without COM") {
    FormatXML read;
    CHECK_FALSE(read.importFromString(L"<TarloData/>"));
}

TEST_CASE_FIXTURE(Read, "Deeply nested elements are rejected or read without a crash") {
    constexpr int kDepth = 10000;
    std::wstring deep;
    for (int i = 0; i < kDepth; ++i) deep += L"<x>";
    deep += L"A";
    for (int i = 0; i < kDepth; ++i) deep += L"</x>";
    if (!document.importFromString(L"<TarloData><Instruments>" + instrument(deep) +
                                   L"</Instruments></TarloData>")) {
        CHECK(document.getInstrument() == 0);
        return;
    }
    CHECK(document.getInstrument() == 1);
    CHECK(itemCode() == L"A");
}

TEST_CASE_FIXTURE(Read, "The cursor visits a thousand instruments") {
    constexpr int kInstruments = 1000;
    std::wstring instruments;
    for (int i = 0; i < kInstruments; ++i) instruments += instrument(std::to_wstring(i));
    importInstruments(instruments);
    int walked = 0;
    while (document.getInstrument()) ++walked;
    CHECK(walked == kInstruments);
}

TEST_CASE_FIXTURE(Read, "A cursor reads the length once and then one node for each step") {
    ObservedDom dom;
    {
        FormatXML read;
        REQUIRE(read.importFromString(L"<TarloData><Instruments>" + instrument(L"A") +
                                      instrument(L"B") + instrument(L"C") +
                                      L"</Instruments></TarloData>"));
        dom.calls.clear();
        while (read.getInstrument()) continue;
        CHECK(dom.calls == std::vector<std::wstring>{L"selectSingleNode Instruments",
                                                     L"get_childNodes", L"get_length", L"nextNode",
                                                     L"nextNode", L"nextNode", L"nextNode"});
    }
    CHECK(dom.objects == 0);
}

TEST_CASE_FIXTURE(Read, "A cursor does not read its list again for each step") {
    ObservedDom dom;
    {
        FormatXML read;
        REQUIRE(read.importFromString(
            L"<TarloData><Portfolios><Portfolio/><Portfolio/></Portfolios><Instruments>" +
            instrument(L"A", fields({L"1", L"2", L"3"}) +
                                 freeTexts(L"<FreeText>1</FreeText><FreeText>2</FreeText>")) +
            L"</Instruments></TarloData>"));
        const auto callsOf = [&](auto&& walk) {
            dom.calls.clear();
            walk();
            return dom.calls;
        };
        using Calls = std::vector<std::wstring>;
        std::wstring text;
        CHECK(callsOf([&] {
                  while (read.getPortfolio()) continue;
              }) == Calls{L"selectSingleNode Portfolios", L"get_childNodes", L"get_length",
                          L"nextNode", L"nextNode", L"nextNode"});
        CHECK(callsOf([&] { read.getPortfolio(); }) == Calls{L"nextNode"});
        REQUIRE(read.getInstrument() == 1);
        CHECK(callsOf([&] {
                  while (read.getField()) continue;
              }) == Calls{L"selectSingleNode Fields", L"get_childNodes", L"get_length", L"nextNode",
                          L"nextNode", L"nextNode", L"nextNode"});
        CHECK(callsOf([&] {
                  while (read.getFreeText(text)) continue;
              }) == Calls{L"selectSingleNode ./FreeTexts", L"selectNodes ./FreeText", L"get_length",
                          L"nextNode", L"get_text", L"nextNode", L"get_text", L"nextNode"});
    }
    CHECK(dom.objects == 0);
}
