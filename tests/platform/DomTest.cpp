#include "platform/Dom.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/UntrustedXml.h"
#include "platform/Wine.h"
#include "tests/support/Apartment.h"
#include "tests/support/InterfaceIds.h"
#include "tests/support/LeakListener.h"
#include "tests/support/ReadAttribute.h"
#include "tests/support/ScriptedDom.h"

using platform::Bstr;
using platform::Variant;
namespace dom = platform::dom;

using Document = ATL::CComPtr<IXMLDOMDocument2>;
using Node = ATL::CComPtr<IXMLDOMNode>;

namespace {

/// Initializes COM on this thread and creates an MSXML 3.0 document.
struct DocumentFixture {
    testsupport::Apartment apartment;
    Document document = newDocument();

    static Document newDocument() {
        Document created;
        REQUIRE(dom::createDocument(dom::kDocument30, created) == S_OK);
        return created;
    }
    static Document parsed(std::wstring_view text) {
        Document created = newDocument();
        REQUIRE(dom::loadText(*created, text) == S_OK);
        return created;
    }
    static Document copied(IXMLDOMDocument2& source) {
        Document created;
        REQUIRE(platform::copyDocument(dom::kDocument30, source, created) == S_OK);
        return created;
    }
    static std::wstring xml(IXMLDOMNode& node) {
        Bstr text;
        REQUIRE(dom::readXml(node, text) == S_OK);
        return std::wstring(text.view());
    }
    static Node child(IXMLDOMNode& parent) {
        Node first;
        REQUIRE(parent.get_firstChild(&first) == S_OK);
        return first;
    }
    static Node root(IXMLDOMDocument2& of) {
        ATL::CComPtr<IXMLDOMElement> element;
        REQUIRE(of.get_documentElement(&element) == S_OK);
        return element.p;
    }
    static std::wstring typedText(IXMLDOMNode& element) {
        Variant value;
        REQUIRE(platform::wine::readTypedValue(*child(element), value) == S_OK);
        REQUIRE(value.get().vt == VT_BSTR);
        return std::wstring(value.text());
    }

    /// Adds an element named `name` as the root element of the document.
    Node putRoot(std::wstring_view name) {
        Node element;
        REQUIRE(dom::appendElement(*document, *document, name, element) == S_OK);
        return element;
    }
};

bool isWhite(std::wstring_view text) { return text.find_first_not_of(L" \t\r\n") == text.npos; }

/// Appends the type, the name, the value and the attributes of each node of a tree to `into`, so
/// that trees can be compared. White space between elements is omitted.
void describe(IXMLDOMNode& node, std::wstring& into) {
    DOMNodeType type;
    Bstr name;
    Variant value;
    REQUIRE(node.get_nodeType(&type) == S_OK);
    REQUIRE(node.get_nodeName(name.receive()) == S_OK);
    node.get_nodeValue(value.receive());
    if (type == NODE_TEXT && isWhite(value.text())) return;
    into.append(std::to_wstring(type)).append(L" ").append(name.view());
    into.append(L"=").append(value.text()).append(L"\n");
    ATL::CComPtr<IXMLDOMNamedNodeMap> attributes;
    if (node.get_attributes(&attributes) == S_OK) {
        std::vector<std::wstring> all;
        for (Node one; attributes->nextNode(&one) == S_OK; one.Release()) {
            all.emplace_back();
            describe(*one, all.back());
        }
        std::sort(all.begin(), all.end());
        for (const auto& one : all) into += one;
    }
    if (type == NODE_ATTRIBUTE) return;
    Node at;
    node.get_firstChild(&at);
    while (at) {
        describe(*at, into);
        Node next;
        at->get_nextSibling(&next);
        at = next;
    }
    into += L".\n";
}

std::wstring description(IXMLDOMNode& node) {
    std::wstring text;
    describe(node, text);
    return text;
}

/// Returns true if both objects represent the same node. Several objects can represent one node, so
/// the function sets an attribute through one object and reads it through the other.
bool isSame(IXMLDOMNode& one, IXMLDOMNode& other) {
    ATL::CComPtr<IXMLDOMElement> marked;
    Bstr mark;
    REQUIRE(one.QueryInterface(testsupport::kIXMLDOMElement, reinterpret_cast<void**>(&marked)) ==
            S_OK);
    REQUIRE(dom::setAttribute(*marked, L"mark", Variant(L"here")) == S_OK);
    const bool isMarked = testsupport::readAttribute(other, L"mark", mark) == S_OK;
    REQUIRE(marked->removeAttribute(Bstr(L"mark").get()) == S_OK);
    return isMarked;
}

std::wstring list(int items) {
    std::wstring text;
    for (int i = 0; i < items; ++i)
        text += L"<Item n=\"" + std::to_wstring(i) + L"\"><a> R&amp;D \u65e5 </a><b/></Item>";
    return text;
}

struct Sample {
    std::string label;
    std::wstring text;
};

const std::vector<Sample> kTexts = {
    {"plain", L"ABC.DE"},
    {"markup", L"<x a=\"1\">&'</x>"},
    {"ampersand", L"R&D"},
    {"entity as text", L"&amp;&lt;&#65;&unknown;"},
    {"end of a section", L"]]>"},
    {"line ends and tab", L"a\nb\rc\r\nd\te"},
    {"line ends and ampersand", L"R&D\r\nnext"},
    {"white space at the ends", L"  a  "},
    {"white space at the ends and ampersand", L"  R & D  "},
    {"delete and C1 controls",
     L"a\x7f\x80\x85"
     L"b"},
    {"Latin and CJK", L"\u00e9\u65e5\u672c\u8a9e"},
    {"surrogate pair", L"\U0001f600\U0010ffff"},
    {"byte order mark",
     L"\ufeff"
     L"a"},
    {"no-break space alone", L"\u00a0"},
};

}  // namespace

TEST_CASE_FIXTURE(DocumentFixture, "createDocument creates an empty document of either class") {
    for (REFCLSID clsid : {dom::kDocument30, dom::kDocument60}) {
        Document tested;
        CHECK(dom::createDocument(clsid, tested) == S_OK);
        REQUIRE(tested);
        ATL::CComPtr<IXMLDOMElement> element;
        CHECK(tested->get_documentElement(&element) == S_FALSE);
    }
    ATL::CComPtr<IXMLDOMDocument> older;
    CHECK(dom::createDocument(dom::kDocument30, older) == S_OK);
    CHECK(older);
}

TEST_CASE_FIXTURE(DocumentFixture,
                  "createDocument clears the output if the class is not registered") {
    CHECK(dom::createDocument(IID_IUnknown, document) == REGDB_E_CLASSNOTREG);
    CHECK_FALSE(document);
    testsupport::ignoreLeaks();  // Wine keeps two handles open after a search for a COM server
}

TEST_CASE_FIXTURE(DocumentFixture, "selectWithXPath makes XPath the query language") {
    Document tested = parsed(L"<R><a>1</a><a>2</a></R>");
    Node found;
    REQUIRE(dom::selectWithXPath(*tested) == S_OK);
    CHECK(dom::selectSingleNode(*tested, L"R/a[position()=last()]", found) == S_OK);
    REQUIRE(found);
    CHECK(typedText(*found) == L"2");
}

TEST_CASE_FIXTURE(DocumentFixture, "loadText reports whether the text is well-formed") {
    CHECK(dom::loadText(*document, L"<R/>") == S_OK);
    CHECK(dom::loadText(*document, L"<R>") == S_FALSE);
    CHECK(dom::loadText(*document, L"") == S_FALSE);
}

TEST_CASE_FIXTURE(DocumentFixture, "loadObject makes an independent copy of a document") {
    const Document source = parsed(L"<R><a>1</a></R>");
    REQUIRE(dom::loadObject(*document, *source) == S_OK);
    Node added;
    REQUIRE(dom::appendElement(*source, *root(*source), L"b", added) == S_OK);
    CHECK(description(*root(*document)) == description(*root(*parsed(L"<R><a>1</a></R>"))));
}

TEST_CASE_FIXTURE(DocumentFixture, "loadObject keeps no reference to its source") {
    Document source = parsed(L"<R/>");
    REQUIRE(dom::loadObject(*document, *source) == S_OK);
    CHECK(source.Detach()->Release() == 0);
}

TEST_CASE_FIXTURE(DocumentFixture, "loadObject releases no reference that it did not add") {
    testsupport::ScriptedDocument source;  // loadObject() keeps no reference to this object

    CHECK(dom::loadObject(*document, source) != S_OK);

    CHECK(source.references() == 0);
}

TEST_CASE_FIXTURE(DocumentFixture, "loadObject reads a stream") {
    ATL::CComPtr<IStream> stream;
    REQUIRE(::CreateStreamOnHGlobal(nullptr, TRUE, &stream) == S_OK);
    REQUIRE(stream->Write("<R/>", 4, nullptr) == S_OK);
    REQUIRE(stream->Seek({}, STREAM_SEEK_SET, nullptr) == S_OK);
    CHECK(dom::loadObject(*document, *stream) == S_OK);
}

TEST_CASE_FIXTURE(DocumentFixture, "loadFile reads a file and reports a missing file") {
    wchar_t folder[MAX_PATH], path[MAX_PATH];
    REQUIRE(::GetTempPathW(MAX_PATH, folder) != 0);
    REQUIRE(::GetTempFileNameW(folder, L"dom", 0, path) != 0);
    const HANDLE file = ::CreateFileW(path, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    DWORD written = 0;
    REQUIRE(::WriteFile(file, "<R/>", 4, &written, nullptr));
    REQUIRE(::CloseHandle(file));

    CHECK(dom::loadFile(*document, path) == S_OK);
    REQUIRE(::DeleteFileW(path));
    CHECK(dom::loadFile(*document, path) != S_OK);
}

TEST_CASE_FIXTURE(DocumentFixture,
                  "copyDocument copies a document that was built through the DOM") {
    const Node element = putRoot(L"R");
    REQUIRE(dom::appendTextElement(*document, *element, L"a", L"R&D") == S_OK);
    const Document copy = copied(*document);
    CHECK(description(*copy) == description(*document));
}

TEST_CASE_FIXTURE(DocumentFixture,
                  "appendElement adds a last child through createNode or createElement") {
    const Node parent = putRoot(L"R");
    Node first;
    ATL::CComPtr<IXMLDOMElement> second;
    CHECK(dom::appendElement(*document, *parent, L"a", first) == S_OK);
    CHECK(dom::appendElement(*document, *parent, L"b", second) == S_OK);
    CHECK(description(*parent) == description(*root(*parsed(L"<R><a/><b/></R>"))));
}

TEST_CASE_FIXTURE(DocumentFixture, "createElement rejects a string that is not a name") {
    Node element;
    CHECK(FAILED(dom::createElement(*document, L"", element)));
    CHECK_FALSE(element);
}

TEST_CASE_FIXTURE(DocumentFixture, "putText keeps every character that XML allows") {
    for (const Sample& sample : kTexts) {
        const std::wstring& text = sample.text;
        CAPTURE(sample.label);
        Document built = newDocument();
        Node element;
        REQUIRE(dom::appendElement(*built, *built, L"R", element) == S_OK);
        REQUIRE(dom::putText(*element, text) == S_OK);
        CHECK(typedText(*element) == text);
        CHECK(typedText(*root(*copied(*built))) == text);
        CHECK(typedText(*root(*parsed(xml(*built)))) == text);
    }
}

TEST_CASE_FIXTURE(DocumentFixture, "putText replaces the contents of the element") {
    const Document tested = parsed(L"<R>a<b/>c</R>");
    REQUIRE(dom::putText(*root(*tested), L"R&D") == S_OK);
    CHECK(description(*tested) == description(*parsed(L"<R>R&amp;D</R>")));
}

TEST_CASE_FIXTURE(DocumentFixture, "putText with an empty string leaves the element empty") {
    const Node element = putRoot(L"R");
    REQUIRE(dom::putText(*element, L"") == S_OK);
    Node child;
    CHECK(element->get_firstChild(&child) == S_FALSE);
}

TEST_CASE_FIXTURE(DocumentFixture,
                  "putText keeps characters that XML forbids, but parsers reject the text") {
    for (const wchar_t* text : {L"a\x01", L"\x1f", L"a\xfffe", L"\xffff"}) {
        Document built = newDocument();
        Node element;
        REQUIRE(dom::appendElement(*built, *built, L"R", element) == S_OK);
        REQUIRE(dom::putText(*element, text) == S_OK);
        CHECK(typedText(*element) == text);
        CHECK(typedText(*root(*copied(*built))) == text);
        CHECK(dom::loadText(*document, xml(*built)) != S_OK);
    }
}

TEST_CASE_FIXTURE(DocumentFixture,
                  "putText keeps or rejects forbidden characters beside an ampersand") {
    const Node element = putRoot(L"R");
    const std::wstring text = L"R&D \x01";
    const HRESULT hr = dom::putText(*element, text);
    if (hr == S_OK)
        CHECK(typedText(*element) == text);
    else
        CHECK(hr == E_INVALIDARG);
}

TEST_CASE_FIXTURE(DocumentFixture, "putText rejects a NUL and unpaired surrogates") {
    const Node element = putRoot(L"R");
    for (const std::wstring& text : {std::wstring(L"a\0b", 3), std::wstring(L"a\xd83d"),
                                     std::wstring(L"\xde00"), std::wstring(L"\xd83d\xd83d\xde00"),
                                     std::wstring(L"\xd83dx"), std::wstring(L"\xd83d\xe000")}) {
        CHECK(dom::putText(*element, text) == E_INVALIDARG);
        CHECK(dom::appendTextElement(*document, *element, L"a", text) == E_INVALIDARG);
    }
    CHECK(description(*element) == description(*root(*parsed(L"<R/>"))));
}

TEST_CASE_FIXTURE(DocumentFixture,
                  "appendTextElement adds elements with text in the order of the calls") {
    const Node element = putRoot(L"R");
    CHECK(dom::appendTextElement(*document, *element, L"a", L"<1>") == S_OK);
    CHECK(dom::appendTextElement(*document, *element, L"b", L"") == S_OK);
    CHECK(description(*document) == description(*parsed(L"<R><a>&lt;1&gt;</a><b/></R>")));
}

TEST_CASE_FIXTURE(DocumentFixture,
                  "readTypedValue returns all characters of text, comments and CDATA sections") {
    CHECK(typedText(*root(*parsed(L"<R>  a  </R>"))) == L"  a  ");
    CHECK(typedText(*root(*parsed(L"<R><![CDATA[ <b> ]]>c</R>"))) == L" <b> ");
    CHECK(typedText(*root(*parsed(L"<R><!-- d --></R>"))) == L" d ");
    CHECK(typedText(*root(*parsed(L"<R><e> f </e></R>"))) == L"f");
}

TEST_CASE_FIXTURE(DocumentFixture, "readTypedValue returns the value of an element's data type") {
    const Document tested =
        parsed(L"<R><n xmlns:dt='urn:schemas-microsoft-com:datatypes' dt:dt='int'>7</n></R>");
    Variant value;
    REQUIRE(platform::wine::readTypedValue(*child(*root(*tested)), value) == S_OK);
    CHECK(value.get().vt == VT_I4);
    CHECK(value.get().lVal == 7);
}

TEST_CASE_FIXTURE(DocumentFixture, "setAttribute writes strings and integers and replaces values") {
    ATL::CComPtr<IXMLDOMElement> element;
    REQUIRE(dom::appendElement(*document, *document, L"R", element) == S_OK);
    CHECK(dom::setAttribute(*element, L"a", Variant(L"1 & 2")) == S_OK);
    CHECK(dom::setAttribute(*element, L"b", Variant(std::int32_t{-3})) == S_OK);
    CHECK(dom::setAttribute(*element, L"c", Variant(std::uint32_t{4294967295})) == S_OK);
    CHECK(dom::setAttribute(*element, L"b", Variant(std::int32_t{5})) == S_OK);
    CHECK(description(*document) ==
          description(*parsed(L"<R a='1 &amp; 2' b='5' c='4294967295'/>")));
}

TEST_CASE_FIXTURE(DocumentFixture,
                  "readAttributes finds a qualified name in parsed, built and copied documents") {
    ATL::CComPtr<IXMLDOMElement> element;
    REQUIRE(dom::appendElement(*document, *document, L"R", element) == S_OK);
    REQUIRE(dom::setAttribute(*element, L"xmlns:ss", Variant(L"urn:s")) == S_OK);
    REQUIRE(dom::setAttribute(*element, L"Index", Variant(L"1")) == S_OK);
    REQUIRE(dom::setAttribute(*element, L"ss:Index", Variant(L"2")) == S_OK);
    const Document text = parsed(L"<R xmlns:ss='urn:s' Index='1' ss:Index='2'/>");

    for (const Document& tested : {document, text, copied(*document), copied(*text)}) {
        Bstr value;
        CHECK(testsupport::readAttribute(*root(*tested), L"ss:Index", value) == S_OK);
        CHECK(value.view() == L"2");
        CHECK(testsupport::readAttribute(*root(*tested), L"Index", value) == S_OK);
        CHECK(value.view() == L"1");
        CHECK(testsupport::readAttribute(*root(*tested), L"s:Index", value) == S_FALSE);
        CHECK(value.get() == nullptr);
    }
}

TEST_CASE_FIXTURE(DocumentFixture,
                  "readAttributes finds nothing on a node that cannot have attributes") {
    Bstr value;
    CHECK(testsupport::readAttribute(*child(*root(*parsed(L"<R>text</R>"))), L"a", value) ==
          S_FALSE);
}

TEST_CASE_FIXTURE(DocumentFixture,
                  "selectSingleNode returns the first match, S_FALSE for no match, an error for an "
                  "invalid query") {
    const Document tested = parsed(L"<R><a>1</a><a>2</a></R>");
    Node found;
    CHECK(dom::selectSingleNode(*root(*tested), L"a", found) == S_OK);
    REQUIRE(found);
    CHECK(typedText(*found) == L"1");
    CHECK(dom::selectSingleNode(*root(*tested), L"b", found) == S_FALSE);
    CHECK_FALSE(found);
    REQUIRE(dom::selectWithXPath(*tested) == S_OK);
    CHECK(FAILED(dom::selectSingleNode(*root(*tested), L"a[", found)));
    CHECK_FALSE(found);
}

TEST_CASE_FIXTURE(DocumentFixture, "readXml returns a node and its contents") {
    const Document tested = parsed(L"<R><a>1</a></R>");
    CHECK(xml(*child(*root(*tested))) == L"<a>1</a>");
}

TEST_CASE_FIXTURE(DocumentFixture,
                  "readXml returns a long list as XML that parses to the same document") {
    const std::vector<Sample> documents = {
        {"as the document's element", L"<R>" + list(300) + L"</R>"},
        {"two levels down",
         L"<R><x> y </x><L a='&lt;\"' b=''><M>" + list(300) + L"</M>" + list(3) + L"</L><z/></R>"},
        {"deeper", L"<R><a><b><c>" + list(300) + L"</c></b></a></R>"},
        {"two lists", L"<R><L>" + list(300) + L"</L><M>" + list(400) + L"</M></R>"},
        {"with instructions and comments",
         L"<?xml version='1.0'?><?mso-application progid='Q'?>"
         L"<!-- c --><R><?p q?>" +
             list(300) + L"<!-- d --></R><!-- e -->"},
        {"with an encoding", L"<?xml version='1.0' encoding='utf-16'?><R>" + list(300) + L"</R>"},
        {"with a document type", L"<!DOCTYPE R [<!ENTITY e 'E'>]><R>" + list(300) + L"</R>"},
        {"with text beside the items", L"<R> mixed " + list(300) + L" &amp; text</R>"},
        {"with a section beside the items", L"<R><![CDATA[<]]>" + list(300) + L"</R>"},
        {"with namespaces", L"<R xmlns='urn:r' xmlns:p='urn:p'><p:L p:a='1'>" + list(300) +
                                L"<p:Item/></p:L><L xmlns='urn:l'>" + list(300) + L"</L></R>"},
    };
    for (const Sample& sample : documents) {
        CAPTURE(sample.label);
        const Document tested = parsed(sample.text);
        CHECK(description(*root(*parsed(xml(*tested)))) == description(*root(*tested)));
        CHECK(description(*parsed(xml(*copied(*tested)))) == description(*parsed(xml(*tested))));
    }
}

TEST_CASE_FIXTURE(DocumentFixture, "readXml returns a long list of a built document completely") {
    ATL::CComPtr<IXMLDOMProcessingInstruction> declaration;
    REQUIRE(document->createProcessingInstruction(Bstr(L"xml").get(), Bstr(L"version='1.0'").get(),
                                                  &declaration) == S_OK);
    REQUIRE(document->appendChild(declaration, nullptr) == S_OK);
    ATL::CComPtr<IXMLDOMElement> book;
    REQUIRE(dom::createElement(*document, L"Workbook", book) == S_OK);
    REQUIRE(document->putref_documentElement(book) == S_OK);
    REQUIRE(dom::setAttribute(*book, L"xmlns", Variant(L"urn:s")) == S_OK);
    REQUIRE(dom::setAttribute(*book, L"xmlns:ss", Variant(L"urn:s")) == S_OK);
    ATL::CComPtr<IXMLDOMElement> sheet;
    REQUIRE(dom::appendElement(*document, *book, L"Worksheet", sheet) == S_OK);
    REQUIRE(dom::setAttribute(*sheet, L"ss:Name", Variant(L"<Sheet & 1>")) == S_OK);
    std::wstring rows;
    for (int i = 0; i < 300; ++i) {
        ATL::CComPtr<IXMLDOMElement> row;
        REQUIRE(dom::appendElement(*document, *sheet, L"Row", row) == S_OK);
        REQUIRE(dom::setAttribute(*row, L"ss:Index", Variant(std::int32_t{i})) == S_OK);
        rows += L"<Row ss:Index='" + std::to_wstring(i) + L"'/>";
    }

    const std::wstring text = xml(*document);
    const Document read = parsed(text);

    CHECK(text.starts_with(L"<?xml version="));
    CHECK(description(*root(*read)) ==
          description(*root(*parsed(L"<Workbook xmlns='urn:s' xmlns:ss='urn:s'>"
                                    L"<Worksheet ss:Name='&lt;Sheet &amp; 1&gt;'>" +
                                    rows + L"</Worksheet></Workbook>"))));
}

TEST_CASE_FIXTURE(DocumentFixture,
                  "selectChildElement finds the same element as selectSingleNode") {
    const wchar_t* texts[] = {
        L"<R><b/><a n='1'/><a n='2'/></R>",
        L"<R><?a instruction?><!--a--><a/></R>",
        L"<R>a<![CDATA[a]]><b><a/></b></R>",
        L"<R a='1'><b a='2'/></R>",
        L"<R><A/></R>",
        L"<R xmlns='urn:r'><a/></R>",
        L"<R xmlns:p='urn:p'><p:a/><a/></R>",
        L"<R xmlns:p='urn:p'><p:a/></R>",
        L"<R xmlns:a='urn:a'><a:b/></R>",
        L"<R/>",
    };
    for (const wchar_t* text : texts) {
        CAPTURE(std::wstring(text));
        const Document tested = parsed(text);
        const Document copy = copied(*tested);
        for (const Document& holder : {tested, copy}) {
            const Node parent = root(*holder);
            Node expected, found;
            const HRESULT hr = dom::selectSingleNode(*parent, L"a", expected);
            CHECK(dom::selectChildElement(*parent, L"a", found) == hr);
            REQUIRE((found != nullptr) == (expected != nullptr));
            if (found) CHECK(isSame(*found, *expected));
        }
    }
}

TEST_CASE_FIXTURE(DocumentFixture, "selectChildElement finds the elements of a built document") {
    const Node parent = putRoot(L"R");
    Node first, second, found;
    REQUIRE(dom::appendElement(*document, *parent, L"a", first) == S_OK);
    REQUIRE(dom::appendElement(*document, *parent, L"a", second) == S_OK);
    CHECK(dom::selectChildElement(*parent, L"a", found) == S_OK);
    CHECK(isSame(*found, *first));
    CHECK(dom::selectChildElement(*parent, L"b", found) == S_FALSE);
    CHECK(found == nullptr);
}
