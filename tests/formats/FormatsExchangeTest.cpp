// Tests the exchange of data between processes through the system's clipboard, in the library's
// clipboard formats.
#include <doctest/doctest.h>

#include <string>
#include <utility>

#include "clipboard/CDataObject.h"
#include "formats/FormatCCFPersistData.h"
#include "formats/FormatObjectArchive.h"
#include "formats/FormatRTF.h"
#include "formats/FormatSym.h"
#include "tests/support/DataObjects.h"
#include "tests/support/Documents.h"
#include "tests/support/OleApartment.h"
#include "tests/support/PeerProcess.h"
#include "tests/support/PrintedWide.h"

namespace {

using namespace testsupport;
using namespace OrvexClipboard;

constexpr wchar_t kPeer[] = L"formats_peer.exe";

// Empties the clipboard at the end of a test, so that the clipboard releases the data objects of
// this process.
class ClipboardSession {
public:
    ~ClipboardSession() { OleSetClipboard(nullptr); }

private:
    OleApartment m_ole;
};

ATL::CComPtr<IDataObject> clipboard() {
    ATL::CComPtr<IDataObject> object;
    REQUIRE(OleGetClipboard(&object) == S_OK);
    return object;
}

void checkPayloadsOfPeer(IDataObject& object) {
    std::wstring type, code;
    CHECK(FormatSym::AcceptData(object, true) == S_OK);
    CHECK(FormatSym::ImportData(object, true, type, code) == S_OK);
    CHECK(type == L"X");
    CHECK(code == L"PEER.CODE");
    CHECK(FormatRTF::AcceptData(object) == S_OK);
    CHECK(FormatCCFPersistData::AcceptData(object) == S_OK);
    ATL::CComBSTR xml;
    CHECK(FormatCCFPersistData::ImportData(object, &xml.m_str) == S_OK);
    CHECK(structureOf(parse(contentsOf(xml))) == L"peer{\u20AC}");
    Document archive;
    CHECK(FormatObjectArchive::ImportData(object, &archive) == S_OK);
    CHECK(structureOf(archive) == L"archive{}");
}

TEST_CASE("This process imports data from a running process") {
    const ClipboardSession session;
    PeerProcess peer(kPeer, L"offer");
    REQUIRE(peer.readLine() == "offered");

    checkPayloadsOfPeer(*clipboard());

    CHECK(peer.finish() == 0);
}

TEST_CASE("This process imports data from a process that has ended") {
    const ClipboardSession session;
    {
        PeerProcess peer(kPeer, L"leave");
        REQUIRE(peer.readLine() == "left");
        REQUIRE(peer.finish() == 0);
    }

    checkPayloadsOfPeer(*clipboard());
}

TEST_CASE("Another process imports data from this process") {
    const ClipboardSession session;
    const auto object = newDataObject();
    REQUIRE(FormatSym::ExportData(*object, true, L"T", L"SOME.CODE") == S_OK);
    REQUIRE(FormatCCFPersistData::ExportData(*object, *parse(L"<a>x<b/></a>")) == S_OK);
    REQUIRE(OleSetClipboard(object) == S_OK);

    PeerProcess peer(kPeer, L"print");
    CHECK(pumpUntil(peer.process()));

    CHECK(peer.readLine() == "00000000 T SOME.CODE");
    CHECK(peer.readLine() == "00000000 a{xb{}}");
}

TEST_CASE("Plain text from the clipboard is imported as an instrument code") {
    const ClipboardSession session;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetCFTextData(*object, "abc.de\r\n", -1) == S_OK);
    REQUIRE(OleSetClipboard(object) == S_OK);
    std::wstring type = L"(untouched)", code;

    CHECK(FormatSym::AcceptData(*clipboard(), false) == S_OK);
    CHECK(FormatSym::ImportData(*clipboard(), false, type, code) == S_OK);

    CHECK(type == L"(untouched)");
    CHECK(code == L"ABC.DE");
}

TEST_CASE("createXMLFromIDataObject describes the text on the clipboard") {
    const ClipboardSession session;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetCFUnicodeTextData(*object, L"caf\u00E9 & more", -1) == S_OK);
    REQUIRE(OleSetClipboard(object) == S_OK);
    Document document;

    CHECK(CDataObject::createXMLFromIDataObject(*clipboard(), &document) == S_OK);

    CHECK(structureOf(document) ==
          L"Entries{Entry{Name{UNICODE TEXT}Value{caf\u00E9 & more}}"
          L"Entry{Name{TEXT}Value{caf\u00E9 & more}}}");
}

}  // namespace
