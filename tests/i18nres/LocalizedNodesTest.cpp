#include <windows.h>

#include <comdef.h>
#include <doctest/doctest.h>
#include <msxml2.h>

#include <functional>
#include <new>
#include <string>
#include <vector>

#include "dll/atl.h"
#include "i18nres/i18nres.h"
#include "tests/i18nsys/ScriptedMultiLanguage.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Apartment.h"
#include "tests/support/InterfaceIds.h"
#include "tests/support/LeakListener.h"
#include "tests/support/OtherThread.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ProcessCounts.h"
#include "tests/support/SatelliteFolder.h"
#include "tests/support/ScriptedClass.h"
#include "tests/support/ScriptedDom.h"

namespace {

using testsupport::Apartment;
using testsupport::ManagerSession;
using testsupport::otherThreadFinishes;

constexpr CLSID kDocument30 = {
    0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
constexpr CLSID kDocument60 = {
    0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};

// Parses a document and selects its root element, which has children in several languages.
class Titles {
public:
    explicit Titles(const wchar_t* xml, REFCLSID documentClass = kDocument30) {
        REQUIRE(::CoCreateInstance(documentClass, nullptr, CLSCTX_ALL,
                                   testsupport::kIXMLDOMDocument,
                                   reinterpret_cast<void**>(&m_document)) == S_OK);
        VARIANT_BOOL loaded = VARIANT_FALSE;
        REQUIRE(m_document->loadXML(ATL::CComBSTR(xml), &loaded) == S_OK);
        REQUIRE(m_document->selectSingleNode(ATL::CComBSTR(L"/*"), &m_root) == S_OK);
    }
    IXMLDOMNode* root() const { return m_root; }

    // Returns the text that getLocalizedNodeValue finds, or "E_FAIL" if the method returns this
    // code.
    std::wstring value(const ManagerSession& manager, const wchar_t* name = L"Title") const {
        BSTR text = reinterpret_cast<BSTR>(1);
        const HRESULT hr = manager->getLocalizedNodeValue(m_root, name, &text);
        if (hr == E_FAIL) {
            CHECK(text == nullptr);
            return L"E_FAIL";
        }
        CHECK(hr == S_OK);
        const std::wstring value(text, ::SysStringLen(text));
        ::SysFreeString(text);
        return value;
    }

private:
    ATL::CComPtr<IXMLDOMDocument> m_document;
    ATL::CComPtr<IXMLDOMNode> m_root;
};

TEST_CASE(
    "getLocalizedNodeValue returns the text of the child whose tag comes first in the fallback "
    "list") {
    const Apartment apartment;
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    const struct {
        const wchar_t* xml;
        const wchar_t* value;
    } rows[] = {
        {L"<a><Title>0</Title><Title xml:lang='en'>1</Title><Title xml:lang='en-US'>2</Title>"
         L"<Title xml:lang='fr'>3</Title><Title xml:lang='fr-CA'>4</Title></a>",
         L"4"},
        {L"<a><Title>0</Title><Title xml:lang='en'>1</Title><Title xml:lang='en-US'>2</Title>"
         L"<Title xml:lang='fr'>3</Title></a>",
         L"3"},
        {L"<a><Title>0</Title><Title xml:lang='en'>1</Title><Title xml:lang='en-US'>2</Title></a>",
         L"2"},
        {L"<a><Title>0</Title><Title xml:lang='en'>1</Title></a>", L"1"},
        {L"<a><Title xml:lang='de'>0</Title><Title>1</Title></a>", L"0"},
        {L"<a><Title>0</Title><Title>1</Title></a>", L"0"},
        {L"<a><Title xml:lang='fr'>0</Title><Title xml:lang='fr'>1</Title></a>", L"0"},
        {L"<a><Title xml:lang='FR-CA'>0</Title><Title xml:lang='fr'>1</Title></a>", L"1"},
        {L"<a><Title lang='fr-CA'>0</Title><Title xml:lang='en'>1</Title></a>", L"1"},
        {L"<a><b><Title xml:lang='fr-CA'>0</Title></b><Title>1</Title></a>", L"1"},
        {L"<a><Title xml:lang='fr-CA'/><Title xml:lang='fr'>1</Title></a>", L""},
        {L"<a><Title xml:lang='fr-CA'>x<b>y</b></Title></a>", L"xy"},
        {L"<a><Other>0</Other></a>", L"E_FAIL"},
        {L"<a/>", L"E_FAIL"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.xml);
        CHECK(Titles(row.xml, kDocument30).value(manager) == std::wstring(row.value));
        CHECK(Titles(row.xml, kDocument60).value(manager) == std::wstring(row.value));
    }
}

TEST_CASE("getLocalizedNodeValue starts with the default culture if there is no culture") {
    const Apartment apartment;
    const ManagerSession manager;
    const Titles titles(L"<a><Title xml:lang='fr'>0</Title><Title xml:lang='en-US'>1</Title></a>");

    CHECK(titles.value(manager) == L"1");
}

TEST_CASE("getLocalizedNodeValue inserts the name into the query unchanged") {
    const Apartment apartment;
    const ManagerSession manager;
    const Titles titles(
        L"<a><b><Title xml:lang='en'>0</Title></b><c id='1'>1</c><c id='2'>2</c></a>", kDocument60);

    CHECK(titles.value(manager, L"b/Title") == L"0");
    CHECK(titles.value(manager, L"c[@id='2']") == L"2");
    for (const wchar_t* name : {L"", L"'", L"]", L"a b", L"\"", L"[", L"//", L"it's"}) {
        CAPTURE(name);
        CHECK(titles.value(manager, name) == L"E_FAIL");
    }
}

TEST_CASE("getLocalizedNodeValue does not insert a culture with quotes or slashes into the query") {
    const Apartment apartment;
    i18nsystests::ScriptedMultiLanguage service;  // accepts every string as a culture tag
    const testsupport::ScriptedClass scripted(testsupport::kMultiLanguageClass, service);
    const ManagerSession manager;
    const Titles titles(
        L"<a><Title>0</Title><Secret xml:lang='1'>1</Secret><Title xml:lang='x/y'>2</Title></a>",
        kDocument60);
    for (const wchar_t* culture :
         {L"fr'] | ./Secret[@xml:lang='1", L"' or @xml:lang='x/y", L"x/y"}) {
        CAPTURE(culture);
        REQUIRE(manager->setCulture(culture));

        CHECK(titles.value(manager) == L"0");
    }
}

TEST_CASE("getLocalizedNodeValue rejects null arguments") {
    const Apartment apartment;
    const ManagerSession manager;
    const Titles titles(L"<a><Title>0</Title></a>");
    BSTR value = reinterpret_cast<BSTR>(1);

    CHECK(manager->getLocalizedNodeValue(titles.root(), L"Title", nullptr) == E_POINTER);
    CHECK(manager->getLocalizedNodeValue(nullptr, L"Title", nullptr) == E_POINTER);
    CHECK(manager->getLocalizedNodeValue(nullptr, L"Title", &value) == E_INVALIDARG);
    CHECK(value == nullptr);
    CHECK(manager->getLocalizedNodeValue(titles.root(), nullptr, &value) == E_INVALIDARG);
}

// A node that records its queries. Each query returns the result of `select`, and also `found` if
// this result is a success code.
class QueriedNode : public testsupport::ScriptedNode {
public:
    QueriedNode() {
        onSelectSingleNode = [this](const std::wstring& query, IXMLDOMNode** node) {
            queries.push_back(query);
            *node = nullptr;
            const HRESULT hr = select(queries.size());
            if (SUCCEEDED(hr)) {
                found.AddRef();
                *node = &found;
            }
            return hr;
        };
    }
    std::function<HRESULT(std::size_t nth)> select;
    std::vector<std::wstring> queries;
    testsupport::ScriptedNode found;
};

TEST_CASE(
    "getLocalizedNodeValue queries with each tag of the fallback list and then without a tag") {
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    QueriedNode node;
    node.select = [](std::size_t) { return E_ACCESSDENIED; };
    BSTR value = nullptr;

    CHECK(manager->getLocalizedNodeValue(&node, L"Title", &value) == E_FAIL);

    CHECK(node.queries == std::vector<std::wstring>{L"./Title[@xml:lang='fr-CA']",
                                                    L"./Title[@xml:lang='fr']",
                                                    L"./Title[@xml:lang='en-US']",
                                                    L"./Title[@xml:lang='en']", L"./Title"});
    CHECK(value == nullptr);
    CHECK(node.references() == 0);
}

TEST_CASE("getLocalizedNodeValue continues if it finds a node but cannot read its text") {
    const ManagerSession manager;
    QueriedNode node;
    node.select = [](std::size_t) { return S_OK; };
    int reads = 0;
    node.found.onGetText = [&](BSTR* text) -> HRESULT {
        if (++reads < 3) return reads == 1 ? E_ACCESSDENIED : S_FALSE;
        *text = ::SysAllocString(L"third");
        return S_OK;
    };
    BSTR value = nullptr;

    CHECK(manager->getLocalizedNodeValue(&node, L"Title", &value) == S_OK);

    CHECK(node.queries.size() == 3);
    CHECK(std::wstring(value) == L"third");
    CHECK(node.found.references() == 0);
    ::SysFreeString(value);
}

TEST_CASE("getLocalizedNodeValue frees a string that a node returns with S_FALSE") {
    const ManagerSession manager;
    QueriedNode node;
    node.select = [](std::size_t) { return S_OK; };
    node.found.onGetText = [](BSTR* text) {
        *text = ::SysAllocString(L"a text long enough to be told from others");
        return S_FALSE;
    };
    BSTR value = nullptr;
    const auto read = [&] {
        node.queries.clear();
        return manager->getLocalizedNodeValue(&node, L"Title", &value);
    };
    REQUIRE(read() == E_FAIL);
    const long before = testsupport::heapBlocks();

    for (int round = 0; round < 20; ++round) read();

    CHECK(testsupport::heapBlocks() - before < 20);
    CHECK(value == nullptr);
}

TEST_CASE("getLocalizedNodeValue does not read a node that a query returns with S_FALSE") {
    const ManagerSession manager;
    QueriedNode node;
    node.select = [](std::size_t) { return S_FALSE; };
    int reads = 0;
    node.found.onGetText = [&](BSTR*) {
        ++reads;
        return S_OK;
    };
    BSTR value = nullptr;

    CHECK(manager->getLocalizedNodeValue(&node, L"Title", &value) == E_FAIL);

    CHECK(reads == 0);
    CHECK(node.queries.size() == 3);
    CHECK(node.found.references() == 0);
}

TEST_CASE("getLocalizedNodeValue does not hold the lock while it queries the node") {
    const ManagerSession manager;
    QueriedNode node;
    bool lockWasFree = false;
    node.select = [&](std::size_t) {
        lockWasFree =
            otherThreadFinishes([] { i18nres::Manager::Instance()->setResourcePath(L""); });
        return E_ACCESSDENIED;
    };
    BSTR value = nullptr;

    CHECK(manager->getLocalizedNodeValue(&node, L"Title", &value) == E_FAIL);

    CHECK(lockWasFree);
}

// Runs a thread that creates a document in a single-threaded apartment.
class OtherApartment {
public:
    explicit OtherApartment(const wchar_t* xml) : m_xml(xml) {
        m_ready = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        m_done = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        m_thread = ::CreateThread(nullptr, 0, &run, this, 0, nullptr);
        REQUIRE(m_thread);
        REQUIRE(::WaitForSingleObject(m_ready, 30000) == WAIT_OBJECT_0);
    }
    OtherApartment(const OtherApartment&) = delete;
    OtherApartment& operator=(const OtherApartment&) = delete;
    ~OtherApartment() {
        ::SetEvent(m_done);
        ::WaitForSingleObject(m_thread, 30000);
        for (const HANDLE handle : {m_thread, m_ready, m_done}) ::CloseHandle(handle);
    }

    // Unmarshals an interface pointer to the document's root element for the calling thread. Call
    // this method only once.
    ATL::CComPtr<IXMLDOMNode> root() {
        ATL::CComPtr<IXMLDOMNode> node;
        REQUIRE(m_stream);
        REQUIRE(::CoGetInterfaceAndReleaseStream(m_stream, testsupport::kIXMLDOMNode,
                                                 reinterpret_cast<void**>(&node)) == S_OK);
        return node;
    }

private:
    static DWORD WINAPI run(void* parameter) {
        auto& self = *static_cast<OtherApartment*>(parameter);
        ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        {
            const Titles titles(self.m_xml);
            ::CoMarshalInterThreadInterfaceInStream(testsupport::kIXMLDOMNode, titles.root(),
                                                    &self.m_stream);
            ::SetEvent(self.m_ready);
            // Dispatch calls from other apartments until the event is set.
            while (::MsgWaitForMultipleObjects(1, &self.m_done, FALSE, INFINITE, QS_ALLINPUT) !=
                   WAIT_OBJECT_0) {
                MSG message;
                while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
                    ::DispatchMessageW(&message);
                }
            }
        }
        ::CoUninitialize();
        return 0;
    }

    const wchar_t* m_xml;
    IStream* m_stream = nullptr;
    HANDLE m_ready, m_done, m_thread;
};

TEST_CASE("getLocalizedNodeValue reads a node from another apartment") {
    const Apartment apartment;
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    testsupport::ignoreHandles();  // COM keeps handles open for the channel between the apartments
    OtherApartment other(L"<a><Title>0</Title><Title xml:lang='fr'>1</Title></a>");
    const ATL::CComPtr<IXMLDOMNode> root = other.root();
    BSTR value = nullptr;

    CHECK(manager->getLocalizedNodeValue(root, L"Title", &value) == S_OK);

    CHECK(std::wstring(value ? value : L"") == L"1");
    ::SysFreeString(value);
}

TEST_CASE("The flat getLocalizedNodeValue forwards to the manager") {
    const Apartment apartment;
    const ManagerSession manager;
    const Titles titles(L"<a><Title>0</Title></a>");
    wchar_t* value = nullptr;

    CHECK(i18nres::getLocalizedNodeValue(titles.root(), L"Title", &value) == S_OK);

    CHECK(std::wstring(value) == L"0");
    ::SysFreeString(value);
}

TEST_CASE("getLocalizedNodeValue throws when memory runs out and releases the lock") {
    const Apartment apartment;
    const ManagerSession manager;
    REQUIRE(manager->setCulture(L"fr-CA"));
    const Titles titles(L"<a><Title>0</Title></a>");
    bool threw = false;

    const long failures = testsupport::sweepAllocationFailures(
        [&] {
            threw = false;
            BSTR value = nullptr;
            try {
                manager->getLocalizedNodeValue(titles.root(), L"Title", &value);
            } catch (const std::bad_alloc&) {
                threw = true;
            } catch (const _com_error& error) {
                threw = error.Error() == E_OUTOFMEMORY;
            }
            ::SysFreeString(value);
        },
        [&](long failure) {
            CAPTURE(failure);
            CHECK(threw);
            CHECK(otherThreadFinishes([&] { manager->setResourcePath(L""); }));
        });

    CHECK(failures >= 10);
}

}  // namespace
