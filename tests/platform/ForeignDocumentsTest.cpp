// Documents and nodes of somebody else, whose calls may fail or give out nothing. They stand in for
// those of Wine, too.
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

/// <!--c--><R> and a list in it so long that it is put together under Wine: it says that it has 257
/// items, of which one is there.
struct LongDocument {
    LongDocument() {
        document.onGetNodeType = givesValue(NODE_DOCUMENT);
        document.onGetFirstChild = gives(comment);
        comment.onGetNodeType = givesValue(NODE_COMMENT);
        comment.onGetXml = givesText(L"<!--c-->");
        comment.onGetNextSibling = gives(root);
        root.onGetNodeType = givesValue(NODE_ELEMENT);
        root.onGetNodeName = givesText(L"R");
        root.onGetChildNodes = gives(items);
        root.onGetFirstChild = gives(item);
        root.onGetNextSibling = givesNothing(S_FALSE);
        root.onCloneNode = gives(alone);
        alone.onGetXml = givesText(L"<R/>");
        items.onGetLength = givesValue(257L);
        item.onGetNodeType = givesValue(NODE_ELEMENT);
        item.onGetXml = givesText(L"<I/>");
        item.onGetChildNodes = gives(noItems);
        item.onGetFirstChild = givesNothing(S_FALSE);
        item.onGetNextSibling = givesNothing(S_FALSE);
        noItems.onGetLength = givesValue(0L);
    }
    LONG references() const {
        return document.references() + comment.references() + root.references() +
               alone.references() + item.references() + items.references() + noItems.references();
    }

    ScriptedDocument document;
    ScriptedNode comment, root, alone, item;
    ScriptedList items, noItems;
};

/// A document with an element that has one attribute, a="b".
struct ElementWithAttribute {
    ElementWithAttribute() {
        element.onGetAttributes = gives(attributes);
        attributes.onNextNode = gives(attribute);
        attribute.onGetNodeName = givesText(L"a");
        attribute.onGetText = givesText(L"b");
    }

    ScriptedNode element, attribute;
    ScriptedAttributes attributes;
};

}  // namespace

TEST_CASE("A long list is put together from its items") {
    LongDocument made;
    Bstr text;

    CHECK(wine::readLongXml(made.document, text));

    CHECK(text.view() == L"<!--c-->\r\n<R>\r\n<I/>\r\n</R>\r\n");
    CHECK(made.references() == 0);
}

TEST_CASE("Comments and instructions among the items of a long list are kept") {
    for (const DOMNodeType type : {NODE_COMMENT, NODE_PROCESSING_INSTRUCTION}) {
        LongDocument made;
        made.item.onGetNodeType = givesValue(type);
        Bstr text;

        CHECK(wine::readLongXml(made.document, text));

        CHECK(text.view() == L"<!--c-->\r\n<R>\r\n<I/>\r\n</R>\r\n");
    }
}

TEST_CASE("A list that says S_OK and gives no node has ended") {
    LongDocument made;
    made.root.onGetFirstChild = givesNothing(S_OK);
    Bstr text;

    CHECK(wine::readLongXml(made.document, text));

    CHECK(text.view() == L"<!--c-->\r\n<R>\r\n</R>\r\n");
}

TEST_CASE("A long list that cannot be put together is left to the document") {
    const struct {
        const char* label;
        std::function<void(LongDocument&)> spoil;
    } rows[] = {
        {"the document's children fail",
         [](LongDocument& made) { made.document.onGetFirstChild = givesNothing(E_FAIL); }},
        {"the document has no children",
         [](LongDocument& made) { made.document.onGetFirstChild = givesNothing(S_OK); }},
        {"the comment has no text",
         [](LongDocument& made) { made.comment.onGetXml = givesNothing(E_FAIL); }},
        {"an instruction has no target",
         [](LongDocument& made) {
             made.comment.onGetNodeType = givesValue(NODE_PROCESSING_INSTRUCTION);
         }},
        {"the list fails",
         [](LongDocument& made) { made.root.onGetChildNodes = givesNothing(E_FAIL); }},
        {"the list is none",
         [](LongDocument& made) { made.root.onGetChildNodes = givesNothing(S_OK); }},
        {"the list has no length", [](LongDocument& made) { made.items.onGetLength = nullptr; }},
        {"the items fail",
         [](LongDocument& made) { made.root.onGetFirstChild = givesNothing(E_FAIL); }},
        {"an item has no text",
         [](LongDocument& made) { made.item.onGetXml = givesNothing(E_FAIL); }},
        {"an item is text",
         [](LongDocument& made) { made.item.onGetNodeType = givesValue(NODE_TEXT); }},
        {"the element cannot be copied",
         [](LongDocument& made) { made.root.onCloneNode = givesNothing(E_FAIL); }},
        {"the copy is none",
         [](LongDocument& made) { made.root.onCloneNode = givesNothing(S_OK); }},
        {"the copy has no text",
         [](LongDocument& made) { made.alone.onGetXml = givesNothing(E_FAIL); }},
        {"the copy has a text of its own",
         [](LongDocument& made) { made.alone.onGetXml = givesText(L"<R></R>"); }},
        {"the element has no name",
         [](LongDocument& made) { made.root.onGetNodeName = givesNothing(E_FAIL); }},
    };
    for (const auto& row : rows) {
        CAPTURE(row.label);
        LongDocument made;
        row.spoil(made);
        Bstr text(L"untouched");

        CHECK_FALSE(wine::readLongXml(made.document, text));

        CHECK(text.view() == L"untouched");
        CHECK(made.references() == 0);
    }
}

TEST_CASE("A foreign document is asked for its text alone") {
    LongDocument made;
    made.document.onGetXml = givesText(L"<its own/>");
    bool wasWalked = false;
    made.document.onGetFirstChild = [&](IXMLDOMNode**) {
        wasWalked = true;
        return E_FAIL;
    };
    Bstr text;

    CHECK(dom::readXml(made.document, text) == S_OK);

    CHECK(text.view() == L"<its own/>");
    CHECK_FALSE(wasWalked);
}

TEST_CASE("A foreign element is given any text as its typed value") {
    ScriptedNode element;
    std::wstring written;
    element.onPutNodeTypedValue = [&written](const VARIANT& value) {
        written = value.bstrVal;
        return S_FALSE;
    };

    CHECK(dom::putText(element, L"R&D") == S_FALSE);

    CHECK(written == L"R&D");
}

TEST_CASE("The typed value of a foreign text counts as it is given") {
    ScriptedNode node;
    node.onGetNodeType = givesValue(NODE_TEXT);
    node.onGetNodeTypedValue = [](VARIANT* value) {
        value->vt = VT_BSTR;
        value->bstrVal = ::SysAllocString(L"given");
        return S_OK;
    };
    bool wasAsked = false;
    node.onGetNodeValue = [&wasAsked](VARIANT*) {
        wasAsked = true;
        return E_FAIL;
    };
    Variant value;

    CHECK(dom::readTypedValue(node, value) == S_OK);

    CHECK(value.text() == L"given");
    CHECK_FALSE(wasAsked);
}

TEST_CASE("A text with an ampersand and no forbidden character is put as text") {
    for (const std::wstring text : {L"R&D", L"R&D\t\r\n", L"& \xFFFD"}) {
        CAPTURE(text);
        ScriptedNode element;
        std::wstring written;
        element.onPutText = [&written](const std::wstring& put) {
            written = put;
            return S_FALSE;
        };

        CHECK(wine::putTypedText(element, Variant(text)) == S_FALSE);

        CHECK(written == text);
    }
}

TEST_CASE("A text with an ampersand and a forbidden character is refused") {
    for (const std::wstring text : {L"& \x01", L"&\x1F", L"& \xFFFE", L"\xFFFF&"}) {
        CAPTURE(text);
        ScriptedNode element;
        element.onPutText = [](const std::wstring&) { return S_OK; };

        CHECK(wine::putTypedText(element, Variant(text)) == E_INVALIDARG);
    }
}

TEST_CASE("A child whose methods lie in no library is left to be selected by the node") {
    void* methods = nullptr;
    void** object = &methods;
    ATL::CComPtr<IXMLDOMNode> found;

    CHECK_FALSE(wine::findChildElement(reinterpret_cast<IXMLDOMNode&>(object), L"a", found));
}

TEST_CASE("Under Wine a child whose name cannot be read is passed over" *
          doctest::skip(onWindows)) {
    const Apartment apartment;
    ATL::CComPtr<IXMLDOMDocument2> document;
    ATL::CComPtr<IXMLDOMElement> root;
    ATL::CComPtr<IXMLDOMNode> found;
    bool loaded = false;
    REQUIRE(dom::createDocument(dom::kDocument30, document) == S_OK);
    REQUIRE(dom::loadText(*document, L"<R><a/></R>", loaded) == S_OK);
    REQUIRE(document->get_documentElement(&root) == S_OK);
    REQUIRE(wine::findChildElement(*root, L"a", found));

    const ReplacedImport<decltype(::SysAllocStringLen)> noMemory(
        "SysAllocStringLen", +[](const OLECHAR*, UINT) -> BSTR { return nullptr; },
        ::GetModuleHandleW(L"msxml3.dll"));

    CHECK_FALSE(wine::findChildElement(*root, L"a", found));
}

TEST_CASE("An element that says that it was made and is none is a failure") {
    ScriptedDocument document;
    document.onCreateNode = [](const VARIANT&, const std::wstring&, const std::wstring&,
                               IXMLDOMNode**) { return S_OK; };
    document.onCreateElement = [](const std::wstring&, IXMLDOMElement**) { return S_OK; };
    ATL::CComPtr<IXMLDOMNode> node;
    ATL::CComPtr<IXMLDOMElement> element;

    CHECK(dom::createElement(document, L"a", node) == E_FAIL);
    CHECK(dom::createElement(document, L"a", element) == E_FAIL);
}

TEST_CASE("A copy in a class that makes no document and says it did is a failure") {
    const Apartment apartment;
    ScriptedDocument source;
    ATL::CComPtr<IXMLDOMDocument2> copy;
    const ScriptedClass none(dom::kDocument30, [](REFIID, void** object) {
        *object = nullptr;
        return S_OK;
    });

    CHECK(platform::copyDocument(dom::kDocument30, source, copy) == E_FAIL);
}

TEST_CASE("A copy that says without a failure that it has not loaded its source is a failure") {
    const Apartment apartment;
    ScriptedDocument source, made;
    made.onLoad = [](const VARIANT&, VARIANT_BOOL* successful) {
        *successful = VARIANT_FALSE;
        return S_FALSE;
    };
    const ScriptedClass scripted(dom::kDocument30, made);
    ATL::CComPtr<IXMLDOMDocument2> copy;

    CHECK(platform::copyDocument(dom::kDocument30, source, copy) == E_FAIL);

    CHECK_FALSE(copy);
    CHECK(source.references() + made.references() == 0);
}

TEST_CASE("readAttribute reads the attribute of a foreign element") {
    ElementWithAttribute made;
    Bstr value;

    CHECK(dom::readAttribute(made.element, L"a", value) == S_OK);

    CHECK(value.view() == L"b");
}

TEST_CASE("readAttribute tells why an attribute cannot be read") {
    const struct {
        const char* label;
        std::function<void(ElementWithAttribute&)> spoil;
    } rows[] = {
        {"the attributes fail",
         [](ElementWithAttribute& made) {
             made.element.onGetAttributes = givesNothing(E_ACCESSDENIED);
         }},
        {"the next one fails",
         [](ElementWithAttribute& made) {
             made.attributes.onNextNode = givesNothing(E_ACCESSDENIED);
         }},
        {"the name fails",
         [](ElementWithAttribute& made) {
             made.attribute.onGetNodeName = givesNothing(E_ACCESSDENIED);
         }},
        {"the text fails",
         [](ElementWithAttribute& made) {
             made.attribute.onGetText = givesNothing(E_ACCESSDENIED);
         }},
    };
    for (const auto& row : rows) {
        CAPTURE(row.label);
        ElementWithAttribute made;
        row.spoil(made);
        Bstr value;

        CHECK(dom::readAttribute(made.element, L"a", value) == E_ACCESSDENIED);

        CHECK(value.view().empty());
    }
}
