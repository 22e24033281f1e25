// Any program can put XML on the clipboard. These tests check that the library safely handles
// entity bombs, references to files and hosts, wrong encodings, and bytes after the XML.
#include <doctest/doctest.h>
#include <winsock2.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "clipboard/CDataObject.h"
#include "tests/clipboard/XmlDoubles.h"
#include "tests/support/Apartment.h"
#include "tests/support/PrintedWide.h"

namespace {

using namespace testsupport;
using Log = std::vector<std::string>;

// Calls the reader for a data object that returns the bytes in a block of the same size.
std::pair<HRESULT, std::wstring> readBytes(const Reader& reader, std::string_view bytes) {
    const Block block(bytes);
    const Source source(TYMED_HGLOBAL, block.get());
    return read(reader, source);
}

const Reader& reader(const char* name) {
    for (const Reader& candidate : kReaders)
        if (candidate.name == name) return candidate;
    throw std::invalid_argument(name);
}

// Makes the recorder's document log each property that the library sets. `prohibitsDtd` and
// `maxDepth` are the values of the document's ProhibitDTD and MaxElementDepth properties.
void recordSettings(CallRecorder& recorder, bool prohibitsDtd, int maxDepth) {
    recorder.document.onPutFlag = [&recorder](const char* name, bool value) {
        recorder.log.push_back(std::string(name) + (value ? " on" : " off"));
        return S_OK;
    };
    recorder.document.onGetProperty = [=](const std::wstring& name, VARIANT* value) {
        if (name == L"ProhibitDTD") {
            value->vt = VT_BOOL;
            value->boolVal = prohibitsDtd ? VARIANT_TRUE : VARIANT_FALSE;
            return S_OK;
        }
        if (name != L"MaxElementDepth") return E_FAIL;
        value->vt = VT_I4;
        value->lVal = maxDepth;
        return S_OK;
    };
    recorder.document.onSetProperty = [&recorder](const std::wstring& name, const VARIANT& value) {
        const std::string shown = value.vt == VT_BOOL ? (value.boolVal ? "true" : "false")
                                  : value.vt == VT_I4 ? std::to_string(value.lVal)
                                                      : "text";
        recorder.log.push_back(CallRecorder::narrowed(name) + "=" + shown);
        return S_OK;
    };
}

TEST_CASE("Every reader disables external references and validation before it loads") {
    const Apartment apartment;
    for (const Reader& each : kReaders) {
        CAPTURE(each.name);
        CallRecorder recorder(each.documentClass);
        recordSettings(recorder, true, 256);
        const auto object = newDataObject();
        REQUIRE(each.store(*object, L"<a/>") == S_OK);

        CHECK(read(each, *object).first == S_OK);

        Log expected{"create", "async off", "resolveExternals off", "validateOnParse off"};
        if (each.kind == Kind::stream) expected.push_back("SelectionLanguage=text");
        expected.push_back(each.kind == Kind::stream ? "load" : "loadXML <a/>");
        CHECK(recorder.log == expected);
    }
}

TEST_CASE("Every reader enables the limits that a document class supports but does not enable") {
    const Apartment apartment;
    for (const Reader& each : kReaders) {
        CAPTURE(each.name);
        CallRecorder recorder(each.documentClass);
        recordSettings(recorder, false, 0);
        const auto object = newDataObject();
        REQUIRE(each.store(*object, L"<a/>") == S_OK);

        CHECK(read(each, *object).first == S_OK);

        REQUIRE(recorder.log.size() >= 7);
        CHECK(recorder.log[4] == "ProhibitDTD=true");
        CHECK(recorder.log[5] == "MaxElementDepth=256");
    }
}

TEST_CASE("A limit that the document class has enabled is not changed") {
    const Apartment apartment;
    CallRecorder recorder(kDocument60);
    recordSettings(recorder, true, 10);

    CHECK(readBytes(reader("QueryXML6AsUTF8Data"), "<a/>").first == S_OK);

    CHECK(recorder.log == Log{"create", "async off", "resolveExternals off", "validateOnParse off",
                              "loadXML <a/>"});
}

TEST_CASE("A limit whose value is neither on nor off is not changed") {
    const Apartment apartment;
    CallRecorder recorder(kDocument60);
    recordSettings(recorder, false, 0);
    recorder.document.onGetProperty = [](const std::wstring&, VARIANT* value) {
        value->vt = VT_EMPTY;
        return S_FALSE;
    };

    CHECK(readBytes(reader("QueryXML6AsUTF8Data"), "<a/>").first == S_OK);
    recorder.document.onGetProperty = [](const std::wstring&, VARIANT* value) {
        value->vt = VT_BSTR;
        value->bstrVal = ::SysAllocString(L"by policy");
        return S_OK;
    };
    CHECK(readBytes(reader("QueryXML6AsUTF8Data"), "<a/>").first == S_OK);

    CHECK(std::count(recorder.log.begin(), recorder.log.end(), "ProhibitDTD=true") == 0);
}

TEST_CASE("A document that rejects every setting is still loaded") {
    const Apartment apartment;
    for (const Reader& each : kReaders) {
        CAPTURE(each.name);
        CallRecorder recorder(each.documentClass);
        recordSettings(recorder, false, 0);
        recorder.document.onPutFlag = [](const char*, bool) { return E_ACCESSDENIED; };
        recorder.document.onSetProperty = [](const std::wstring&, const VARIANT&) {
            return E_ACCESSDENIED;
        };
        const auto object = newDataObject();
        REQUIRE(each.store(*object, L"<a/>") == S_OK);

        CHECK(read(each, *object).first == S_OK);
    }
}

// Listens on a local TCP port. The tests use url() in documents to refer to the port.
class Listener {
public:
    Listener() {
        WSADATA data;
        REQUIRE(WSAStartup(MAKEWORD(2, 2), &data) == 0);
        m_socket = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        int size = sizeof address;
        REQUIRE(bind(m_socket, reinterpret_cast<sockaddr*>(&address), size) == 0);
        REQUIRE(listen(m_socket, 8) == 0);
        REQUIRE(getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size) == 0);
        m_port = ntohs(address.sin_port);
        u_long nonBlocking = 1;
        REQUIRE(ioctlsocket(m_socket, static_cast<long>(FIONBIO), &nonBlocking) == 0);
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener() {
        closesocket(m_socket);
        WSACleanup();
    }

    std::string url() const {
        std::string url = "http://127.0.0.1:";
        url += std::to_string(m_port);
        return url += "/x";
    }

    // Returns true if a client has connected. The function does not have to wait, because the
    // connection exists as soon as the client's call to connect() returns.
    bool wasReached() const {
        const SOCKET caller = accept(m_socket, nullptr, nullptr);
        if (caller == INVALID_SOCKET) return false;
        closesocket(caller);
        return true;
    }

private:
    SOCKET m_socket = INVALID_SOCKET;
    unsigned short m_port = 0;
};

TEST_CASE("No reader connects to a host that a document refers to") {
    const Apartment apartment;
    const Listener listener;
    std::string url = "'";
    url += listener.url();
    url += "'";
    const std::string texts[] = {
        "<!DOCTYPE a SYSTEM " + url + "><a/>",
        "<!DOCTYPE a [<!ENTITY e SYSTEM " + url + ">]><a>&e;</a>",
        "<!DOCTYPE a [<!ENTITY % e SYSTEM " + url + "> %e;]><a/>",
        "<?xml-stylesheet type='text/xsl' href=" + url + "?><a/>",
        "<a xmlns='x-schema:" + listener.url() + "'/>",
        "<a xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' "
        "xsi:noNamespaceSchemaLocation=" +
            url + "/>",
        "<a xmlns:xi='http://www.w3.org/2001/XInclude'><xi:include href=" + url + "/></a>"};
    for (const Reader& each : kReaders) {
        for (const std::string& text : texts) {
            CAPTURE(each.name);
            CAPTURE(text);
            const auto object = newDataObject();
            REQUIRE(each.store(*object, {text.begin(), text.end()}) == S_OK);

            read(each, *object);

            CHECK_FALSE(listener.wasReached());
        }
    }
}

// A file whose contents must not appear in any document.
class SecretFile {
public:
    SecretFile() {
        wchar_t folder[MAX_PATH], path[MAX_PATH];
        GetTempPathW(MAX_PATH, folder);
        REQUIRE(GetTempFileNameW(folder, L"xml", 0, path) != 0);
        m_path = path;
        const HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        DWORD written = 0;
        WriteFile(file, "secret", 6, &written, nullptr);
        CloseHandle(file);
    }
    SecretFile(const SecretFile&) = delete;
    SecretFile& operator=(const SecretFile&) = delete;
    ~SecretFile() { DeleteFileW(m_path.c_str()); }
    const std::wstring& path() const { return m_path; }

private:
    std::wstring m_path;
};

TEST_CASE("No reader includes the contents of a file that a document refers to") {
    const Apartment apartment;
    const SecretFile file;
    for (const Reader& each : kReaders) {
        for (const wchar_t* const scheme : {L"", L"file:///"}) {
            CAPTURE(each.name);
            const auto object = newDataObject();
            REQUIRE(each.store(*object, L"<!DOCTYPE a [<!ENTITY e SYSTEM '" +
                                            (scheme + file.path()) + L"'>]><a>&e;</a>") == S_OK);
            Document document;

            each.query(*object, kPrivateFormat, &document);

            CHECK((!document || textOf(*document) == L""));
        }
    }
}

TEST_CASE("No reader expands entities without limit") {
    const Apartment apartment;
    std::wstring text = L"<!DOCTYPE a [<!ENTITY e0 'lol'>";
    for (int level = 1; level < 12; ++level) {
        text += L"<!ENTITY e" + std::to_wstring(level) + L" '";
        for (int i = 0; i < 10; ++i) text += L"&e" + std::to_wstring(level - 1) + L";";
        text += L"'>";
    }
    text += L"]><a>&e11;</a>";
    for (const Reader& each : kReaders) {
        CAPTURE(each.name);
        const auto object = newDataObject();
        REQUIRE(each.store(*object, text) == S_OK);

        CHECK(read(each, *object).first == E_FAIL);
    }
}

TEST_CASE("No reader accepts elements of unlimited nesting depth") {
    const Apartment apartment;
    std::wstring text;
    for (int i = 0; i < 100000; ++i) text += L"<a>";
    for (int i = 0; i < 100000; ++i) text += L"</a>";
    for (const Reader& each : kReaders) {
        CAPTURE(each.name);
        const auto object = newDataObject();
        REQUIRE(each.store(*object, text) == S_OK);

        CHECK(read(each, *object).first == E_FAIL);
    }
}

TEST_CASE("Text after the NUL is not read") {
    const Apartment apartment;
    const std::pair expected(S_OK, std::wstring(L"a{x}"));

    CHECK(readBytes(reader("QueryXMLAsUTF8Data"),
                    std::string_view("<a>x</a>\0</a><<\xFF\xFE", 15)) == expected);
    CHECK(readBytes(reader("QueryXMLAsBSTRData"),
                    std::string_view("<\0a\0>\0x\0<\0/\0a\0>\0\0\0<\0<\0\xFF", 23)) == expected);
}

TEST_CASE("Text in a block without a NUL ends with the block") {
    const Apartment apartment;
    const std::pair expected(S_OK, std::wstring(L"a{x}"));

    CHECK(readBytes(reader("QueryXMLAsUTF8Data"), "<a>x</a>") == expected);
    CHECK(readBytes(reader("QueryXMLAsBSTRData"),
                    std::string_view("<\0a\0>\0x\0<\0/\0a\0>\0", 16)) == expected);
}

TEST_CASE("Text ends at a NUL within the block") {
    const Apartment apartment;

    CHECK(readBytes(reader("QueryXMLAsUTF8Data"), std::string_view("<a>\0</a>", 8)).first ==
          E_FAIL);
    CHECK(readBytes(reader("QueryXMLData"), std::string_view("<a>\0</a>", 8)).first == E_FAIL);
}

TEST_CASE("Text with a byte order mark is read") {
    const Apartment apartment;
    const std::pair expected(S_OK, std::wstring(L"a{\u20AC}"));
    const std::string_view utf8 = "\xEF\xBB\xBF<a>\xE2\x82\xAC</a>";

    CHECK(readBytes(reader("QueryXMLData"), utf8) == expected);
    CHECK(readBytes(reader("QueryXMLAsUTF8Data"), utf8) == expected);
    CHECK(readBytes(reader("QueryXMLData"),
                    std::string_view("\xFF\xFE<\0a\0>\0\xAC\x20<\0/\0a\0>\0", 18)) == expected);
}

TEST_CASE("The bytes of a stream are read in the encoding that they declare") {
    const Apartment apartment;

    CHECK(readBytes(reader("QueryXMLData"),
                    "<?xml version='1.0' encoding='iso-8859-1'?><a>caf\xE9</a>") ==
          std::pair(S_OK, std::wstring(L"a{caf\u00E9}")));
}

TEST_CASE("Bytes in an encoding other than the declared one are rejected") {
    const Apartment apartment;
    const std::string_view texts[] = {
        "<a>caf\xE9</a>", "<?xml version='1.0' encoding='utf-16'?><a/>",
        "<?xml version='1.0' encoding='no-such-encoding'?><a/>", "<a>\xED\xA0\x80</a>"};
    for (const std::string_view text : texts) {
        CAPTURE(std::string(text));
        CHECK(readBytes(reader("QueryXMLData"), text).first == E_FAIL);
        CHECK(readBytes(reader("QueryXML6Data"), text).first == E_FAIL);
    }
}

TEST_CASE("The text readers ignore a declared encoding") {
    const Apartment apartment;
    const std::pair expected(S_OK, std::wstring(L"a{caf\u00E9}"));

    CHECK(readBytes(reader("QueryXMLAsUTF8Data"),
                    "<?xml version='1.0' encoding='iso-8859-1'?><a>caf\xC3\xA9</a>") == expected);
    CHECK(readBytes(reader("QueryXMLAsUTF8Data"),
                    "<?xml version='1.0' encoding='utf-16'?><a>caf\xC3\xA9</a>") == expected);
}

TEST_CASE("Bytes that are not valid UTF-8 are replaced with replacement characters") {
    const Apartment apartment;

    CHECK(readBytes(reader("QueryXMLAsUTF8Data"), "<a>caf\xE9!</a>") ==
          std::pair(S_OK, std::wstring(L"a{caf\uFFFD!}")));
}

TEST_CASE("A stream that cannot be read returns no document") {
    const Apartment apartment;
    ScriptedStream stream("<a/>");
    stream.onRead = [](void*, ULONG, ULONG*) { return STG_E_READFAULT; };
    const Source source(TYMED_ISTREAM, &stream);

    CHECK(read(reader("QueryXMLData"), source).first == E_FAIL);

    CHECK(stream.references() == 0);
}

TEST_CASE("A stream that fails in the middle returns no document") {
    const Apartment apartment;
    ScriptedStream stream("<a>" + std::string(50000, 'x') + "</a>");
    stream.onRead = [&stream](void* data, ULONG size, ULONG* count) {
        if (stream.position > 9000) return STG_E_READFAULT;  // `*count` is not set
        return stream.readBytes(data, size, count);
    };
    const Source source(TYMED_ISTREAM, &stream);

    CHECK(read(reader("QueryXMLData"), source).first == E_FAIL);

    CHECK(stream.references() == 0);
}

TEST_CASE("A stream that returns one byte at a time is read completely") {
    const Apartment apartment;
    ScriptedStream stream("<a>bit by bit</a>");
    stream.onRead = [&stream](void* data, ULONG size, ULONG* count) {
        return stream.readBytes(data, (std::min)(size, 1ul), count);
    };
    const Source source(TYMED_ISTREAM, &stream);

    CHECK(read(reader("QueryXMLData"), source) == std::pair(S_OK, std::wstring(L"a{bit by bit}")));
}

TEST_CASE("The readers ignore the size that a stream reports") {
    const Apartment apartment;
    ScriptedStream stream("<a>x</a>");
    stream.onStat = [](STATSTG& stat, DWORD) {
        stat.cbSize.QuadPart = 1000;
        return S_OK;
    };
    const Source source(TYMED_ISTREAM, &stream);

    CHECK(read(reader("QueryXMLData"), source) == std::pair(S_OK, std::wstring(L"a{x}")));
}

TEST_CASE("A document is loaded from 100 MB of text") {
    const Apartment apartment;
    CallRecorder recorder(kDocument30);
    std::size_t length = 0;
    recorder.document.onLoadXml = [&length](const std::wstring& text, VARIANT_BOOL* successful) {
        length = text.size();
        *successful = VARIANT_TRUE;
        return S_OK;
    };

    CHECK(readBytes(reader("QueryXMLAsUTF8Data"), std::string(100'000'000, 'x')).first == S_OK);

    CHECK(length == 100'000'000);
}

TEST_CASE("100 MB of a stream are copied to a block") {
    StreamingDocument document(std::string(100'000'000, 'x'));
    std::size_t size = 0;
    ForeignDataObject receiver;
    receiver.onSetData = [&size](const FORMATETC&, STGMEDIUM& medium, bool) {
        size = GlobalSize(medium.hGlobal);
        ReleaseStgMedium(&medium);
        return S_OK;
    };

    CHECK(CDataObject::SetXMLData(receiver, kPrivateFormat, TYMED_HGLOBAL, document) == S_OK);

    CHECK(size == 100'000'000);
}

TEST_CASE("A document of 4 MB is read from a stream in the same way as from text") {
    const Apartment apartment;
    const std::wstring line(999'993, L'x');
    std::wstring text = L"<a>";
    for (int i = 0; i < 4; ++i) text += L"<b>" + line + L"</b>";
    text += L"</a>";
    for (const Reader& each : kReaders) {
        CAPTURE(each.name);
        const auto object = newDataObject();
        REQUIRE(each.store(*object, text) == S_OK);

        const auto [hr, structure] = read(each, *object);

        CHECK(hr == S_OK);
        CHECK(structure.size() == 4 * (line.size() + 3) + 3);
    }
}

}  // namespace
