// Tests the exchange of data between apartments and processes through the system's clipboard.
#include <doctest/doctest.h>

#include <memory>
#include <string>

#include "clipboard/CDataObject.h"
#include "tests/support/Counting.h"
#include "tests/support/DataObjects.h"
#include "tests/support/OleApartment.h"
#include "tests/support/PeerProcess.h"
#include "tests/support/Threads.h"

namespace {

using namespace testsupport;

constexpr wchar_t kPeer[] = L"clipboard_peer.exe";

CLIPFORMAT sharedFormat() {
    return static_cast<CLIPFORMAT>(RegisterClipboardFormatW(L"I18nResource test format"));
}

// Returns the data object on the system's clipboard.
ATL::CComPtr<IDataObject> clipboard() {
    ATL::CComPtr<IDataObject> object;
    REQUIRE(OleGetClipboard(&object) == S_OK);
    return object;
}

std::wstring wideTextOf(IDataObject& object) {
    wchar_t* text = nullptr;
    CDataObject::QueryTextData(object, CF_UNICODETEXT, &text, nullptr);
    const std::unique_ptr<wchar_t[]> owner(text);
    return text ? text : L"?";
}

std::string textOf(IDataObject& object, CLIPFORMAT cf) {
    char* text = nullptr;
    CDataObject::QueryTextData(object, cf, &text, nullptr);
    const std::unique_ptr<char[]> owner(text);
    return text ? text : "?";
}

// Empties the clipboard at the end of a test, so that the clipboard releases the data objects of
// this process.
class ClipboardSession {
public:
    ~ClipboardSession() { OleSetClipboard(nullptr); }

private:
    OleApartment m_ole;
};

TEST_CASE("A data object on the clipboard is read through the system's data object") {
    const ClipboardSession session;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetCFUnicodeTextData(*object, L"caf\u00E9", -1) == S_OK);
    REQUIRE(OleSetClipboard(object) == S_OK);

    const auto received = clipboard();

    CHECK(wideTextOf(*received) == L"caf\u00E9");
    CHECK(textOf(*received, CF_TEXT) == "caf\xE9");
    CHECK(CDataObject::AcceptTextData(*received, CF_UNICODETEXT) == S_OK);
    CHECK(CDataObject::GetDataCount(*received) >= 2);
}

TEST_CASE("CopyData copies data from the clipboard") {
    const ClipboardSession session;
    const auto object = newDataObject(), target = newDataObject();
    REQUIRE(CDataObject::SetTextData(*object, sharedFormat(), "abc", -1) == S_OK);
    REQUIRE(OleSetClipboard(object) == S_OK);

    CHECK(CDataObject::CopyData(*clipboard(), *target, sharedFormat()) == S_OK);

    CHECK(textOf(*target, sharedFormat()) == "abc");
}

TEST_CASE("Emptying the clipboard releases the data object and its medium") {
    const ClipboardSession session;
    CountingUnknown owner;
    const HGLOBAL block = newBlock("abc");
    {
        const auto object = newDataObject();
        owner.AddRef();
        FORMATETC format = formatOf(sharedFormat(), TYMED_HGLOBAL);
        STGMEDIUM medium = mediumOf(TYMED_HGLOBAL, block, &owner);
        REQUIRE(object->SetData(&format, &medium, TRUE) == S_OK);
        REQUIRE(OleSetClipboard(object) == S_OK);
    }
    CHECK(owner.references() > 0);

    REQUIRE(OleSetClipboard(nullptr) == S_OK);

    CHECK(owner.references() == 0);
    GlobalFree(block);
}

TEST_CASE("Term renders the clipboard contents and releases the data object") {
    const ClipboardSession session;
    IGlobalInterfaceTable* const table = CDataObject::m_pIglobalInterfaceTable;
    CDataObject::m_pIglobalInterfaceTable = nullptr;
    auto object = newDataObject();
    REQUIRE(CDataObject::SetCFUnicodeTextData(*object, L"kept", -1) == S_OK);
    REQUIRE(OleSetClipboard(object) == S_OK);
    REQUIRE(OleIsCurrentClipboard(object) == S_OK);

    CHECK(CDataObject::Term() == 1);
    CDataObject::m_pIglobalInterfaceTable = table;

    CHECK(OleIsCurrentClipboard(object) == S_FALSE);
    CHECK(object.p->AddRef() == 2);
    object.p->Release();
    CHECK(wideTextOf(*clipboard()) == L"kept");
}

TEST_CASE("An interface on the clipboard is read in the process that stored it") {
    const ClipboardSession session;
    CountingUnknown unknown;
    {
        const auto object = newDataObject();
        REQUIRE(CDataObject::SetIUnknownData(*object, sharedFormat(), unknown) == S_OK);
        REQUIRE(OleSetClipboard(object) == S_OK);
        ATL::CComPtr<IUnknown> received;

        CHECK(CDataObject::QueryIUnknownData(*clipboard(), sharedFormat(), &received) == S_OK);

        CHECK(received.p == &unknown);
        REQUIRE(OleSetClipboard(nullptr) == S_OK);
    }
    CHECK(unknown.references() == 0);
}

TEST_CASE("Another apartment reads this apartment's data from the clipboard") {
    const ClipboardSession session;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetCFUnicodeTextData(*object, L"across", -1) == S_OK);
    REQUIRE(OleSetClipboard(object) == S_OK);
    std::wstring text;

    {
        const Thread reader([&] {
            const OleApartment ole;
            ATL::CComPtr<IDataObject> received;
            if (OleGetClipboard(&received) == S_OK) text = wideTextOf(*received);
        });
        REQUIRE(pumpUntil(reader.handle()));
    }

    CHECK(text == L"across");
}

TEST_CASE("Another process reads this process's data") {
    const ClipboardSession session;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetCFTextData(*object, "caf\xE9", -1) == S_OK);
    REQUIRE(CDataObject::SetTextData(*object, sharedFormat(), "private", -1) == S_OK);
    REQUIRE(OleSetClipboard(object) == S_OK);

    PeerProcess peer(kPeer, L"print");
    CHECK(pumpUntil(peer.process()));

    CHECK(peer.readLine() == "text caf\xE9");
    CHECK(peer.readLine() == "text private");
}

TEST_CASE("Another process cannot read an interface") {
    const ClipboardSession session;
    CountingUnknown unknown;
    const auto object = newDataObject();
    REQUIRE(CDataObject::SetIUnknownData(*object, sharedFormat(), unknown) == S_OK);
    REQUIRE(OleSetClipboard(object) == S_OK);

    PeerProcess peer(kPeer, L"print");
    CHECK(pumpUntil(peer.process()));

    CHECK(peer.readLine() == "nothing");
    peer.readLine();
    CHECK(peer.readLine() == "80004005");
}

TEST_CASE("This process reads another process's data") {
    const ClipboardSession session;
    PeerProcess peer(kPeer, L"offer");
    REQUIRE(peer.readLine() == "offered");

    {
        const auto received = clipboard();
        CHECK(wideTextOf(*received) == L"from the peer \u20AC");
        CHECK(textOf(*received, CF_TEXT) == "from the peer \x80");
        CHECK(textOf(*received, sharedFormat()) == "private");
    }

    CHECK(peer.finish() == 0);
}

TEST_CASE("Flushed data remains after its process has ended") {
    const ClipboardSession session;
    {
        PeerProcess peer(kPeer, L"leave");
        REQUIRE(peer.readLine() == "flushed");
        REQUIRE(peer.finish() == 0);
    }

    CHECK(wideTextOf(*clipboard()) == L"remaining");
}

}  // namespace
