// XML documents on data objects: as streams, as blocks and as text.
#include <doctest/doctest.h>

#include <comdef.h>

#include <new>
#include <string>
#include <utility>

#include "clipboard/CDataObject.h"
#include "tests/clipboard/XmlDoubles.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Apartment.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ReplacedImport.h"

namespace {

using namespace testsupport;
using Log = std::vector<std::string>;

TEST_CASE("SetXMLData gives the data object the document's own stream") {
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

TEST_CASE("SetXMLData answers what the data object answered and keeps no refused stream") {
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

TEST_CASE("SetXMLData passes on a success other than S_OK") {
    StreamingDocument document("<a/>");
    Receiver receiver(DATA_S_SAMEFORMATETC);

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, document) == DATA_S_SAMEFORMATETC);
    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) ==
          DATA_S_SAMEFORMATETC);
}

TEST_CASE("SetXMLData tells why a document gives no stream and stores nothing") {
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

TEST_CASE("SetXMLData takes a stream that is none for no stream") {
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

TEST_CASE("SetXMLData refuses storage types other than a stream and a block") {
    bool asked = false;
    ScriptedDocument document;
    document.onQueryInterface = [&asked](REFIID, void**) {
        asked = true;
        return E_NOINTERFACE;
    };
    Receiver receiver;
    const DWORD others[] = {TYMED_FILE, TYMED_NULL, TYMED_ISTORAGE, TYMED_ISTREAM | TYMED_HGLOBAL,
                            0xFFFFFFFF};
    for (const DWORD tymed : others) {
        CAPTURE(tymed);
        CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, tymed, document) == E_INVALIDARG);
    }

    CHECK_FALSE(asked);
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

TEST_CASE("SetXMLData with TYMED_HGLOBAL reads from where the stream stands") {
    StreamingDocument document("<a>xyz</a>");
    document.stream.position = 3;
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) == S_OK);

    // The block has room for the whole stream; what was not read is zero.
    CHECK(receiver.block == "xyz</a>" + std::string(3, '\0'));
}

TEST_CASE("SetXMLData asks a stream for its whole description and frees the name in it") {
    StreamingDocument document("<a/>");
    DWORD asked = 99;
    document.stream.onStat = [&asked](STATSTG& stat, DWORD flags) {
        asked = flags;
        stat.pwcsName = static_cast<LPOLESTR>(CoTaskMemAlloc(16));
        stat.pwcsName[0] = L'\0';
        return S_OK;
    };
    Receiver receiver;

    const long left = blocksLeftBy([&] {
        document.stream.position = 0;
        CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) == S_OK);
    });

    CHECK(asked == STATFLAG_DEFAULT);
    CHECK(left == 0);
}

TEST_CASE("SetXMLData tells why a stream does not describe itself") {
    StreamingDocument document("<a/>");
    document.stream.onStat = [](STATSTG&, DWORD) { return STG_E_REVERTED; };
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) ==
          STG_E_REVERTED);

    CHECK(receiver.calls == 0);
    CHECK(document.stream.references() == 0);
}

TEST_CASE("SetXMLData has no block for a stream of 4 GiB and more") {
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

TEST_CASE("SetXMLData has no block for a stream of no bytes") {
    StreamingDocument document("");
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) ==
          E_OUTOFMEMORY);
    CHECK(receiver.calls == 0);
}

TEST_CASE("SetXMLData answers E_OUTOFMEMORY when no block can be had") {
    StreamingDocument document("<a/>");
    Receiver receiver;

    failNth(1);
    const HRESULT hr = CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document);
    failNth(0);

    CHECK(hr == E_OUTOFMEMORY);
    CHECK(receiver.calls == 0);
    CHECK(document.stream.references() == 0);
}

TEST_CASE("SetXMLData tells why a stream cannot be read and frees the block") {
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

TEST_CASE("SetXMLData reads on when a stream gives less than it was asked for") {
    StreamingDocument document("<a>xyz</a>");
    document.stream.onRead = [&](void* data, ULONG size, ULONG* count) {
        return document.stream.readBytes(data, (std::min)(size, 4ul), count);
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) == S_OK);

    CHECK(receiver.block == "<a>xyz</a>");
}

TEST_CASE("SetXMLData tells that a stream failed half way") {
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

TEST_CASE("SetXMLData leaves zeros where a stream ends before its size") {
    StreamingDocument document("<a/>");
    document.stream.onStat = [](STATSTG& stat, DWORD) {
        stat.cbSize.QuadPart = 4000;
        return S_OK;
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) == S_OK);

    CHECK(receiver.block == "<a/>" + std::string(3996, '\0'));
}

TEST_CASE("SetXMLData ends with the read that says S_FALSE") {
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

TEST_CASE(
    "SetXMLData does not believe a stream that claims to have read more than it was asked for") {
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

TEST_CASE("SetXMLData reads no more than the size that a growing stream told first") {
    StreamingDocument document("<a/>and more");
    document.stream.onStat = [](STATSTG& stat, DWORD) {
        stat.cbSize.QuadPart = 4;
        return S_OK;
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) == S_OK);
    CHECK(receiver.block == "<a/>");
}

TEST_CASE("The platform's documents travel as streams and as blocks") {
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

TEST_CASE("A document travels as it is when it is stored") {
    const Apartment apartment;
    const auto object = newDataObject();
    const Document document = parse(L"<a>before</a>");
    REQUIRE(CDataObject::SetXMLData(*object, kPrivateFormat, TYMED_HGLOBAL, *document) == S_OK);
    ATL::CComPtr<IXMLDOMElement> root;
    REQUIRE(document->get_documentElement(&root) == S_OK);

    REQUIRE(root->put_text(ATL::CComBSTR(L"after")) == S_OK);

    CHECK(read(kReaders[0], *object).second == L"a{before}");
}

TEST_CASE("Documents with a declared encoding travel as streams and as blocks") {
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

TEST_CASE("Documents that were built travel as streams") {
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

TEST_CASE("SetXMLAsUTF8Data stores the document's text as UTF-8 with its NUL") {
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

TEST_CASE("SetXMLAsBSTRData stores the document's text as wide text") {
    ScriptedDocument document;
    document.onGetXml = [](BSTR* xml) {
        *xml = SysAllocString(L"<a/>");
        return S_OK;
    };
    Receiver receiver;

    CHECK(CDataObject::SetXMLAsBSTRData(receiver, kPrivateFormat, document) == S_OK);

    // Wide text takes eight bytes for each character and the NUL.
    REQUIRE(receiver.block.size() == 40);
    CHECK(receiver.block == std::string("<\0a\0/\0>\0", 8) + std::string(32, '\0'));
}

TEST_CASE("The text writers tell why a document gives no text and store nothing") {
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

void giveNullText(ScriptedDocument& document) {
    document.onGetXml = [](BSTR* xml) {
        *xml = nullptr;
        return S_OK;
    };
}

}  // namespace

TEST_CASE("SetXMLAsBSTRData stores nothing for a document that gives a null text") {
    ScriptedDocument document;
    giveNullText(document);
    Receiver receiver;

    CHECK(CDataObject::SetXMLAsBSTRData(receiver, kPrivateFormat, document) == E_POINTER);

    CHECK(receiver.calls == 0);
}

TEST_CASE("SetXMLAsUTF8Data stores the empty text for a document that gives a null text") {
    ScriptedDocument document;
    giveNullText(document);
    const auto object = newDataObject();

    CHECK(CDataObject::SetXMLAsUTF8Data(*object, kPrivateFormat, document) == S_OK);

    CHECK(blockOf(*object, kPrivateFormat).front() == '\0');
}

TEST_CASE("SetXMLAsUTF8Data stores nothing for a text that the system does not convert") {
    ScriptedDocument document;
    document.onGetXml = givesText(L"<a>\xD800</a>");
    Receiver receiver;
    const ReplacedImport<decltype(::WideCharToMultiByte)> refusal(
        "WideCharToMultiByte",
        +[](UINT, DWORD, const wchar_t*, int, char*, int, const char*, BOOL*) { return 0; });

    CHECK(CDataObject::SetXMLAsUTF8Data(receiver, kPrivateFormat, document) == E_OUTOFMEMORY);

    CHECK(receiver.calls == 0);
}

TEST_CASE("The text writers answer what the data object answered and free the text") {
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

TEST_CASE("The text of an empty document is the empty text") {
    const Apartment apartment;
    const auto object = newDataObject();

    CHECK(CDataObject::SetXMLAsUTF8Data(*object, kPrivateFormat, *newDocument()) == S_OK);

    CHECK(blockOf(*object, kPrivateFormat) == std::string(1, '\0'));
}

TEST_CASE("The platform's documents travel as text") {
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

TEST_CASE("Every reader refuses a null out pointer") {
    const auto object = newDataObject();
    for (const Reader& reader : kReaders) {
        CAPTURE(reader.name);
        CHECK(reader.query(*object, kPrivateFormat, nullptr) == E_POINTER);
    }
}

TEST_CASE("Every reader passes on the failure of GetData and gives out null") {
    for (const Reader& reader : kReaders) {
        CAPTURE(reader.name);
        ForeignDataObject object;
        object.onGetData = [](const FORMATETC& format, STGMEDIUM&) {
            return format.tymed == TYMED_HGLOBAL ? E_ACCESSDENIED : OLE_E_NOTRUNNING;
        };
        ScriptedDocument garbage;
        IXMLDOMDocument2* document = &garbage;

        CHECK(reader.query(object, kPrivateFormat, &document) == E_ACCESSDENIED);

        CHECK(document == nullptr);
    }
}

TEST_CASE("Every reader answers DV_E_CLIPFORMAT for a format that a data object of ours lacks") {
    const auto object = newDataObject();
    for (const Reader& reader : kReaders) {
        CAPTURE(reader.name);
        CHECK(read(reader, *object).first == DV_E_CLIPFORMAT);
    }
}

TEST_CASE("Every reader rebuilds a document") {
    const Apartment apartment;
    for (const Reader& reader : kReaders) {
        CAPTURE(reader.name);
        const auto object = newDataObject();
        REQUIRE(reader.store(*object, L"<a>x<b>y</b></a>") == S_OK);

        CHECK(read(reader, *object) == std::pair(S_OK, std::wstring(L"a{xb{y}}")));
    }
}

TEST_CASE("Every reader answers E_FAIL for text that is not well-formed and gives out null") {
    const Apartment apartment;
    const wchar_t* const texts[] = {
        L"no xml",   L"<a>",         L"<a></b>",    L"<a/><b/>", L"<a", L"<", L"<a>&undefined;</a>",
        L"<a b=1/>", L"<a/>garbage", L"<a>\x01</a>"};
    for (const Reader& reader : kReaders) {
        for (const wchar_t* const text : texts) {
            CAPTURE(reader.name);
            CAPTURE(std::wstring(text));
            const auto object = newDataObject();
            REQUIRE(reader.store(*object, text) == S_OK);
            ScriptedDocument garbage;
            IXMLDOMDocument2* document = &garbage;

            CHECK(reader.query(*object, kPrivateFormat, &document) == E_FAIL);

            CHECK(document == nullptr);
        }
    }
}

TEST_CASE("The readers answer E_FAIL for nothing") {
    const Apartment apartment;
    ScriptedStream stream;
    CHECK(read(kReaders[0], Source(TYMED_ISTREAM, &stream)).first == E_FAIL);
    const Block block("");
    CHECK(read(kReaders[0], Source(TYMED_HGLOBAL, block.get())).first == E_FAIL);
    CHECK(read(kReaders[2], Source(TYMED_HGLOBAL, block.get())).first == E_FAIL);
    CHECK(read(kReaders[4], Source(TYMED_HGLOBAL, block.get())).first == E_FAIL);
}

TEST_CASE("Every reader creates a document of its class in any server context") {
    static CLSID createdClass;
    static DWORD createdContext;
    static IID createdInterface;
    using Create = HRESULT STDAPICALLTYPE(REFCLSID, IUnknown*, DWORD, REFIID, void**);
    const ReplacedImport<Create> replaced(
        "CoCreateInstance",
        [](REFCLSID documentClass, IUnknown*, DWORD context, REFIID iid, void** object) -> HRESULT {
            createdClass = documentClass;
            createdContext = context;
            createdInterface = iid;
            *object = nullptr;
            return REGDB_E_CLASSNOTREG;
        });
    for (const Reader& reader : kReaders) {
        CAPTURE(reader.name);
        createdClass = CLSID_NULL;
        const auto object = newDataObject();
        REQUIRE(reader.store(*object, L"<a/>") == S_OK);

        CHECK(read(reader, *object).first == REGDB_E_CLASSNOTREG);

        CHECK(createdClass == reader.documentClass);
        CHECK(createdContext == CLSCTX_ALL);
        CHECK(createdInterface == kIXMLDOMDocument2);
    }
}

TEST_CASE("Every reader answers E_FAIL for a class that makes no document and says it did") {
    const Apartment apartment;
    using Create = HRESULT STDAPICALLTYPE(REFCLSID, IUnknown*, DWORD, REFIID, void**);
    const ReplacedImport<Create> replaced(
        "CoCreateInstance", [](REFCLSID, IUnknown*, DWORD, REFIID, void** object) -> HRESULT {
            *object = nullptr;
            return S_OK;
        });
    for (const Reader& reader : kReaders) {
        CAPTURE(reader.name);
        const auto object = newDataObject();
        REQUIRE(reader.store(*object, L"<a/>") == S_OK);

        CHECK(read(reader, *object).first == E_FAIL);
    }
}

TEST_CASE("The stream readers seek and set XPath before they load") {
    const Apartment apartment;
    for (const Reader& reader : kReaders) {
        if (reader.kind != Kind::stream) continue;
        CAPTURE(reader.name);
        Diary diary(reader.documentClass);
        ScriptedStream stream("<a/>");
        stream.onSeek = [&](LARGE_INTEGER move, DWORD origin) {
            const bool toStart = move.QuadPart == 0 && origin == STREAM_SEEK_SET;
            diary.log.push_back(toStart ? "seek to the start" : "seek elsewhere");
            return S_OK;
        };
        const Source source(TYMED_ISTREAM, &stream);

        CHECK(read(reader, source).first == S_OK);

        CHECK(diary.log == Log{"create", "seek to the start", "SelectionLanguage=XPath", "load"});
    }
}

TEST_CASE("The text readers set no selection language") {
    const Apartment apartment;
    for (const Reader& reader : kReaders) {
        if (reader.kind == Kind::stream) continue;
        CAPTURE(reader.name);
        Diary diary(reader.documentClass);
        const auto object = newDataObject();
        REQUIRE(reader.store(*object, L"<a/>") == S_OK);

        CHECK(read(reader, *object).first == S_OK);

        CHECK(diary.log == Log{"create", "loadXML <a/>"});
    }
}

TEST_CASE("Documents from streams and blocks are queried with XPath") {
    const Apartment apartment;
    for (const Reader& reader : kReaders) {
        if (reader.kind != Kind::stream) continue;
        CAPTURE(reader.name);
        const auto object = newDataObject();
        REQUIRE(reader.store(*object, L"<a/>") == S_OK);
        Document document;
        REQUIRE(reader.query(*object, kPrivateFormat, &document) == S_OK);

        CHECK(selectionLanguageOf(*document) == L"XPath");
    }
}

TEST_CASE("Documents from text are queried as their class does by itself") {
    const Apartment apartment;
    for (const Reader& reader : kReaders) {
        if (reader.kind == Kind::stream) continue;
        CAPTURE(reader.name);
        const auto object = newDataObject();
        REQUIRE(reader.store(*object, L"<a/>") == S_OK);
        Document document;
        REQUIRE(reader.query(*object, kPrivateFormat, &document) == S_OK);

        CHECK(selectionLanguageOf(*document) ==
              selectionLanguageOf(*newDocument(reader.documentClass)));
    }
}

TEST_CASE("A document that takes no selection language is loaded all the same") {
    const Apartment apartment;
    Diary diary(kDocument30);
    diary.document.onSetProperty = [](const std::wstring&, const VARIANT&) {
        return E_ACCESSDENIED;
    };
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, "<a/>") == S_OK);
    Document document;

    CHECK(CDataObject::QueryXMLData(*object, kPrivateFormat, &document) == S_OK);

    CHECK(document.p == &diary.document);
}

TEST_CASE("The stream readers give the caller the one reference to the document") {
    const Apartment apartment;
    Diary diary(kDocument30);
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, "<a/>") == S_OK);
    IXMLDOMDocument2* document = nullptr;

    REQUIRE(CDataObject::QueryXMLData(*object, kPrivateFormat, &document) == S_OK);

    CHECK(document == &diary.document);
    CHECK(diary.document.references() == 1);
    document->Release();
}

TEST_CASE("The text readers give the caller the one reference to the document") {
    const Apartment apartment;
    Diary diary(kDocument30);
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, kPrivateFormat, "<a/>", -1) == S_OK);
    IXMLDOMDocument2* document = nullptr;

    REQUIRE(CDataObject::QueryXMLAsUTF8Data(*object, kPrivateFormat, &document) == S_OK);

    CHECK(document == &diary.document);
    CHECK(diary.document.references() == 1);
    document->Release();
}

TEST_CASE("Every reader answers E_FAIL unless loading returns S_OK and says that it succeeded") {
    const Apartment apartment;
    const std::pair<HRESULT, VARIANT_BOOL> outcomes[] = {{S_OK, VARIANT_FALSE},
                                                         {S_FALSE, VARIANT_TRUE},
                                                         {E_ACCESSDENIED, VARIANT_TRUE},
                                                         {E_OUTOFMEMORY, VARIANT_FALSE}};
    for (const Reader& reader : kReaders) {
        for (const auto& outcome : outcomes) {
            CAPTURE(reader.name);
            CAPTURE(outcome.first);
            Diary diary(reader.documentClass);
            diary.document.onLoad = [&](const VARIANT&, VARIANT_BOOL* successful) {
                *successful = outcome.second;
                return outcome.first;
            };
            diary.document.onLoadXml = [&](const std::wstring&, VARIANT_BOOL* successful) {
                *successful = outcome.second;
                return outcome.first;
            };
            const auto object = newDataObject();
            REQUIRE(reader.store(*object, L"<a/>") == S_OK);
            ScriptedDocument garbage;
            IXMLDOMDocument2* document = &garbage;

            CHECK(reader.query(*object, kPrivateFormat, &document) == E_FAIL);

            CHECK(document == nullptr);
            CHECK(diary.document.references() == 0);
        }
    }
}

TEST_CASE("The stream readers answer why a stream does not seek and load nothing") {
    const Apartment apartment;
    Diary diary(kDocument30);
    ScriptedStream stream("<a/>");
    stream.onSeek = [](LARGE_INTEGER, DWORD) { return STG_E_INVALIDFUNCTION; };
    const Source source(TYMED_ISTREAM, &stream);
    Document document;

    CHECK(CDataObject::QueryXMLData(source, kPrivateFormat, &document) == STG_E_INVALIDFUNCTION);

    CHECK_FALSE(document);
    CHECK(diary.log == Log{"create"});
    CHECK(diary.document.references() == 0);
    CHECK(stream.references() == 0);
    CHECK(source.owner.references() == 0);
}

TEST_CASE("The stream readers ask for a stream and then for a block") {
    Source source(TYMED_FILE, nullptr);

    CHECK(read(kReaders[0], source).first == DV_E_TYMED);

    CHECK(source.requests == std::vector{std::pair(int{kPrivateFormat}, int{TYMED_ISTREAM}),
                                         std::pair(int{kPrivateFormat}, int{TYMED_HGLOBAL})});
}

TEST_CASE("The stream readers ask for no block where there is a stream") {
    const Apartment apartment;
    ScriptedStream stream("<a>from the stream</a>");
    Source source(TYMED_ISTREAM, &stream);

    CHECK(read(kReaders[0], source) == std::pair(S_OK, std::wstring(L"a{from the stream}")));

    CHECK(source.requests.size() == 1);
}

TEST_CASE("The stream readers hand a document of another maker the very stream of the medium") {
    const Apartment apartment;
    ScriptedStream stream("<a/>");
    const Source source(TYMED_ISTREAM, &stream);
    for (const Reader& reader : {kReaders[0], kReaders[1]}) {
        Diary diary(reader.documentClass);
        IUnknown* handed = nullptr;
        diary.document.onLoad = [&](const VARIANT& from, VARIANT_BOOL* successful) {
            handed = from.vt == VT_UNKNOWN ? from.punkVal : nullptr;
            *successful = VARIANT_FALSE;
            return S_OK;
        };
        IXMLDOMDocument2* document = nullptr;

        reader.query(source, kPrivateFormat, &document);

        CHECK(handed == static_cast<IStream*>(&stream));
    }
}

TEST_CASE("The stream readers prefer a stream to a block of the same format") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, "<a>block</a>") == S_OK);
    REQUIRE(CDataObject::SetXMLData(*object, kPrivateFormat, *parse(L"<a>stream</a>")) == S_OK);

    CHECK(read(kReaders[0], *object).second == L"a{stream}");
}

TEST_CASE("The stream readers read a stream from its start wherever it stands") {
    const Apartment apartment;
    ScriptedStream stream("<a>whole</a>");
    stream.position = 7;
    const Source source(TYMED_ISTREAM, &stream);

    CHECK(read(kReaders[0], source) == std::pair(S_OK, std::wstring(L"a{whole}")));
    CHECK(read(kReaders[1], source) == std::pair(S_OK, std::wstring(L"a{whole}")));
}

TEST_CASE("The stream readers give back medium and stream") {
    const Apartment apartment;
    for (const char* const xml : {"<a/>", "not well-formed"}) {
        CAPTURE(xml);
        ScriptedStream stream(xml);
        const Source source(TYMED_ISTREAM, &stream);

        read(kReaders[0], source);

        CHECK(stream.references() == 0);
        CHECK(source.owner.references() == 0);
    }
}

TEST_CASE("The stream readers leave the block to its medium") {
    const Apartment apartment;
    const Block block("<a>block</a>");
    const Source source(TYMED_HGLOBAL, block.get());

    CHECK(read(kReaders[0], source) == std::pair(S_OK, std::wstring(L"a{block}")));

    CHECK(isBlock(block.get()));
    CHECK(bytesOf(block.get()) == "<a>block</a>");
    CHECK(source.owner.references() == 0);
}

TEST_CASE("The stream readers take whichever storage type an object answers with") {
    const Apartment apartment;
    const Block block("<a>block</a>");
    const Source source(TYMED_HGLOBAL, block.get(), true);  // also when asked for a stream

    CHECK(read(kReaders[0], source) == std::pair(S_OK, std::wstring(L"a{block}")));
    CHECK(source.requests.size() == 1);
}

TEST_CASE("The stream readers refuse media that are neither stream nor block and release them") {
    const std::pair<DWORD, void*> media[] = {{TYMED_ISTREAM, nullptr},
                                             {TYMED_HGLOBAL, nullptr},
                                             {TYMED_NULL, nullptr},
                                             {TYMED_FILE, nullptr}};
    for (const auto& medium : media) {
        CAPTURE(medium.first);
        const Source source(medium.first, medium.second, true);

        CHECK(read(kReaders[0], source) == std::pair(E_INVALIDARG, std::wstring(L"none")));

        CHECK(source.owner.references() == 0);
    }
}

TEST_CASE("The stream readers release the medium when no document can be created") {
    const Apartment apartment;
    const ScriptedClass refusing(kDocument30,
                                 ScriptedClass::Create([](REFIID, void** object) -> HRESULT {
                                     *object = nullptr;
                                     return E_ACCESSDENIED;
                                 }));
    ScriptedStream stream("<a/>");
    const Source source(TYMED_ISTREAM, &stream);

    CHECK(read(kReaders[0], source).first == E_ACCESSDENIED);

    CHECK(stream.references() == 0);
    CHECK(source.owner.references() == 0);
}

TEST_CASE("The text readers refuse media that are no block") {
    ScriptedStream stream("<a/>");
    const Source source(TYMED_ISTREAM, &stream, true);
    for (const Reader& reader : kReaders) {
        if (reader.kind == Kind::stream) continue;
        CAPTURE(reader.name);

        CHECK(read(reader, source).first == E_INVALIDARG);

        CHECK(stream.references() == 0);
        CHECK(source.owner.references() == 0);
    }
}

TEST_CASE("A stored stream can be read again and again") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetXMLData(*object, kPrivateFormat, *parse(L"<a>x</a>")) == S_OK);

    CHECK(read(kReaders[0], *object).second == L"a{x}");
    CHECK(read(kReaders[1], *object).second == L"a{x}");
    CHECK(read(kReaders[0], *object).second == L"a{x}");
}

TEST_CASE("Reading and writing leaves nothing behind") {
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

// What a call makes of exhausted memory: its result, or E_OUTOFMEMORY for an exception that says
// so.
template <class Call>
HRESULT resultOf(Call&& call) {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const _com_error& error) {
        return error.Error();
    }
}

TEST_CASE("Exhausted memory while writing is told and leaves nothing behind") {
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

TEST_CASE("Exhausted memory while reading is told and leaves nothing behind") {
    const Apartment apartment;
    for (const Reader& reader : kReaders) {
        CAPTURE(reader.name);
        const std::string bytes = reader.kind == Kind::wide ? std::string("<\0a\0/\0>\0\0\0", 10)
                                                            : std::string("<a/>", 5);
        const Block block(bytes);
        const Source source(TYMED_HGLOBAL, block.get());
        HRESULT hr = S_OK;
        long failures = 0;

        const long left = blocksLeftBy([&] {
            failures = sweepAllocationFailures(
                [&] { hr = resultOf([&] { return read(reader, source).first; }); },
                [&](long) { CHECK(hr == E_OUTOFMEMORY); });
        });

        CHECK(failures > 0);
        CHECK(left == 0);
    }
}

TEST_CASE("AcceptXMLData accepts streams and blocks") {
    const Apartment apartment;
    const auto stream = newDataObject(), block = newDataObject();
    REQUIRE(CDataObject::SetXMLData(*stream, kPrivateFormat, *parse(L"<a/>")) == S_OK);
    REQUIRE(setBlock(*block, kPrivateFormat, "<a/>") == S_OK);

    CHECK(CDataObject::AcceptXMLData(*stream, kPrivateFormat) == S_OK);
    CHECK(CDataObject::AcceptXMLData(*block, kPrivateFormat) == S_OK);
}

TEST_CASE("AcceptXMLData answers DV_E_CLIPFORMAT for a format that is not stored") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kOtherFormat, "<a/>") == S_OK);

    CHECK(CDataObject::AcceptXMLData(*object, kPrivateFormat) == DV_E_CLIPFORMAT);
}

TEST_CASE("AcceptXMLData asks for a block unless the answer about the stream is S_OK") {
    ForeignDataObject object;
    std::vector<int> asked;
    object.onQueryGetData = [&asked](const FORMATETC& format) {
        asked.push_back(static_cast<int>(format.tymed));
        return format.tymed == TYMED_ISTREAM ? S_FALSE : DATA_S_SAMEFORMATETC;
    };

    CHECK(CDataObject::AcceptXMLData(object, kPrivateFormat) == DATA_S_SAMEFORMATETC);

    CHECK(asked == std::vector<int>{TYMED_ISTREAM, TYMED_HGLOBAL});
}

TEST_CASE("AcceptXMLData asks for a stream alone when there is one") {
    ForeignDataObject object;
    std::vector<int> asked;
    object.onQueryGetData = [&asked](const FORMATETC& format) {
        asked.push_back(static_cast<int>(format.tymed));
        return S_OK;
    };

    CHECK(CDataObject::AcceptXMLData(object, kPrivateFormat) == S_OK);

    CHECK(asked == std::vector<int>{TYMED_ISTREAM});
}

}  // namespace
