// Tests storing XML documents in data objects: as streams, as blocks and as text.
#include <doctest/doctest.h>

#include <string>
#include <utility>

#include "clipboard/CDataObject.h"
#include "tests/clipboard/XmlDoubles.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Apartment.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"

namespace {

using namespace testsupport;
using Log = std::vector<std::string>;

TEST_CASE("SetXMLData passes the document's own stream to the data object") {
    StreamingDocument document("<a/>");
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, document) == S_OK);

    CHECK(receiver.stream == &document.stream);
    CHECK(receiver.format.cfFormat == kPrivateFormat);
    CHECK(receiver.format.tymed == TYMED_ISTREAM);
    CHECK(receiver.format.dwAspect == DVASPECT_CONTENT);
    CHECK(receiver.format.lindex == -1);
    CHECK(receiver.format.ptd == nullptr);
    CHECK(receiver.tymed == TYMED_ISTREAM);
    CHECK_FALSE(receiver.hasOwner);
    CHECK(receiver.takesOver);
    CHECK(document.stream.references() == 0);
    CHECK(document.references() == 0);
}

TEST_CASE("SetXMLData returns the data object's error code and releases a rejected stream") {
    for (const DWORD tymed : {TYMED_ISTREAM, TYMED_HGLOBAL}) {
        CAPTURE(tymed);
        StreamingDocument document("<a/>");
        Receiver receiver(STG_E_MEDIUMFULL);

        CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, tymed, document) ==
              STG_E_MEDIUMFULL);

        CHECK(receiver.calls == 1);
        CHECK(document.stream.references() == 0);
    }
}

TEST_CASE("SetXMLData returns a success code other than S_OK unchanged") {
    StreamingDocument document("<a/>");
    Receiver receiver(DATA_S_SAMEFORMATETC);

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, document) == DATA_S_SAMEFORMATETC);
    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) ==
          DATA_S_SAMEFORMATETC);
}

TEST_CASE("SetXMLData returns the error code and stores nothing if a document has no stream") {
    for (const HRESULT failure : {E_NOINTERFACE, E_ACCESSDENIED}) {
        ScriptedDocument document;
        document.onQueryInterface = [failure](REFIID, void**) { return failure; };
        Receiver receiver;

        CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, document) == failure);
        CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) ==
              failure);

        CHECK(receiver.calls == 0);
        CHECK(document.references() == 0);
    }
}

TEST_CASE("SetXMLData fails if the document returns a null stream") {
    ScriptedDocument document;
    document.onQueryInterface = [](REFIID, void** object) {
        *object = nullptr;
        return S_OK;
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, document) == E_NOINTERFACE);
    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) ==
          E_NOINTERFACE);
    CHECK(receiver.calls == 0);
}

TEST_CASE("SetXMLData rejects storage types other than a stream and a block") {
    bool queried = false;
    ScriptedDocument document;
    document.onQueryInterface = [&queried](REFIID, void**) {
        queried = true;
        return E_NOINTERFACE;
    };
    Receiver receiver;
    const DWORD unsupportedTypes[] = {TYMED_FILE, TYMED_NULL, TYMED_ISTORAGE,
                                      TYMED_ISTREAM | TYMED_HGLOBAL, 0xFFFFFFFF};
    for (const DWORD tymed : unsupportedTypes) {
        CAPTURE(tymed);
        CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, tymed, document) == E_INVALIDARG);
    }

    CHECK_FALSE(queried);
    CHECK(receiver.calls == 0);
}

TEST_CASE("SetXMLData with TYMED_ISTREAM stores the stream") {
    StreamingDocument document("<a/>");
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_ISTREAM, document) == S_OK);

    CHECK(receiver.stream == &document.stream);
}

TEST_CASE("SetXMLData with TYMED_HGLOBAL stores the bytes of the stream in a movable block") {
    StreamingDocument document("<a>xyz</a>");
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) == S_OK);

    CHECK(receiver.block == "<a>xyz</a>");
    CHECK(receiver.format.tymed == TYMED_HGLOBAL);
    CHECK(receiver.tymed == TYMED_HGLOBAL);
    CHECK_FALSE(receiver.hasOwner);
    CHECK(receiver.takesOver);
    CHECK((receiver.flags & GMEM_LOCKCOUNT) == 0);
    CHECK(document.stream.references() == 0);
}

TEST_CASE("SetXMLData with TYMED_HGLOBAL reads from the current position of the stream") {
    StreamingDocument document("<a>xyz</a>");
    document.stream.position = 3;
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) == S_OK);

    // The block has the size of the whole stream. Bytes that were not read from the stream are
    // zero.
    CHECK(receiver.block == "xyz</a>" + std::string(3, '\0'));
}

TEST_CASE("SetXMLData requests the full STATSTG of a stream and frees the name in it") {
    StreamingDocument document("<a/>");
    DWORD queried = 99;
    document.stream.onStat = [&queried](STATSTG& stat, DWORD flags) {
        queried = flags;
        stat.pwcsName = static_cast<LPOLESTR>(CoTaskMemAlloc(16));
        stat.pwcsName[0] = L'\0';
        return S_OK;
    };
    Receiver receiver;

    const long left = blocksLeftBy([&] {
        document.stream.position = 0;
        CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) == S_OK);
    });

    CHECK(queried == STATFLAG_DEFAULT);
    CHECK(left == 0);
}

TEST_CASE("SetXMLData returns the error code from Stat") {
    StreamingDocument document("<a/>");
    document.stream.onStat = [](STATSTG&, DWORD) { return STG_E_REVERTED; };
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) ==
          STG_E_REVERTED);

    CHECK(receiver.calls == 0);
    CHECK(document.stream.references() == 0);
}

TEST_CASE("SetXMLData returns E_OUTOFMEMORY for a stream of 4 GiB or more") {
    for (const ULONGLONG size : {ULONGLONG{1} << 32, ~ULONGLONG{0}, (ULONGLONG{5} << 32) + 4}) {
        CAPTURE(size);
        StreamingDocument document("<a/>");
        document.stream.onStat = [size](STATSTG& stat, DWORD) {
            stat.cbSize.QuadPart = size;
            return S_OK;
        };
        Receiver receiver;

        CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) ==
              E_OUTOFMEMORY);

        CHECK(receiver.calls == 0);
        CHECK(document.stream.references() == 0);
    }
}

TEST_CASE("SetXMLData returns E_OUTOFMEMORY for an empty stream") {
    StreamingDocument document("");
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) ==
          E_OUTOFMEMORY);
    CHECK(receiver.calls == 0);
}

TEST_CASE("SetXMLData returns E_OUTOFMEMORY if no block can be allocated") {
    StreamingDocument document("<a/>");
    Receiver receiver;

    failNth(1);
    const HRESULT hr = CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document);
    failNth(0);

    CHECK(hr == E_OUTOFMEMORY);
    CHECK(receiver.calls == 0);
    CHECK(document.stream.references() == 0);
}

TEST_CASE("SetXMLData returns the error code from Read and frees the block") {
    StreamingDocument document("<a>half</a>");
    document.stream.onRead = [&](void* data, ULONG, ULONG* count) {
        document.stream.readBytes(data, 5, count);
        return STG_E_READFAULT;
    };
    Receiver receiver;

    const long left = blocksLeftBy([&] {
        document.stream.position = 0;
        CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) ==
              STG_E_READFAULT);
    });

    CHECK(left == 0);
    CHECK(receiver.calls == 0);
    CHECK(document.stream.references() == 0);
}

TEST_CASE("SetXMLData continues when a read returns fewer bytes than requested") {
    StreamingDocument document("<a>xyz</a>");
    document.stream.onRead = [&](void* data, ULONG size, ULONG* count) {
        return document.stream.readBytes(data, (std::min)(size, 4ul), count);
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) == S_OK);

    CHECK(receiver.block == "<a>xyz</a>");
}

TEST_CASE("SetXMLData returns the error code from a later Read") {
    StreamingDocument document("<a>xyz</a>");
    document.stream.onRead = [&](void* data, ULONG, ULONG* count) {
        return document.stream.position == 0 ? document.stream.readBytes(data, 4, count)
                                             : STG_E_READFAULT;
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) ==
          STG_E_READFAULT);
    CHECK(receiver.calls == 0);
}

TEST_CASE("SetXMLData stores zeros if a stream ends before its reported size") {
    StreamingDocument document("<a/>");
    document.stream.onStat = [](STATSTG& stat, DWORD) {
        stat.cbSize.QuadPart = 4000;
        return S_OK;
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) == S_OK);

    CHECK(receiver.block == "<a/>" + std::string(3996, '\0'));
}

TEST_CASE("SetXMLData stops at a read that returns S_FALSE") {
    StreamingDocument document("<a/>");
    int reads = 0;
    document.stream.onStat = [](STATSTG& stat, DWORD) {
        stat.cbSize.QuadPart = 8;
        return S_OK;
    };
    document.stream.onRead = [&](void* data, ULONG size, ULONG* count) {
        ++reads;
        document.stream.readBytes(data, size, count);
        return S_FALSE;
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) == S_OK);

    CHECK(reads == 1);
    CHECK(receiver.block == "<a/>" + std::string(4, '\0'));
}

TEST_CASE("SetXMLData ignores a byte count that is larger than the request") {
    StreamingDocument document("<a/>");
    document.stream.onRead = [&](void* data, ULONG size, ULONG* count) {
        document.stream.readBytes(data, size, count);
        *count = 0xFFFFFFFF;
        return S_OK;
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) == S_OK);
    CHECK(receiver.block == "<a/>");
}

TEST_CASE("SetXMLData reads no more bytes than the size that the stream reported") {
    StreamingDocument document("<a/>and more");
    document.stream.onStat = [](STATSTG& stat, DWORD) {
        stat.cbSize.QuadPart = 4;
        return S_OK;
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) == S_OK);
    CHECK(receiver.block == "<a/>");
}

TEST_CASE("MSXML documents are stored as streams and as blocks") {
    const Apartment apartment;
    for (const CLSID* documentClass : {&kDocument30, &kDocument60}) {
        for (const DWORD tymed : {TYMED_ISTREAM, TYMED_HGLOBAL}) {
            CAPTURE(tymed);
            const auto object = newDataObject();
            const Document document = parse(L"<a><b>x &amp; y</b><c/>\u20AC</a>", *documentClass);

            CHECK(CDataObject::SetXMLData(*object, kPrivateFormat, tymed, *document) == S_OK);

            CHECK(listOf(*object) == std::vector{std::pair(int{kPrivateFormat}, int(tymed))});
            CHECK(read(kReaders[0], *object) ==
                  std::pair(S_OK, std::wstring(L"a{b{x & y}c{}\u20AC}")));
        }
    }
}

TEST_CASE("A block has the contents that the document had when SetXMLData was called") {
    const Apartment apartment;
    const auto object = newDataObject();
    const Document document = parse(L"<a>before</a>");
    REQUIRE(CDataObject::SetXMLData(*object, kPrivateFormat, TYMED_HGLOBAL, *document) == S_OK);
    ATL::CComPtr<IXMLDOMElement> root;
    REQUIRE(document->get_documentElement(&root) == S_OK);

    REQUIRE(root->put_text(ATL::CComBSTR(L"after")) == S_OK);

    CHECK(read(kReaders[0], *object).second == L"a{before}");
}

TEST_CASE("Documents with a declared encoding are stored as streams and as blocks") {
    const Apartment apartment;
    const wchar_t* const declarations[] = {
        L"<?xml version=\"1.0\"?>",
        L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
        L"<?xml version=\"1.0\" encoding=\"utf-16\"?>",
        L"<?xml version='1.0' encoding='iso-8859-1' standalone='yes'?>",
        L"<?xml version=\"1.0\" standalone=\"no\"?><!-- encoding=\"utf-16\" -->",
        L"<?xml-stylesheet href=\"x\" encoding=\"utf-16\"?>",
    };
    for (const wchar_t* const declaration : declarations) {
        for (const DWORD tymed : {TYMED_ISTREAM, TYMED_HGLOBAL}) {
            CAPTURE(std::wstring(declaration));
            const auto object = newDataObject();
            const Document document = parse(declaration + std::wstring(L"<a>caf\u00E9</a>"));
            REQUIRE(document);

            CHECK(CDataObject::SetXMLData(*object, kPrivateFormat, tymed, *document) == S_OK);

            CHECK(read(kReaders[0], *object) == std::pair(S_OK, std::wstring(L"a{caf\u00E9}")));
        }
    }
}

TEST_CASE("Documents that were built through the DOM are stored as streams") {
    const Apartment apartment;
    const auto object = newDataObject();
    const Document document = newDocument(kDocument60);
    ATL::CComPtr<IXMLDOMElement> root;
    REQUIRE(document->createElement(ATL::CComBSTR(L"built"), &root) == S_OK);
    REQUIRE(root->put_text(ATL::CComBSTR(L"<&>")) == S_OK);
    REQUIRE(document->appendChild(root, nullptr) == S_OK);

    CHECK(CDataObject::SetXMLData(*object, kPrivateFormat, *document) == S_OK);

    CHECK(read(kReaders[1], *object) == std::pair(S_OK, std::wstring(L"built{<&>}")));
}

TEST_CASE("SetXMLAsUTF8Data stores the XML of the document as UTF-8 with its NUL") {
    ScriptedDocument document;
    document.onGetXml = [](BSTR* xml) {
        *xml = SysAllocString(L"<a>\u20AC \U0001F600</a>");
        return S_OK;
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLAsUTF8Data(receiver, kPrivateFormat, document) == S_OK);

    CHECK(receiver.block == std::string("<a>\xE2\x82\xAC \xF0\x9F\x98\x80</a>") + '\0');
    CHECK(receiver.format.tymed == TYMED_HGLOBAL);
    CHECK(receiver.takesOver);
}

TEST_CASE("SetXMLAsBSTRData stores the XML of the document as wide text") {
    ScriptedDocument document;
    document.onGetXml = [](BSTR* xml) {
        *xml = SysAllocString(L"<a/>");
        return S_OK;
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLAsBSTRData(receiver, kPrivateFormat, document) == S_OK);

    // The block has eight bytes for each character and eight for the terminating NUL.
    REQUIRE(receiver.block.size() == 40);
    CHECK(receiver.block == std::string("<\0a\0/\0>\0", 8) + std::string(32, '\0'));
}

TEST_CASE("The text writers return the error code from get_xml and store nothing") {
    ScriptedDocument document;
    document.onGetXml = [](BSTR* xml) {
        *xml = nullptr;
        return E_ACCESSDENIED;
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLAsUTF8Data(receiver, kPrivateFormat, document) == E_ACCESSDENIED);
    CHECK(CDataObject::SetXMLAsBSTRData(receiver, kPrivateFormat, document) == E_ACCESSDENIED);

    CHECK(receiver.calls == 0);
}

namespace {

void returnNullText(ScriptedDocument& document) {
    document.onGetXml = [](BSTR* xml) {
        *xml = nullptr;
        return S_OK;
    };
}

}  // namespace

TEST_CASE("SetXMLAsBSTRData stores nothing if get_xml returns a null string") {
    ScriptedDocument document;
    returnNullText(document);
    Receiver receiver;

    CHECK(CDataObject::SetXMLAsBSTRData(receiver, kPrivateFormat, document) == E_POINTER);

    CHECK(receiver.calls == 0);
}

TEST_CASE("SetXMLAsUTF8Data stores an empty string if get_xml returns a null string") {
    ScriptedDocument document;
    returnNullText(document);
    const auto object = newDataObject();

    CHECK(CDataObject::SetXMLAsUTF8Data(*object, kPrivateFormat, document) == S_OK);

    CHECK(blockOf(*object, kPrivateFormat).front() == '\0');
}

TEST_CASE("SetXMLAsUTF8Data stores nothing if the system cannot convert the XML") {
    ScriptedDocument document;
    document.onGetXml = returnsText(L"<a>\xD800</a>");
    Receiver receiver;
    const ReplacedImport<decltype(::WideCharToMultiByte)> refusal(
        "WideCharToMultiByte",
        +[](UINT, DWORD, const wchar_t*, int, char*, int, const char*, BOOL*) { return 0; });

    CHECK(CDataObject::SetXMLAsUTF8Data(receiver, kPrivateFormat, document) == E_OUTOFMEMORY);

    CHECK(receiver.calls == 0);
}

TEST_CASE("The text writers return the data object's result and free the text") {
    ScriptedDocument document;
    document.onGetXml = [](BSTR* xml) {
        *xml = SysAllocString(L"<a/>");
        return S_OK;
    };
    Receiver receiver(STG_E_MEDIUMFULL);

    const long left = blocksLeftBy([&] {
        CHECK(CDataObject::SetXMLAsUTF8Data(receiver, kPrivateFormat, document) ==
              STG_E_MEDIUMFULL);
        CHECK(CDataObject::SetXMLAsBSTRData(receiver, kPrivateFormat, document) ==
              STG_E_MEDIUMFULL);
    });

    CHECK(left == 0);
}

TEST_CASE("The XML of an empty document is an empty string") {
    const Apartment apartment;
    const auto object = newDataObject();

    CHECK(CDataObject::SetXMLAsUTF8Data(*object, kPrivateFormat, *newDocument()) == S_OK);

    CHECK(blockOf(*object, kPrivateFormat) == std::string(1, '\0'));
}

TEST_CASE("MSXML documents are stored as text") {
    const Apartment apartment;
    const Document document = parse(L"<a><b>x &amp; y</b>\u20AC \U0001F600</a>");
    const auto narrow = newDataObject(), wide = newDataObject();

    CHECK(CDataObject::SetXMLAsUTF8Data(*narrow, kPrivateFormat, *document) == S_OK);
    CHECK(CDataObject::SetXMLAsBSTRData(*wide, kPrivateFormat, *document) == S_OK);

    const std::pair expected(S_OK, std::wstring(L"a{b{x & y}\u20AC \U0001F600}"));
    CHECK(read(kReaders[2], *narrow) == expected);
    CHECK(read(kReaders[3], *narrow) == expected);
    CHECK(read(kReaders[4], *wide) == expected);
    CHECK(read(kReaders[5], *wide) == expected);
}

TEST_CASE("The writers report that memory ran out and leak nothing") {
    const Apartment apartment;
    const Document document = parse(L"<?xml version='1.0' encoding='utf-16'?><a>x</a>");
    using Write = HRESULT (*)(IDataObject&, IXMLDOMDocument2&);
    const Write writers[] = {[](IDataObject& object, IXMLDOMDocument2& doc) {
                                 return CDataObject::SetXMLData(object, kPrivateFormat, doc);
                             },
                             [](IDataObject& object, IXMLDOMDocument2& doc) {
                                 return CDataObject::SetXMLData(object, kPrivateFormat,
                                                                TYMED_HGLOBAL, doc);
                             },
                             [](IDataObject& object, IXMLDOMDocument2& doc) {
                                 return CDataObject::SetXMLAsUTF8Data(object, kPrivateFormat, doc);
                             },
                             [](IDataObject& object, IXMLDOMDocument2& doc) {
                                 return CDataObject::SetXMLAsBSTRData(object, kPrivateFormat, doc);
                             }};
    for (const Write writer : writers) {
        HRESULT hr = S_OK;
        long failures = 0;

        const long left = blocksLeftBy([&] {
            failures = sweepAllocationFailures(
                [&] {
                    Receiver receiver;
                    hr = resultOf([&] { return writer(receiver, *document); });
                },
                [&](long) { CHECK(hr == E_OUTOFMEMORY); });
        });

        CHECK(failures > 0);
        CHECK(left == 0);
    }
}

TEST_CASE("Reading and writing documents leaks nothing") {
    const Apartment apartment;
    const Document document = parse(L"<a>x</a>");

    const long left = blocksLeftBy([&] {
        const auto object = newDataObject();
        CHECK(CDataObject::SetXMLData(*object, kPrivateFormat, *document) == S_OK);
        CHECK(CDataObject::SetXMLData(*object, 1002, TYMED_HGLOBAL, *document) == S_OK);
        CHECK(CDataObject::SetXMLAsUTF8Data(*object, 1003, *document) == S_OK);
        CHECK(CDataObject::SetXMLAsBSTRData(*object, 1004, *document) == S_OK);
        CHECK(read(kReaders[0], *object) == std::pair(S_OK, std::wstring(L"a{x}")));
    });

    CHECK(left == 0);
}

}  // namespace
