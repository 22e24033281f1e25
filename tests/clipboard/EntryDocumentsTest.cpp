// Tests XML documents that describe the plain text in a data object.
#include <doctest/doctest.h>

#include <string>
#include <utility>
#include <vector>

#include "clipboard/CDataObject.h"
#include "tests/clipboard/XmlDoubles.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Apartment.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/InterfaceIds.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"

namespace {

using namespace testsupport;

struct DescribeFunction {
    std::string name;
    HRESULT (*create)(const IDataObject&, IXMLDOMDocument2**);
    const CLSID& documentClass;
};

const DescribeFunction kDescribeFunctions[] = {
    {"createXMLFromIDataObject", &CDataObject::createXMLFromIDataObject, kDocument30},
    {"createXML6FromIDataObject", &CDataObject::createXML6FromIDataObject, kDocument60},
};

std::pair<HRESULT, std::wstring> describe(const IDataObject& object) {
    Document document;
    const HRESULT hr = CDataObject::createXMLFromIDataObject(object, &document);
    return {hr, structureOf(document)};
}

TEST_CASE("The document for an object without text is an empty Entries element") {
    const Apartment apartment;
    for (const DescribeFunction& function : kDescribeFunctions) {
        CAPTURE(function.name);
        Document document;

        CHECK(function.create(*newDataObject(), &document) == S_OK);

        CHECK(structureOf(document) == L"Entries{}");
    }
}

TEST_CASE("Narrow text alone results in one Entry") {
    const Apartment apartment;
    for (const DescribeFunction& function : kDescribeFunctions) {
        CAPTURE(function.name);
        const auto object = newDataObject();
        REQUIRE(CDataObject::SetTextData(*object, CF_TEXT, "abc", -1) == S_OK);
        Document document;

        CHECK(function.create(*object, &document) == S_OK);

        CHECK(structureOf(document) == L"Entries{Entry{Name{TEXT}Value{abc}}}");
    }
}

TEST_CASE("Wide text precedes narrow text regardless of the order of the entries") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, CF_TEXT, "narrow \x80", -1) == S_OK);
    REQUIRE(CDataObject::SetTextData(*object, CF_UNICODETEXT, L"wide \u4E2D", -1) == S_OK);

    CHECK(describe(*object) ==
          std::pair(S_OK, std::wstring(L"Entries{Entry{Name{UNICODE TEXT}Value{wide \u4E2D}}"
                                       L"Entry{Name{TEXT}Value{narrow \u20AC}}}")));
}

TEST_CASE("Wide text alone results in one Entry") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, CF_UNICODETEXT, L"wide", -1) == S_OK);

    CHECK(describe(*object).second == L"Entries{Entry{Name{UNICODE TEXT}Value{wide}}}");
}

TEST_CASE("Markup characters in the text are stored as text") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, CF_TEXT, "<a b=\"c\">&amp;</a> ]]>", -1) == S_OK);

    CHECK(describe(*object).second == L"Entries{Entry{Name{TEXT}Value{<a b=\"c\">&amp;</a> ]]>}}}");
}

TEST_CASE("Text ends at the first NUL") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, CF_TEXT, std::string_view("abc\0garbage", 11)) == S_OK);
    REQUIRE(setBlock(*object, CF_UNICODETEXT, std::string_view("x\0y\0\0\0g\0", 8)) == S_OK);

    CHECK(describe(*object).second ==
          L"Entries{Entry{Name{UNICODE TEXT}Value{xy}}Entry{Name{TEXT}Value{abc}}}");
}

TEST_CASE("Text without a NUL extends to the end of the block") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, CF_TEXT, "abc") == S_OK);
    REQUIRE(setBlock(*object, CF_UNICODETEXT, std::string_view("x\0y", 3)) == S_OK);

    CHECK(describe(*object).second ==
          L"Entries{Entry{Name{UNICODE TEXT}Value{xy}}Entry{Name{TEXT}Value{abc}}}");
}

TEST_CASE("Empty text results in an Entry with an empty Value") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, CF_TEXT, "", -1) == S_OK);
    REQUIRE(CDataObject::SetTextData(*object, CF_UNICODETEXT, L"", -1) == S_OK);

    CHECK(describe(*object).second ==
          L"Entries{Entry{Name{UNICODE TEXT}Value{}}Entry{Name{TEXT}Value{}}}");
}

TEST_CASE("An empty block results in no Entry") {
    const Apartment apartment;
    const Block block("");
    const Source source(TYMED_HGLOBAL, block.get());

    CHECK(describe(source) == std::pair(S_OK, std::wstring(L"Entries{}")));
    CHECK(source.owner.references() == 0);
}

TEST_CASE("Only plain text is requested") {
    const Apartment apartment;
    Source source(TYMED_FILE, nullptr);

    CHECK(describe(source) == std::pair(S_OK, std::wstring(L"Entries{}")));

    CHECK(source.requests == std::vector{std::pair(int{CF_UNICODETEXT}, int{TYMED_HGLOBAL}),
                                         std::pair(int{CF_TEXT}, int{TYMED_HGLOBAL})});
}

TEST_CASE("An Entries document has no attributes and no declaration") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, CF_TEXT, "abc", -1) == S_OK);
    Document document;
    REQUIRE(CDataObject::createXMLFromIDataObject(*object, &document) == S_OK);

    ATL::CComPtr<IXMLDOMNodeList> attributes, top;
    REQUIRE(document->selectNodes(ATL::CComBSTR(L"//@*"), &attributes) == S_OK);
    REQUIRE(document->get_childNodes(&top) == S_OK);
    long attributeCount = -1, topCount = -1;
    attributes->get_length(&attributeCount);
    top->get_length(&topCount);

    CHECK(attributeCount == 0);
    CHECK(topCount == 1);
}

TEST_CASE("createXMLFromIDataObject rejects a null output pointer") {
    const auto object = newDataObject();
    for (const DescribeFunction& function : kDescribeFunctions)
        CHECK(function.create(*object, nullptr) == E_POINTER);
}

TEST_CASE(
    "createXMLFromIDataObject clears the output and returns the error if no document can be "
    "created") {
    const Apartment apartment;
    for (const DescribeFunction& function : kDescribeFunctions) {
        CAPTURE(function.name);
        const ScriptedClass refusing(function.documentClass,
                                     ScriptedClass::Create([](REFIID, void** object) -> HRESULT {
                                         *object = nullptr;
                                         return E_ACCESSDENIED;
                                     }));
        ScriptedDocument garbage;
        IXMLDOMDocument2* document = &garbage;

        CHECK(function.create(*newDataObject(), &document) == E_ACCESSDENIED);

        CHECK(document == nullptr);
    }
}

// Replaces the MSXML 3.0 document class. CoCreateInstance returns `document`, and `log` records
// the calls that create, fill and append elements.
struct EntryCallRecorder {
    EntryCallRecorder() : scripted(kDocument30, document) {
        document.onCreateNode = [this](const VARIANT& type, const std::wstring& name,
                                       const std::wstring& namespaceUri, IXMLDOMNode** created) {
            const bool element = type.vt == VT_I4 && type.lVal == NODE_ELEMENT;
            log.push_back((element ? L"create " : L"create other ") + name + namespaceUri);
            *created = nullptr;
            if (name == refusedName) return E_ACCESSDENIED;
            *created = &node;
            node.AddRef();
            return S_OK;
        };
        const auto append = [this](IXMLDOMNode* child, IXMLDOMNode** appended) {
            log.push_back(L"append");
            if (appended) *appended = nullptr;
            if (refusesAppend) return E_ACCESSDENIED;
            if (appended) child->QueryInterface(kIXMLDOMNode, reinterpret_cast<void**>(appended));
            return S_OK;
        };
        document.onAppendChild = append;
        node.onAppendChild = append;
        node.onPutText = [this](const std::wstring& text) {
            log.push_back(L"text " + text);
            return refusesText ? E_ACCESSDENIED : S_OK;
        };
    }
    std::vector<std::wstring> log;
    std::wstring refusedName;
    bool refusesAppend = false, refusesText = false;
    ScriptedDocument document;
    ScriptedNode node;  // every successful createNode call returns this node
    ScriptedClass scripted;
};

HRESULT describeAbc(EntryCallRecorder& recorder) {
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, CF_TEXT, "abc", -1) == S_OK);
    Document document;
    const HRESULT hr = CDataObject::createXMLFromIDataObject(*object, &document);
    CHECK((document.p == &recorder.document) == SUCCEEDED(hr));
    CHECK(recorder.document.references() == (document ? 1 : 0));
    CHECK(recorder.node.references() == 0);
    return hr;
}

TEST_CASE("Elements have no namespace and receive their text before they are appended") {
    const Apartment apartment;
    EntryCallRecorder recorder;

    CHECK(describeAbc(recorder) == S_OK);

    CHECK(recorder.log == std::vector<std::wstring>{L"create Entries", L"append", L"create Entry",
                                                    L"append", L"create Name", L"text TEXT",
                                                    L"append", L"create Value", L"text abc",
                                                    L"append"});
}

TEST_CASE("createXMLFromIDataObject fails if Entries cannot be created") {
    const Apartment apartment;
    EntryCallRecorder recorder;
    recorder.refusedName = L"Entries";

    CHECK(describeAbc(recorder) == E_FAIL);
}

TEST_CASE("createXMLFromIDataObject fails if Entries cannot be appended") {
    const Apartment apartment;
    EntryCallRecorder recorder;
    recorder.refusesAppend = true;

    CHECK(describeAbc(recorder) == E_FAIL);
}

TEST_CASE("An Entry that cannot be created is skipped without an error") {
    const Apartment apartment;
    EntryCallRecorder recorder;
    recorder.refusedName = L"Entry";

    CHECK(describeAbc(recorder) == S_OK);

    CHECK(recorder.log == std::vector<std::wstring>{L"create Entries", L"append", L"create Entry"});
}

TEST_CASE("The Value is appended even if the Name of its Entry cannot be created") {
    const Apartment apartment;
    EntryCallRecorder recorder;
    recorder.refusedName = L"Name";

    CHECK(describeAbc(recorder) == S_OK);

    CHECK(recorder.log.back() == L"append");
    CHECK(recorder.log[recorder.log.size() - 2] == L"text abc");
}

TEST_CASE("An element that rejects its text is still appended") {
    const Apartment apartment;
    EntryCallRecorder recorder;
    recorder.refusesText = true;

    CHECK(describeAbc(recorder) == S_OK);

    CHECK(recorder.log.size() == 10);
    CHECK(recorder.log.back() == L"append");
}

TEST_CASE("createXMLFromIDataObject leaks nothing") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetCFTextData(*object, "abc", -1) == S_OK);

    CHECK(blocksLeftBy([&] { describe(*object); }) == 0);
}

TEST_CASE("createXMLFromIDataObject reports that memory ran out and leaks nothing") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetCFTextData(*object, "abc", -1) == S_OK);
    HRESULT hr = S_OK;
    const auto describeOnce = [&] { hr = resultOf([&] { return describe(*object).first; }); };
    long failures = 0;
    const long left = blocksLeftBy([&] {
        // If memory runs out while the text in one format is read, the result is S_OK, and the
        // document does not contain this text.
        failures = sweepAllocationFailures(
            describeOnce, [&](long) { CHECK((hr == E_OUTOFMEMORY || hr == S_OK)); });
    });

    CHECK(left == 0);
    CHECK(failures > 5);
}

}  // namespace
