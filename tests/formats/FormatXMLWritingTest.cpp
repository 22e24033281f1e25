#include <comdef.h>

#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/formats/InstrumentDocument.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/ObservedDom.h"

using OrvexClipboard::FormatXML;
using testsupport::Apartment;
using testsupport::ObservedDom;

namespace {

struct WritingFixture {
    Apartment apartment;
    FormatXML document;
};

/// Returns an element and its descendants as text. `list` is the path of the element below the root
/// element.
std::wstring shownUnder(FormatXML& document, const wchar_t* list) {
    ATL::CComPtr<IXMLDOMDocument2> copy;
    REQUIRE(document.exportToXML(&copy));
    ATL::CComPtr<IXMLDOMNode> found;
    const std::wstring query = std::wstring(L"TarloData/") + list;
    REQUIRE(copy->selectSingleNode(ATL::CComBSTR(query.c_str()), &found) == S_OK);
    return shown(*found);
}

struct Sample {
    std::string label;
    std::wstring text;
};

const std::vector<Sample> kTexts = {
    {"letters", L"ABC.DE=F"},
    {"markup", L"<b a=\"1\">'&'</b>"},
    {"ampersands", L"R&D & co && &"},
    {"entities as text", L"&amp; &lt; &#65; &nothing;"},
    {"end of a section", L"<![CDATA[ ]]>"},
    {"tab and line ends", L"a\tb\nc\rd\r\ne"},
    {"line ends and ampersand", L"R&D\r\n& more"},
    {"white space at the ends", L"  a & b  "},
    {"Latin CJK and emoji", L"\u00e9\u00df \u65e5\u672c\u8a9e \U0001f600 \U0010fffd"},
    {"C1 controls", L"a\x7f\x80\x85\x9f"},
    {"no-break space", L"\u00a0"},
    {"byte order mark", L"\ufeff"},
    {"one long line", std::wstring(100000, L'x') + L"&"},
};

}  // namespace

// Clients call the following methods, so the types of the methods must not change.
using Texts2 = bool (FormatXML::*)(const std::wstring&, const std::wstring&);
using Texts3 = bool (FormatXML::*)(const std::wstring&, const std::wstring&, const std::wstring&);
using Texts4 = bool (FormatXML::*)(const std::wstring&, const std::wstring&, const std::wstring&,
                                   const std::wstring&);
using Step = int (FormatXML::*)();
using Getter = bool (FormatXML::*)(std::wstring&);
static_assert(std::is_same_v<decltype(&FormatXML::putPortfolio), Texts2>);
static_assert(std::is_same_v<decltype(&FormatXML::putInstrument), Texts3>);
static_assert(std::is_same_v<decltype(&FormatXML::putChainInstrument), Texts4>);
static_assert(std::is_same_v<decltype(&FormatXML::putInstrumentParent), Texts4>);
static_assert(std::is_same_v<decltype(&FormatXML::putField), Texts3>);
static_assert(std::is_same_v<decltype(&FormatXML::putNewsStory), Texts4>);
static_assert(std::is_same_v<decltype(&FormatXML::getPortfolio), Step>);
static_assert(std::is_same_v<decltype(&FormatXML::getInstrument), Step>);
static_assert(std::is_same_v<decltype(&FormatXML::getField), Step>);
static_assert(std::is_same_v<decltype(&FormatXML::getPortfolio_PortfolioId), Getter>);
static_assert(std::is_same_v<decltype(&FormatXML::getPortfolio_Type), Getter>);
static_assert(std::is_same_v<decltype(&FormatXML::getInstrument_ItemCode), Getter>);
static_assert(std::is_same_v<decltype(&FormatXML::getInstrument_Keyletter), Getter>);
static_assert(std::is_same_v<decltype(&FormatXML::getField_Name), Getter>);
static_assert(std::is_same_v<decltype(&FormatXML::getField_FID), Getter>);
static_assert(std::is_same_v<decltype(&FormatXML::getFreeText), int (FormatXML::*)(std::wstring&)>);
static_assert(
    std::is_same_v<decltype(&FormatXML::importFromXML), bool (FormatXML::*)(IXMLDOMDocument2&)>);
static_assert(std::is_same_v<decltype(&FormatXML::importFromString),
                             bool (FormatXML::*)(const std::wstring&)>);
static_assert(
    std::is_same_v<decltype(&FormatXML::exportToXML), bool (FormatXML::*)(IXMLDOMDocument2**)>);
static_assert(std::is_same_v<decltype(&FormatXML::exportToString), Getter>);

// True if `Document` has at least one of the following methods. FormatXML must not have any of
// these methods, because it only writes the corresponding elements.
template <class Document>
constexpr bool kHasForbiddenGetter = requires {
    &Document::getField_Value;
}
|| requires { &Document::getInstrument_Datafeed; }
|| requires { &Document::getInstrument_ChainCode; }
|| requires { &Document::getInstrumentParent; }
|| requires { &Document::getNewsStory; };
static_assert(!kHasForbiddenGetter<FormatXML>);

TEST_CASE_FIXTURE(WritingFixture,
                  "putPortfolio on a new object creates the document with all three lists") {
    CHECK(document.putPortfolio(L"P1", L"T1"));
    CHECK(shown(document) ==
          L"TarloData[Version='1.0']("
          L"Portfolios(Portfolio(PortfolioId='P1' Type='T1')) "
          L"Instruments NewsStory)");
}

TEST_CASE_FIXTURE(WritingFixture, "putPortfolio appends in the order of the calls") {
    CHECK(document.putPortfolio(L"1", L"a"));
    CHECK(document.putPortfolio(L"2", L"b"));
    CHECK(document.putPortfolio(L"1", L"a"));
    CHECK(shownUnder(document, L"Portfolios") ==
          L"Portfolios(Portfolio(PortfolioId='1' Type='a') Portfolio(PortfolioId='2' Type='b') "
          L"Portfolio(PortfolioId='1' Type='a'))");
}

TEST_CASE_FIXTURE(WritingFixture,
                  "putInstrument creates the document and writes empty parents and fields") {
    CHECK(document.putInstrument(L"ABC", L"K", L"FEED"));
    CHECK(shown(document) ==
          L"TarloData[Version='1.0'](Portfolios "
          L"Instruments(Instrument(ItemCode='ABC' KeyLetter='K' Datafeed='FEED' Parent Fields)) "
          L"NewsStory)");
}

TEST_CASE_FIXTURE(WritingFixture,
                  "putChainInstrument writes the chain code between item code and key letter") {
    CHECK(document.putChainInstrument(L"ABC", L"0#ABC", L"K", L"FEED"));
    CHECK(shownUnder(document, L"Instruments") ==
          L"Instruments(Instrument(ItemCode='ABC' ChainCode='0#ABC' KeyLetter='K' Datafeed='FEED' "
          L"Parent Fields))");
}

TEST_CASE_FIXTURE(WritingFixture,
                  "putChainInstrument writes an empty chain code as an empty element") {
    CHECK(document.putChainInstrument(L"ABC", L"", L"K", L"FEED"));
    CHECK(shownUnder(document, L"Instruments") ==
          L"Instruments(Instrument(ItemCode='ABC' ChainCode KeyLetter='K' Datafeed='FEED' Parent "
          L"Fields))");
}

TEST_CASE_FIXTURE(WritingFixture, "Empty strings are written as empty elements") {
    CHECK(document.putPortfolio(L"", L""));
    CHECK(document.putInstrument(L"", L"", L""));
    CHECK(document.putInstrumentParent(L"", L"", L"", L""));
    CHECK(document.putField(L"", L"", L""));
    CHECK(document.putNewsStory(L"", L"", L"", L""));
    CHECK(shown(document) ==
          L"TarloData[Version='1.0'](Portfolios(Portfolio(PortfolioId Type)) "
          L"Instruments(Instrument(ItemCode KeyLetter Datafeed "
          L"Parent(Type Value EmptyRowsBefore EmptyRowsAfter) Fields(Field(Value FID Name)))) "
          L"NewsStory(pNAC Date Time Text))");
}

TEST_CASE_FIXTURE(WritingFixture,
                  "putField writes the value, the field identifier and the name in this order") {
    CHECK(document.putInstrument(L"ABC", L"K", L"FEED"));
    CHECK(document.putField(L"Last", L"6", L"12.5"));
    CHECK(document.putField(L"Bid", L"22", L"12.4"));
    CHECK(shownUnder(document, L"Instruments/Instrument/Fields") ==
          L"Fields(Field(Value='12.5' FID='6' Name='Last') "
          L"Field(Value='12.4' FID='22' Name='Bid'))");
}

TEST_CASE_FIXTURE(WritingFixture,
                  "putField on a new object returns false and does not create the document") {
    CHECK_FALSE(document.putField(L"Last", L"6", L"12.5"));
    std::wstring xml = kUntouched;
    CHECK_FALSE(document.exportToString(xml));
    CHECK(document.importFromString(L"<TarloData/>"));
}

TEST_CASE_FIXTURE(
    WritingFixture,
    "putInstrumentParent on a new object returns false and does not create the document") {
    CHECK_FALSE(document.putInstrumentParent(L"t", L"v", L"1", L"2"));
    CHECK(document.importFromString(L"<TarloData/>"));
}

TEST_CASE_FIXTURE(WritingFixture, "putField and putInstrumentParent require an instrument") {
    CHECK(document.putPortfolio(L"P", L"T"));
    CHECK_FALSE(document.putField(L"Last", L"6", L"12.5"));
    CHECK_FALSE(document.putInstrumentParent(L"t", L"v", L"1", L"2"));
    CHECK(shownUnder(document, L"Instruments") == L"Instruments");
}

TEST_CASE_FIXTURE(WritingFixture,
                  "A second putInstrumentParent appends another group to the same parent") {
    CHECK(document.putInstrument(L"ABC", L"K", L"FEED"));
    CHECK(document.putInstrumentParent(L"t1", L"v1", L"1", L"2"));
    CHECK(document.putInstrumentParent(L"t2", L"v2", L"3", L"4"));
    CHECK(shownUnder(document, L"Instruments/Instrument/Parent") ==
          L"Parent(Type='t1' Value='v1' EmptyRowsBefore='1' EmptyRowsAfter='2' "
          L"Type='t2' Value='v2' EmptyRowsBefore='3' EmptyRowsAfter='4')");
}

TEST_CASE_FIXTURE(WritingFixture, "Fields and parents are added to the last instrument") {
    CHECK(document.putInstrument(L"A", L"K", L"F"));
    CHECK(document.putField(L"n1", L"1", L"v1"));
    CHECK(document.putChainInstrument(L"B", L"C", L"K", L"F"));
    CHECK(document.putField(L"n2", L"2", L"v2"));
    CHECK(document.putInstrumentParent(L"t", L"v", L"0", L"0"));
    CHECK(shownUnder(document, L"Instruments") ==
          L"Instruments("
          L"Instrument(ItemCode='A' KeyLetter='K' Datafeed='F' Parent "
          L"Fields(Field(Value='v1' FID='1' Name='n1'))) "
          L"Instrument(ItemCode='B' ChainCode='C' KeyLetter='K' Datafeed='F' "
          L"Parent(Type='t' Value='v' EmptyRowsBefore='0' EmptyRowsAfter='0') "
          L"Fields(Field(Value='v2' FID='2' Name='n2'))))");
}

TEST_CASE_FIXTURE(WritingFixture,
                  "putNewsStory appends a group for each call to the same news story") {
    CHECK(document.putNewsStory(L"n1", L"d1", L"t1", L"x1"));
    CHECK(document.putNewsStory(L"n2", L"d2", L"t2", L"x2"));
    CHECK(shown(document) ==
          L"TarloData[Version='1.0'](Portfolios Instruments "
          L"NewsStory(pNAC='n1' Date='d1' Time='t1' Text='x1' "
          L"pNAC='n2' Date='d2' Time='t2' Text='x2'))");
}

TEST_CASE_FIXTURE(WritingFixture, "The put functions fail after an import") {
    REQUIRE(document.importFromString(
        L"<TarloData><Portfolios/><Instruments><Instrument><Parent/><Fields/></Instrument>"
        L"</Instruments><NewsStory/></TarloData>"));
    const std::wstring before = shown(document);
    CHECK_FALSE(document.putPortfolio(L"P", L"T"));
    CHECK_FALSE(document.putInstrument(L"A", L"K", L"F"));
    CHECK_FALSE(document.putChainInstrument(L"A", L"C", L"K", L"F"));
    CHECK_FALSE(document.putInstrumentParent(L"t", L"v", L"0", L"0"));
    CHECK_FALSE(document.putField(L"n", L"1", L"v"));
    CHECK_FALSE(document.putNewsStory(L"n", L"d", L"t", L"x"));
    CHECK(shown(document) == before);
}

TEST_CASE_FIXTURE(WritingFixture, "The put functions fail after a failed import") {
    REQUIRE_FALSE(document.importFromString(L"<TarloData>"));
    CHECK_FALSE(document.putPortfolio(L"P", L"T"));
    CHECK_FALSE(document.putInstrument(L"A", L"K", L"F"));
    CHECK_FALSE(document.putNewsStory(L"n", L"d", L"t", L"x"));
    CHECK(shown(document).empty());
}

TEST_CASE_FIXTURE(WritingFixture,
                  "An import after a put returns the result of the put and changes nothing") {
    REQUIRE(document.putPortfolio(L"P", L"T"));
    const std::wstring before = shown(document);
    CHECK(document.importFromString(L"<TarloData><Instruments/></TarloData>"));
    CHECK(document.importFromString(L"no xml"));
    CHECK(document.importFromString(L""));
    CHECK(shown(document) == before);
    CHECK(document.putPortfolio(L"Q", L"T"));
}

TEST_CASE_FIXTURE(WritingFixture,
                  "All text is read unchanged from a copy of the document and from its XML") {
    for (const Sample& sample : kTexts) {
        const std::wstring& text = sample.text;
        CAPTURE(sample.label);
        FormatXML written;
        REQUIRE(written.putPortfolio(text, L"T"));
        ATL::CComPtr<IXMLDOMDocument2> copy;
        std::wstring xml, value;
        REQUIRE(written.exportToXML(&copy));
        REQUIRE(written.exportToString(xml));

        FormatXML fromCopy;
        REQUIRE(fromCopy.importFromXML(*copy));
        REQUIRE(fromCopy.getPortfolio() == 1);
        CHECK(fromCopy.getPortfolio_PortfolioId(value));
        CHECK(value == text);

        FormatXML fromText;
        REQUIRE(fromText.importFromString(xml));
        REQUIRE(fromText.getPortfolio() == 1);
        CHECK(fromText.getPortfolio_PortfolioId(value));
        CHECK(value == text);
    }
}

TEST_CASE_FIXTURE(WritingFixture, "All text is read unchanged through every value getter") {
    for (const Sample& sample : kTexts) {
        const std::wstring& text = sample.text;
        CAPTURE(sample.label);
        FormatXML written, read;
        REQUIRE(written.putPortfolio(text, text));
        REQUIRE(written.putChainInstrument(text, text, text, text));
        REQUIRE(written.putInstrumentParent(text, text, text, text));
        REQUIRE(written.putField(text, text, text));
        REQUIRE(written.putNewsStory(text, text, text, text));
        std::wstring xml;
        REQUIRE(written.exportToString(xml));
        REQUIRE(read.importFromString(xml));
        REQUIRE(read.getPortfolio() == 1);
        REQUIRE(read.getInstrument() == 1);
        REQUIRE(read.getField() == 1);
        for (const Getter get :
             {&FormatXML::getPortfolio_PortfolioId, &FormatXML::getPortfolio_Type,
              &FormatXML::getInstrument_ItemCode, &FormatXML::getInstrument_Keyletter,
              &FormatXML::getField_Name, &FormatXML::getField_FID}) {
            std::wstring value;
            CHECK((read.*get)(value));
            CHECK(value == text);
        }
        CHECK(shown(read) == shown(written));
    }
}

TEST_CASE_FIXTURE(WritingFixture,
                  "A copy keeps a string of white space, but parsers drop it from the XML") {
    REQUIRE(document.putPortfolio(L" \t", L"T"));
    ATL::CComPtr<IXMLDOMDocument2> copy;
    std::wstring xml, value = kUntouched;
    REQUIRE(document.exportToXML(&copy));
    REQUIRE(document.exportToString(xml));
    FormatXML fromCopy, fromText;
    REQUIRE(fromCopy.importFromXML(*copy));
    REQUIRE(fromText.importFromString(xml));
    REQUIRE(fromText.getPortfolio() == 1);
    CHECK_FALSE(fromText.getPortfolio_PortfolioId(value));
    CHECK(value == kUntouched);
    REQUIRE(fromCopy.getPortfolio() == 1);
    CHECK(fromCopy.getPortfolio_PortfolioId(value));
    CHECK(value == L" \t");
}

TEST_CASE_FIXTURE(WritingFixture,
                  "A copy keeps a character that XML forbids, but parsers reject the XML") {
    for (const wchar_t* text : {L"a\x01z", L"\x1f", L"a\xfffez", L"\xffff"}) {
        FormatXML written;
        REQUIRE(written.putPortfolio(text, L"T"));
        ATL::CComPtr<IXMLDOMDocument2> copy;
        std::wstring xml, value;
        REQUIRE(written.exportToXML(&copy));
        REQUIRE(written.exportToString(xml));

        FormatXML fromCopy;
        REQUIRE(fromCopy.importFromXML(*copy));
        REQUIRE(fromCopy.getPortfolio() == 1);
        CHECK(fromCopy.getPortfolio_PortfolioId(value));
        CHECK(value == text);

        FormatXML fromText;
        CHECK_FALSE(fromText.importFromString(xml));
    }
}

TEST_CASE_FIXTURE(
    WritingFixture,
    "A value with a NUL or an unpaired surrogate is skipped, and other values are written") {
    for (const std::wstring& text : {std::wstring(L"a\0b", 3), std::wstring(L"a\xd83d"),
                                     std::wstring(L"\xde00z"), std::wstring(L"\xde00\xd83d")}) {
        FormatXML written;
        CHECK(written.putPortfolio(text, L"T"));
        CHECK(shownUnder(written, L"Portfolios") == L"Portfolios(Portfolio(Type='T'))");
    }
}

TEST_CASE_FIXTURE(WritingFixture,
                  "exportToXML on a new object returns false and keeps the pointer") {
    ATL::CComPtr<IXMLDOMDocument2> other;
    FormatXML full;
    REQUIRE(full.putPortfolio(L"P", L"T"));
    REQUIRE(full.exportToXML(&other));
    IXMLDOMDocument2* out = other;
    CHECK_FALSE(document.exportToXML(&out));
    CHECK(out == other.p);
}

TEST_CASE_FIXTURE(WritingFixture, "exportToXML with a null pointer returns false") {
    REQUIRE(document.putPortfolio(L"P", L"T"));
    CHECK_FALSE(document.exportToXML(nullptr));
}

TEST_CASE_FIXTURE(
    WritingFixture,
    "exportToXML returns a copy with one reference, and later puts do not change it") {
    REQUIRE(document.putPortfolio(L"P", L"T"));
    IXMLDOMDocument2* copy = nullptr;
    REQUIRE(document.exportToXML(&copy));
    REQUIRE(document.putPortfolio(L"Q", L"T"));
    ATL::CComPtr<IXMLDOMElement> root;
    REQUIRE(copy->get_documentElement(&root) == S_OK);
    CHECK(shown(*root) ==
          L"TarloData[Version='1.0'](Portfolios(Portfolio(PortfolioId='P' Type='T')) "
          L"Instruments NewsStory)");
    root.Release();
    CHECK(copy->Release() == 0);
}

TEST_CASE_FIXTURE(WritingFixture, "exportToXML clears the pointer if the copy cannot be created") {
    ObservedDom dom;
    for (const wchar_t* failing : {L"create", L"load"}) {
        FormatXML written;
        REQUIRE(written.putPortfolio(L"P", L"T"));
        dom.setResult(failing, E_FAIL);
        IXMLDOMDocument2* copy = reinterpret_cast<IXMLDOMDocument2*>(&dom);
        CHECK_FALSE(written.exportToXML(&copy));
        CHECK(copy == nullptr);
        dom.onCall = nullptr;
    }
    CHECK(dom.objects == 0);
}

TEST_CASE_FIXTURE(WritingFixture,
                  "exportToString returns the XML of the document, and writing can continue") {
    std::wstring xml;
    REQUIRE(document.putInstrument(L"A", L"K", L"F"));
    REQUIRE(document.exportToString(xml));
    REQUIRE(document.putField(L"n", L"1", L"v"));
    FormatXML read;
    REQUIRE(read.importFromString(xml));
    CHECK(shown(read) ==
          L"TarloData[Version='1.0'](Portfolios "
          L"Instruments(Instrument(ItemCode='A' KeyLetter='K' Datafeed='F' Parent Fields)) "
          L"NewsStory)");
    REQUIRE(document.exportToString(xml));
    CHECK(xml.find(L"<Field>") != xml.npos);
}

TEST_CASE_FIXTURE(
    WritingFixture,
    "exportToString returns false and keeps the string without a document or if get_xml fails") {
    std::wstring xml = kUntouched;
    CHECK_FALSE(document.exportToString(xml));
    ObservedDom dom;
    FormatXML written;
    REQUIRE(written.putPortfolio(L"P", L"T"));
    dom.setResult(L"get_xml", E_FAIL);
    CHECK_FALSE(written.exportToString(xml));
    CHECK(xml == kUntouched);
}

TEST_CASE_FIXTURE(WritingFixture, "A long list is read completely from the XML of the document") {
    for (int i = 0; i < 300; ++i) {
        REQUIRE(document.putInstrument(L"R&D" + std::to_wstring(i), L"K", L" F "));
        REQUIRE(document.putField(L"n", std::to_wstring(i), L"<v>"));
    }
    std::wstring xml;
    REQUIRE(document.exportToString(xml));
    FormatXML read;
    REQUIRE(read.importFromString(xml));
    CHECK(shown(read) == shown(document));
}

TEST_CASE_FIXTURE(WritingFixture, "The document is created and filled in a fixed order") {
    ObservedDom dom;
    {
        FormatXML written;
        CHECK(written.putChainInstrument(L"i", L"c", L"k", L"d"));
        CHECK(written.putField(L"n", L"1", L"v"));
    }
    CHECK(dom.objects == 0);
    const std::vector<std::wstring> expected = {
        L"create",
        L"setProperty SelectionLanguage XPath",
        L"createElement TarloData",
        L"putref_documentElement TarloData",
        L"setAttribute Version 1.0",
        L"createElement Portfolios",
        L"appendChild Portfolios",
        L"createElement Instruments",
        L"appendChild Instruments",
        L"createElement NewsStory",
        L"appendChild NewsStory",
        L"createElement Instrument",
        L"appendChild Instrument",
        L"createNode ItemCode",
        L"put_nodeTypedValue i",
        L"appendChild ItemCode",
        L"createNode ChainCode",
        L"put_nodeTypedValue c",
        L"appendChild ChainCode",
        L"createNode KeyLetter",
        L"put_nodeTypedValue k",
        L"appendChild KeyLetter",
        L"createNode Datafeed",
        L"put_nodeTypedValue d",
        L"appendChild Datafeed",
        L"createElement Parent",
        L"appendChild Parent",
        L"createElement Fields",
        L"appendChild Fields",
        L"createElement Field",
        L"appendChild Field",
        L"createNode Value",
        L"put_nodeTypedValue v",
        L"appendChild Value",
        L"createNode FID",
        L"put_nodeTypedValue 1",
        L"appendChild FID",
        L"createNode Name",
        L"put_nodeTypedValue n",
        L"appendChild Name",
    };
    CHECK(dom.calls == expected);
}

TEST_CASE_FIXTURE(WritingFixture,
                  "An object cannot be used after its document could not be created") {
    ObservedDom dom;
    constexpr int kCallsOfBeginning = 11;
    for (int n = 1; n <= kCallsOfBeginning; ++n) {
        CAPTURE(n);
        FormatXML written;
        dom.failNth(n);
        CHECK_FALSE(written.putPortfolio(L"P", L"T"));
        CHECK_FALSE(written.putPortfolio(L"P", L"T"));
        CHECK_FALSE(written.putInstrument(L"A", L"K", L"F"));
        CHECK_FALSE(written.putNewsStory(L"n", L"d", L"t", L"x"));
        CHECK_FALSE(written.importFromString(L"<TarloData/>"));
        std::wstring xml;
        CHECK_FALSE(written.exportToString(xml));
    }
    CHECK(dom.objects == 0);
}

TEST_CASE_FIXTURE(
    WritingFixture,
    "Writing and importing fail if the document class reports success without a document") {
    const testsupport::ScriptedClass nothing(testsupport::kDocument30,
                                             [](REFIID, void**) { return S_OK; });
    CHECK_FALSE(document.putPortfolio(L"P", L"T"));
    FormatXML read;
    CHECK_FALSE(read.importFromString(L"<TarloData/>"));
}

TEST_CASE("Nothing can be written on a thread without COM") {
    FormatXML written;
    CHECK_FALSE(written.putPortfolio(L"P", L"T"));
}

TEST_CASE_FIXTURE(
    WritingFixture,
    "putPortfolio fails if its own element cannot be added, but not if a child cannot be added") {
    ObservedDom dom;
    FormatXML written;
    REQUIRE(written.putPortfolio(L"P", L"T"));
    for (const wchar_t* failing : {L"createElement Portfolio", L"appendChild Portfolio"}) {
        dom.setResult(failing, E_FAIL);
        CHECK_FALSE(written.putPortfolio(L"Q", L"T"));
    }
    for (const wchar_t* failing :
         {L"createNode Type", L"put_nodeTypedValue T", L"appendChild Type"}) {
        dom.setResult(failing, E_FAIL);
        CHECK(written.putPortfolio(L"R", L"T"));
    }
    dom.onCall = nullptr;
    CHECK(shownUnder(written, L"Portfolios") ==
          L"Portfolios(Portfolio(PortfolioId='P' Type='T') Portfolio(PortfolioId='R') "
          L"Portfolio(PortfolioId='R') Portfolio(PortfolioId='R'))");
}

TEST_CASE_FIXTURE(
    WritingFixture,
    "putInstrument returns false if its parent or fields element cannot be appended") {
    ObservedDom dom;
    FormatXML written;
    REQUIRE(written.putInstrument(L"A", L"K", L"F"));
    for (const wchar_t* failing : {L"createElement Parent", L"appendChild Parent",
                                   L"createElement Fields", L"appendChild Fields"}) {
        dom.setResult(failing, E_FAIL);
        CHECK_FALSE(written.putInstrument(L"B", L"K", L"F"));
        dom.onCall = nullptr;
        CHECK_FALSE(written.putField(L"n", L"1", L"v"));
    }
    CHECK(written.putInstrument(L"C", L"K", L"F"));
    CHECK(written.putField(L"n", L"1", L"v"));
}

TEST_CASE_FIXTURE(WritingFixture,
                  "putInstrument keeps the current instrument if it cannot append its element") {
    ObservedDom dom;
    FormatXML written;
    REQUIRE(written.putInstrument(L"A", L"K", L"F"));
    for (const wchar_t* failing : {L"createElement Instrument", L"appendChild Instrument"}) {
        dom.setResult(failing, E_FAIL);
        CHECK_FALSE(written.putChainInstrument(L"B", L"C", L"K", L"F"));
    }
    dom.onCall = nullptr;
    CHECK(written.putField(L"n", L"1", L"v"));
    CHECK(shownUnder(written, L"Instruments") ==
          L"Instruments(Instrument(ItemCode='A' KeyLetter='K' Datafeed='F' Parent "
          L"Fields(Field(Value='v' FID='1' Name='n'))))");
}

TEST_CASE_FIXTURE(WritingFixture,
                  "putInstrument returns true if only its values cannot be written") {
    ObservedDom dom;
    FormatXML written;
    dom.setResult(L"createNode KeyLetter", E_FAIL);
    CHECK(written.putInstrument(L"A", L"K", L"F"));
    dom.onCall = nullptr;
    CHECK(shownUnder(written, L"Instruments") ==
          L"Instruments(Instrument(ItemCode='A' Datafeed='F' Parent Fields))");
}

TEST_CASE_FIXTURE(
    WritingFixture,
    "putField fails if its own element cannot be added, but not if a child cannot be added") {
    ObservedDom dom;
    FormatXML written;
    REQUIRE(written.putInstrument(L"A", L"K", L"F"));
    for (const wchar_t* failing : {L"createElement Field", L"appendChild Field"}) {
        dom.setResult(failing, E_FAIL);
        CHECK_FALSE(written.putField(L"n", L"1", L"v"));
    }
    dom.setResult(L"createNode FID", E_FAIL);
    CHECK(written.putField(L"n", L"1", L"v"));
    dom.onCall = nullptr;
    CHECK(shownUnder(written, L"Instruments/Instrument/Fields") ==
          L"Fields(Field(Value='v' Name='n'))");
}

TEST_CASE_FIXTURE(
    WritingFixture,
    "putInstrumentParent and putNewsStory return true even if values cannot be written") {
    ObservedDom dom;
    FormatXML written;
    REQUIRE(written.putInstrument(L"A", L"K", L"F"));
    dom.onCall = [](const std::wstring& call) {
        return call.starts_with(L"createNode") ? E_FAIL : S_OK;
    };
    CHECK(written.putInstrumentParent(L"t", L"v", L"0", L"0"));
    CHECK(written.putNewsStory(L"n", L"d", L"t", L"x"));
}

TEST_CASE_FIXTURE(WritingFixture,
                  "Writing an instrument document reports a failure whenever an allocation fails") {
    bool complete = false;
    const auto write = [&] {
        try {
            FormatXML written;
            written.putPortfolio(L"P", L"T&T");
            written.putChainInstrument(L"A", L"C", L"K", L"F");
            written.putInstrumentParent(L"t", L"v", L"0", L"0");
            written.putField(L"n", L"1", L"a value that no short string holds");
            written.putNewsStory(L"n", L"d", L"t", L"x");
            std::wstring xml;
            written.exportToString(xml);
            ATL::CComPtr<IXMLDOMDocument2> copy;
            complete = written.exportToXML(&copy);
        } catch (const std::bad_alloc&) {
            complete = false;
        } catch (const _com_error& error) {
            complete = false;
            CHECK(error.Error() == E_OUTOFMEMORY);
        }
    };
    const long failures =
        testsupport::sweepAllocationFailures(write, [&](long) { CHECK_FALSE(complete); });
    CHECK(complete);
    CHECK(failures > 50);
}
