// Tests reading XML documents from data objects: from streams, from blocks and from text.
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

TEST_CASE("Every reader rejects a null output pointer") {
    const auto object = newDataObject();
    for (const Reader& reader : kReaders) {
        CAPTURE(reader.name);
        CHECK(reader.query(*object, kPrivateFormat, nullptr) == E_POINTER);
    }
}

TEST_CASE("Every reader returns the error code from GetData and clears the output") {
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

TEST_CASE("Every reader returns DV_E_CLIPFORMAT for a format that a data object does not have") {
    const auto object = newDataObject();
    for (const Reader& reader : kReaders) {
        CAPTURE(reader.name);
        CHECK(read(reader, *object).first == DV_E_CLIPFORMAT);
    }
}

TEST_CASE("Every reader reads a stored document") {
    const Apartment apartment;
    for (const Reader& reader : kReaders) {
        CAPTURE(reader.name);
        const auto object = newDataObject();
        REQUIRE(reader.store(*object, L"<a>x<b>y</b></a>") == S_OK);

        CHECK(read(reader, *object) == std::pair(S_OK, std::wstring(L"a{xb{y}}")));
    }
}

TEST_CASE("Every reader returns E_FAIL for text that is not well-formed and clears the output") {
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

TEST_CASE("Every reader returns E_FAIL for empty data") {
    const Apartment apartment;
    ScriptedStream stream;
    CHECK(read(kReaders[0], Source(TYMED_ISTREAM, &stream)).first == E_FAIL);
    const Block block("");
    CHECK(read(kReaders[0], Source(TYMED_HGLOBAL, block.get())).first == E_FAIL);
    CHECK(read(kReaders[2], Source(TYMED_HGLOBAL, block.get())).first == E_FAIL);
    CHECK(read(kReaders[4], Source(TYMED_HGLOBAL, block.get())).first == E_FAIL);
}

TEST_CASE("Every reader creates a document of its class with CLSCTX_ALL") {
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

TEST_CASE("Every reader returns E_FAIL if the class reports success without a document") {
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

TEST_CASE("The stream readers seek to the start and set XPath before they load") {
    const Apartment apartment;
    for (const Reader& reader : kReaders) {
        if (reader.kind != Kind::stream) continue;
        CAPTURE(reader.name);
        CallRecorder recorder(reader.documentClass);
        ScriptedStream stream("<a/>");
        stream.onSeek = [&](LARGE_INTEGER move, DWORD origin) {
            const bool toStart = move.QuadPart == 0 && origin == STREAM_SEEK_SET;
            recorder.log.push_back(toStart ? "seek to the start" : "seek elsewhere");
            return S_OK;
        };
        const Source source(TYMED_ISTREAM, &stream);

        CHECK(read(reader, source).first == S_OK);

        CHECK(recorder.log ==
              Log{"create", "seek to the start", "SelectionLanguage=XPath", "load"});
    }
}

TEST_CASE("The text readers set no selection language") {
    const Apartment apartment;
    for (const Reader& reader : kReaders) {
        if (reader.kind == Kind::stream) continue;
        CAPTURE(reader.name);
        CallRecorder recorder(reader.documentClass);
        const auto object = newDataObject();
        REQUIRE(reader.store(*object, L"<a/>") == S_OK);

        CHECK(read(reader, *object).first == S_OK);

        CHECK(recorder.log == Log{"create", "loadXML <a/>"});
    }
}

TEST_CASE("Documents from streams and blocks use XPath queries") {
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

TEST_CASE("Documents from text use the default query language of their class") {
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

TEST_CASE("A document that rejects the selection language is still loaded") {
    const Apartment apartment;
    CallRecorder recorder(kDocument30);
    recorder.document.onSetProperty = [](const std::wstring&, const VARIANT&) {
        return E_ACCESSDENIED;
    };
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, "<a/>") == S_OK);
    Document document;

    CHECK(CDataObject::QueryXMLData(*object, kPrivateFormat, &document) == S_OK);

    CHECK(document.p == &recorder.document);
}

TEST_CASE("The stream readers return the only reference to the document") {
    const Apartment apartment;
    CallRecorder recorder(kDocument30);
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, "<a/>") == S_OK);
    IXMLDOMDocument2* document = nullptr;

    REQUIRE(CDataObject::QueryXMLData(*object, kPrivateFormat, &document) == S_OK);

    CHECK(document == &recorder.document);
    CHECK(recorder.document.references() == 1);
    document->Release();
}

TEST_CASE("The text readers return the only reference to the document") {
    const Apartment apartment;
    CallRecorder recorder(kDocument30);
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, kPrivateFormat, "<a/>", -1) == S_OK);
    IXMLDOMDocument2* document = nullptr;

    REQUIRE(CDataObject::QueryXMLAsUTF8Data(*object, kPrivateFormat, &document) == S_OK);

    CHECK(document == &recorder.document);
    CHECK(recorder.document.references() == 1);
    document->Release();
}

TEST_CASE("Every reader returns E_FAIL unless loading returns S_OK and reports success") {
    const Apartment apartment;
    const std::pair<HRESULT, VARIANT_BOOL> outcomes[] = {{S_OK, VARIANT_FALSE},
                                                         {S_FALSE, VARIANT_TRUE},
                                                         {E_ACCESSDENIED, VARIANT_TRUE},
                                                         {E_OUTOFMEMORY, VARIANT_FALSE}};
    for (const Reader& reader : kReaders) {
        for (const auto& outcome : outcomes) {
            CAPTURE(reader.name);
            CAPTURE(outcome.first);
            CallRecorder recorder(reader.documentClass);
            recorder.document.onLoad = [&](const VARIANT&, VARIANT_BOOL* successful) {
                *successful = outcome.second;
                return outcome.first;
            };
            recorder.document.onLoadXml = [&](const std::wstring&, VARIANT_BOOL* successful) {
                *successful = outcome.second;
                return outcome.first;
            };
            const auto object = newDataObject();
            REQUIRE(reader.store(*object, L"<a/>") == S_OK);
            ScriptedDocument garbage;
            IXMLDOMDocument2* document = &garbage;

            CHECK(reader.query(*object, kPrivateFormat, &document) == E_FAIL);

            CHECK(document == nullptr);
            CHECK(recorder.document.references() == 0);
        }
    }
}

TEST_CASE("The stream readers return the error code from Seek and load nothing") {
    const Apartment apartment;
    CallRecorder recorder(kDocument30);
    ScriptedStream stream("<a/>");
    stream.onSeek = [](LARGE_INTEGER, DWORD) { return STG_E_INVALIDFUNCTION; };
    const Source source(TYMED_ISTREAM, &stream);
    Document document;

    CHECK(CDataObject::QueryXMLData(source, kPrivateFormat, &document) == STG_E_INVALIDFUNCTION);

    CHECK_FALSE(document);
    CHECK(recorder.log == Log{"create"});
    CHECK(recorder.document.references() == 0);
    CHECK(stream.references() == 0);
    CHECK(source.owner.references() == 0);
}

TEST_CASE("The stream readers request a stream and then a block") {
    Source source(TYMED_FILE, nullptr);

    CHECK(read(kReaders[0], source).first == DV_E_TYMED);

    CHECK(source.requests == std::vector{std::pair(int{kPrivateFormat}, int{TYMED_ISTREAM}),
                                         std::pair(int{kPrivateFormat}, int{TYMED_HGLOBAL})});
}

TEST_CASE("The stream readers request no block if there is a stream") {
    const Apartment apartment;
    ScriptedStream stream("<a>from the stream</a>");
    Source source(TYMED_ISTREAM, &stream);

    CHECK(read(kReaders[0], source) == std::pair(S_OK, std::wstring(L"a{from the stream}")));

    CHECK(source.requests.size() == 1);
}

TEST_CASE("The stream readers load from a memory stream with the contents of the medium") {
    const Apartment apartment;
    ScriptedStream stream("<a/>");
    const Source source(TYMED_ISTREAM, &stream);
    for (const Reader& reader : {kReaders[0], kReaders[1]}) {
        CallRecorder recorder(reader.documentClass);
        char bytes[8] = {};
        recorder.document.onLoad = [&](const VARIANT& from, VARIANT_BOOL* successful) {
            ATL::CComPtr<IStream> loaded;
            REQUIRE(from.vt == VT_UNKNOWN);
            REQUIRE(from.punkVal->QueryInterface(IID_IStream, reinterpret_cast<void**>(&loaded)) ==
                    S_OK);
            CHECK(loaded->Read(bytes, sizeof bytes, nullptr) == S_OK);
            *successful = VARIANT_FALSE;
            return S_OK;
        };
        IXMLDOMDocument2* document = nullptr;

        reader.query(source, kPrivateFormat, &document);

        CHECK(std::string(bytes) == "<a/>");
        CHECK(stream.references() == 0);
    }
}

TEST_CASE("The stream readers reject a stream that does not end within one gigabyte") {
    const Apartment apartment;
    ScriptedStream stream;
    ULONGLONG given = 0;
    stream.onRead = [&given](void*, ULONG size, ULONG* count) {
        given += size;
        *count = 0xFFFFFFFF;
        return S_OK;
    };
    const Source source(TYMED_ISTREAM, &stream);

    CHECK(read(kReaders[0], source).first == E_FAIL);

    CHECK(given == (ULONGLONG{1} << 30) + 1);
    CHECK(stream.references() == 0);
}

TEST_CASE("The stream readers prefer a stream to a block of the same format") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kPrivateFormat, "<a>block</a>") == S_OK);
    REQUIRE(CDataObject::SetXMLData(*object, kPrivateFormat, *parse(L"<a>stream</a>")) == S_OK);

    CHECK(read(kReaders[0], *object).second == L"a{stream}");
}

TEST_CASE("The stream readers read a stream from its start") {
    const Apartment apartment;
    ScriptedStream stream("<a>whole</a>");
    stream.position = 7;
    const Source source(TYMED_ISTREAM, &stream);

    CHECK(read(kReaders[0], source) == std::pair(S_OK, std::wstring(L"a{whole}")));
    CHECK(read(kReaders[1], source) == std::pair(S_OK, std::wstring(L"a{whole}")));
}

TEST_CASE("The stream readers release the medium and the stream") {
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

TEST_CASE("The stream readers release the medium of a block and do not free the block themselves") {
    const Apartment apartment;
    const Block block("<a>block</a>");
    const Source source(TYMED_HGLOBAL, block.get());

    CHECK(read(kReaders[0], source) == std::pair(S_OK, std::wstring(L"a{block}")));

    CHECK(isBlock(block.get()));
    CHECK(bytesOf(block.get()) == "<a>block</a>");
    CHECK(source.owner.references() == 0);
}

TEST_CASE("The stream readers accept a block even if they requested a stream") {
    const Apartment apartment;
    const Block block("<a>block</a>");
    const Source source(TYMED_HGLOBAL, block.get(), true);  // ignores the requested type

    CHECK(read(kReaders[0], source) == std::pair(S_OK, std::wstring(L"a{block}")));
    CHECK(source.requests.size() == 1);
}

TEST_CASE("The stream readers reject media that are neither streams nor blocks and release them") {
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

TEST_CASE("The stream readers release the medium if no document can be created") {
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

TEST_CASE("The text readers reject media that are not blocks") {
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

TEST_CASE("A stored stream can be read repeatedly") {
    const Apartment apartment;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetXMLData(*object, kPrivateFormat, *parse(L"<a>x</a>")) == S_OK);

    CHECK(read(kReaders[0], *object).second == L"a{x}");
    CHECK(read(kReaders[1], *object).second == L"a{x}");
    CHECK(read(kReaders[0], *object).second == L"a{x}");
}

TEST_CASE("Every reader reports that memory ran out and leaks nothing") {
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

TEST_CASE("AcceptXMLData returns DV_E_CLIPFORMAT for a format that is not stored") {
    const auto object = newDataObject();
    REQUIRE(setBlock(*object, kOtherFormat, "<a/>") == S_OK);

    CHECK(CDataObject::AcceptXMLData(*object, kPrivateFormat) == DV_E_CLIPFORMAT);
}

TEST_CASE("AcceptXMLData queries a block unless the query for the stream returns S_OK") {
    ForeignDataObject object;
    std::vector<int> queried;
    object.onQueryGetData = [&queried](const FORMATETC& format) {
        queried.push_back(static_cast<int>(format.tymed));
        return format.tymed == TYMED_ISTREAM ? S_FALSE : DATA_S_SAMEFORMATETC;
    };

    CHECK(CDataObject::AcceptXMLData(object, kPrivateFormat) == DATA_S_SAMEFORMATETC);

    CHECK(queried == std::vector<int>{TYMED_ISTREAM, TYMED_HGLOBAL});
}

TEST_CASE("AcceptXMLData queries only the stream if there is one") {
    ForeignDataObject object;
    std::vector<int> queried;
    object.onQueryGetData = [&queried](const FORMATETC& format) {
        queried.push_back(static_cast<int>(format.tymed));
        return S_OK;
    };

    CHECK(CDataObject::AcceptXMLData(object, kPrivateFormat) == S_OK);

    CHECK(queried == std::vector<int>{TYMED_ISTREAM});
}

}  // namespace
