// Tests documents and nodes that are not MSXML objects. Their methods may fail or return nothing.
// Also tests the workarounds for Wine's documents.
#include <doctest/doctest.h>
#include <windows.h>

#include <functional>
#include <string>
#include <string_view>

#include "platform/Dom.h"
#include "platform/UntrustedXml.h"
#include "platform/Wine.h"
#include "tests/support/Apartment.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ReadAttribute.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/ScriptedClass.h"
#include "tests/support/ScriptedDom.h"

using platform::Bstr;
using platform::Variant;
using namespace testsupport;
namespace dom = platform::dom;
namespace wine = platform::wine;

namespace {

const bool onWindows = !wine::isRunning();

/// Creates an MSXML document that contains <R><a/></R>.
struct SystemDocument {
    SystemDocument() {
        REQUIRE(dom::createDocument(dom::kDocument30, document) == S_OK);
        REQUIRE(dom::loadText(*document, L"<R><a/></R>") == S_OK);
        REQUIRE(document->get_documentElement(&root) == S_OK);
    }

    const Apartment apartment;
    ATL::CComPtr<IXMLDOMDocument2> document;
    ATL::CComPtr<IXMLDOMElement> root;
};

/// An element with one attribute, a="b".
struct ElementWithAttribute {
    ElementWithAttribute() {
        element.onGetAttributes = returnsObject(attributes);
        attributes.onNextNode = returnsObject(attribute);
        attribute.onGetNodeName = returnsText(L"a");
        attribute.onGetText = returnsText(L"b");
    }

    ScriptedNode element, attribute;
    ScriptedAttributes attributes;
};

}  // namespace

TEST_CASE("Only the text of another implementation's document is requested") {
    ScriptedDocument document;
    document.onGetXml = returnsText(L"<its own/>");
    bool wasSaved = false;
    document.onSave = [&wasSaved](const VARIANT&) {
        wasSaved = true;
        return S_OK;
    };
    Bstr text;

    CHECK(dom::readXml(document, text) == S_OK);

    CHECK(text.view() == L"<its own/>");
    CHECK_FALSE(wasSaved);
}

TEST_CASE("Another implementation's element receives any text as its typed value") {
    ScriptedNode element;
    std::wstring written;
    element.onPutNodeTypedValue = [&written](const VARIANT& value) {
        written = value.bstrVal;
        return S_FALSE;
    };

    CHECK(dom::putText(element, L"R&D") == S_FALSE);

    CHECK(written == L"R&D");
}

TEST_CASE("The typed value of another implementation's text node is used unchanged") {
    ScriptedNode node;
    node.onGetNodeType = returnsValue(NODE_TEXT);
    node.onGetNodeTypedValue = [](VARIANT* value) {
        value->vt = VT_BSTR;
        value->bstrVal = ::SysAllocString(L"given");
        return S_OK;
    };
    bool wasQueried = false;
    node.onGetNodeValue = [&wasQueried](VARIANT*) {
        wasQueried = true;
        return E_FAIL;
    };
    Variant value;

    CHECK(wine::readTypedValue(node, value) == S_OK);

    CHECK(value.text() == L"given");
    CHECK_FALSE(wasQueried);
}

TEST_CASE_FIXTURE(SystemDocument,
                  "Under Wine text with an ampersand is stored if XML allows its characters" *
                      doctest::skip(onWindows)) {
    for (const std::wstring text : {L"R&D", L"R&D\t\r\n", L"& \xFFFD"}) {
        CAPTURE(text);
        ATL::CComPtr<IXMLDOMNode> node;

        CHECK(wine::putTypedText(*root, Variant(text)) == S_OK);

        REQUIRE(root->get_firstChild(&node) == S_OK);
        Variant stored;
        CHECK(wine::readTypedValue(*node, stored) == S_OK);
        CHECK(stored.text() == text);
    }
    for (const std::wstring text : {L"& \x01", L"&\x1F", L"& \xFFFE", L"\xFFFF&"}) {
        CAPTURE(text);
        CHECK(wine::putTypedText(*root, Variant(text)) == E_INVALIDARG);
    }
}

TEST_CASE("An object whose methods are not in a loaded library is not a Wine object") {
    void* methods = nullptr;
    void** object = &methods;

    CHECK_FALSE(wine::isMsxmlObject(reinterpret_cast<IXMLDOMNode&>(object)));
}

TEST_CASE_FIXTURE(SystemDocument,
                  "Under Wine a child whose name cannot be read is found with a query" *
                      doctest::skip(onWindows)) {
    ATL::CComPtr<IXMLDOMNode> found;
    const ReplacedImport<decltype(::SysAllocStringLen)> noMemory(
        "SysAllocStringLen", +[](const OLECHAR*, UINT) -> BSTR { return nullptr; },
        ::GetModuleHandleW(L"msxml3.dll"));

    CHECK(wine::selectChildElement(*root, L"a", found) == S_OK);

    CHECK(found);
}

TEST_CASE_FIXTURE(SystemDocument, "A load that fails releases no reference to its source") {
    ScriptedDocument source;

    CHECK(dom::loadObject(*document, source) != S_OK);

    CHECK(source.references() == 0);
}

TEST_CASE_FIXTURE(SystemDocument, "readXml returns the characters from get_xml") {
    const wchar_t* texts[] = {
        L"",
        L"<R a='&lt;\u00e9&quot;'>\u65e5\U0001f600<a> x </a>\n<b/>&#13;\t&amp;&gt;</R>",
        L"<?xml version='1.0' encoding='utf-16'?><?p q?><!-- c\n --><R>1</R>",
        L"<?xml version='1.0' standalone='yes'?><R>\u00e9\n\n1</R>",
        L"<!DOCTYPE R [<!ENTITY e 'E'>]><R>&e;x</R>",
        L"<R><![CDATA[<\n\u00e9]]></R>",
    };
    for (const wchar_t* text : texts) {
        CAPTURE(std::wstring(text));
        dom::loadText(*document, text);
        Bstr expected, read;
        const HRESULT hr = document->get_xml(expected.receive());

        CHECK(dom::readXml(*document, read) == hr);

        CHECK(read.view() == expected.view());
    }
}

TEST_CASE("A null element with a success code is a failure") {
    ScriptedDocument document;
    document.onCreateNode = [](const VARIANT&, const std::wstring&, const std::wstring&,
                               IXMLDOMNode**) { return S_OK; };
    document.onCreateElement = [](const std::wstring&, IXMLDOMElement**) { return S_OK; };
    ATL::CComPtr<IXMLDOMNode> node;
    ATL::CComPtr<IXMLDOMElement> element;

    CHECK(dom::createElement(document, L"a", node) == E_FAIL);
    CHECK(dom::createElement(document, L"a", element) == E_FAIL);
}

TEST_CASE("A copy fails if the class reports success without a document") {
    const Apartment apartment;
    ScriptedDocument source;
    ATL::CComPtr<IXMLDOMDocument2> copy;
    const ScriptedClass none(dom::kDocument30, [](REFIID, void** object) {
        *object = nullptr;
        return S_OK;
    });

    CHECK(platform::copyDocument(dom::kDocument30, source, copy) == E_FAIL);
}

TEST_CASE("A copy fails if the document reports that it did not load its source") {
    const Apartment apartment;
    ScriptedDocument source, created;
    created.onLoad = [](const VARIANT&, VARIANT_BOOL* successful) {
        *successful = VARIANT_FALSE;
        return S_FALSE;
    };
    const ScriptedClass scripted(dom::kDocument30, created);
    ATL::CComPtr<IXMLDOMDocument2> copy;

    CHECK(platform::copyDocument(dom::kDocument30, source, copy) == E_FAIL);

    CHECK_FALSE(copy);
    CHECK(source.references() + created.references() == 0);
}

TEST_CASE("readAttributes reads the attribute of another implementation's element") {
    ElementWithAttribute fixture;
    Bstr value;

    CHECK(readAttribute(fixture.element, L"a", value) == S_OK);

    CHECK(value.view() == L"b");
}

TEST_CASE("readAttributes skips entries without a name and stops when it has found the others") {
    ElementWithAttribute made;
    int names = 0;
    made.attribute.onGetNodeName = [&names](BSTR* name) {
        return ++names == 1 ? returnsText(L"")(name) : returnsText(L"a")(name);
    };
    dom::AttributeValue attributes[] = {{{}, {}}, {L"a", {}}};

    CHECK(dom::readAttributes(made.element, {}, attributes) == S_OK);

    CHECK_FALSE(attributes[0].found);
    CHECK(attributes[1].value.view() == L"b");
    CHECK(names == 2);
}

TEST_CASE("readAttributes returns the error code if an attribute cannot be read") {
    const struct {
        const char* label;
        std::function<void(ElementWithAttribute&)> injectFailure;
    } rows[] = {
        {"the attributes fail",
         [](ElementWithAttribute& fixture) {
             fixture.element.onGetAttributes = returnsNothing(E_ACCESSDENIED);
         }},
        {"the next one fails",
         [](ElementWithAttribute& fixture) {
             fixture.attributes.onNextNode = returnsNothing(E_ACCESSDENIED);
         }},
        {"the name fails",
         [](ElementWithAttribute& fixture) {
             fixture.attribute.onGetNodeName = returnsNothing(E_ACCESSDENIED);
         }},
        {"the text fails",
         [](ElementWithAttribute& fixture) {
             fixture.attribute.onGetText = returnsNothing(E_ACCESSDENIED);
         }},
    };
    for (const auto& row : rows) {
        CAPTURE(row.label);
        ElementWithAttribute fixture;
        row.injectFailure(fixture);
        Bstr value;

        CHECK(readAttribute(fixture.element, L"a", value) == E_ACCESSDENIED);

        CHECK(value.view().empty());
    }
}
