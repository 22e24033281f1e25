#include <windows.h>

#include <comdef.h>
#include <doctest/doctest.h>
#include <msxml2.h>

#include <initializer_list>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "dll/atl.h"
#include "i18nres/i18nres.h"
#include "tests/i18nres/Ledger.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Apartment.h"
#include "tests/support/LeakListener.h"
#include "tests/support/OtherThread.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/ScriptedClass.h"
#include "tests/support/ScriptedDom.h"

namespace {

using i18nres::Manager;
using testsupport::Apartment;
using testsupport::otherThreadFinishes;
using testsupport::ReplacedImport;
using testsupport::ResourceLibrary;
using testsupport::WrongDataEntry;

const wchar_t* number(unsigned short id) { return MAKEINTRESOURCEW(id); }

constexpr CLSID kDocument30 = {
    0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
// HTML pages

TEST_CASE("loadHTMLDocumentFromResource searches both satellites and then the module") {
    const auto page = [](ResourceLibrary library, std::initializer_list<unsigned short> ids,
                         const char* text) {
        for (const unsigned short id : ids) library.resource(RT_HTML, number(id), text);
        return library;
    };
    const Ledger ledger(page({}, {1, 2, 3}, "<p>module"), page({}, {1, 2}, "<p>default"),
                        page({}, {1}, "<p>culture"));
    std::string text;

    CHECK(ledger->loadHTMLDocumentFromResource(kLedger, 1, text) == S_OK);
    CHECK(text == "<p>culture");
    CHECK(ledger->loadHTMLDocumentFromResource(kLedger, 2, text) == S_OK);
    CHECK(text == "<p>default");
    CHECK(ledger->loadHTMLDocumentFromResource(kLedger, 3, text) == S_OK);
    CHECK(text == "<p>module");
    CHECK(i18nres::loadHTMLDocumentFromResource(kLedger, 2, text) == S_OK);
    CHECK(text == "<p>default");
}

TEST_CASE("loadHTMLDocumentFromResource returns the bytes of the page unchanged") {
    const std::string bytes("\xef\xbb\xbf<p>\xe9\0\r\n\x80\xff", 12);
    const Ledger ledger(ResourceLibrary().resource(RT_HTML, number(1), bytes), ResourceLibrary(),
                        ResourceLibrary());
    std::string text;

    CHECK(ledger->loadHTMLDocumentFromResource(kLedger, 1, text) == S_OK);

    CHECK(text == bytes);
}

TEST_CASE("loadHTMLDocumentFromResource returns an empty page and a page of 16 MB") {
    std::string large(16 << 20, '\0');
    for (std::size_t at = 0; at < large.size(); ++at) large[at] = static_cast<char>(at * 7 >> 3);
    const Ledger ledger(
        ResourceLibrary().resource(RT_HTML, number(1), "").resource(RT_HTML, number(2), large),
        ResourceLibrary(), ResourceLibrary());
    std::string text = "before";

    CHECK(ledger->loadHTMLDocumentFromResource(kLedger, 1, text) == S_OK);
    CHECK(text.empty());
    CHECK(ledger->loadHTMLDocumentFromResource(kLedger, 2, text) == S_OK);
    CHECK(bool(text == large));  // prevents doctest from printing the long strings
}

TEST_CASE("loadHTMLDocumentFromResource clears the string if no library has the page") {
    const Ledger ledger(ResourceLibrary()
                            .resource(RT_HTML, number(0), "<p>")
                            .resource(RT_HTML, number(1), "<p>")
                            .resource(RT_RCDATA, number(2), "<p>"),
                        ResourceLibrary(), ResourceLibrary());
    const struct {
        const wchar_t* module;
        unsigned short id;
    } rows[] = {{kLedger, 0}, {kLedger, 2}, {kLedger, 9}, {nullptr, 1}, {L"missing.dll", 1}};
    for (const auto& row : rows) {
        std::string text = "before";
        CHECK(ledger->loadHTMLDocumentFromResource(row.module, row.id, text) == E_FAIL);
        CHECK(text.empty());
    }
}

TEST_CASE("Identifiers of pages and documents have 16 bits") {
    const Ledger ledger(ResourceLibrary().resource(RT_HTML, number(1), "<p>"), ResourceLibrary(),
                        ResourceLibrary());
    std::string text;

    CHECK(ledger->loadHTMLDocumentFromResource(kLedger, static_cast<unsigned short>(0x10001),
                                               text) == S_OK);
    CHECK(ledger->loadHTMLDocumentFromResource(kLedger, static_cast<unsigned short>(0x10000),
                                               text) == E_FAIL);
}

TEST_CASE("A page outside its library is rejected") {
    for (const WrongDataEntry wrong : {WrongDataEntry{0x10000000, 0}, WrongDataEntry{0x80000000, 0},
                                       WrongDataEntry{0xFFFFFFFF, 0}, WrongDataEntry{0, 0x10000000},
                                       WrongDataEntry{0, 0x80000000}}) {
        const Ledger ledger(ResourceLibrary().resource(RT_HTML, number(1), "<p>module"),
                            ResourceLibrary(),
                            ResourceLibrary().resource(RT_HTML, number(1), "<p>", wrong));
        std::string text = "before";
        CHECK(ledger->loadHTMLDocumentFromResource(kLedger, 1, text) == E_FAIL);
        CHECK(text.empty());
    }
}

LPVOID WINAPI refuseLock(HGLOBAL) { return nullptr; }
HGLOBAL WINAPI refuseLoad(HMODULE, HRSRC) { return nullptr; }

TEST_CASE("A page that cannot be loaded or locked is rejected") {
    const Ledger ledger(ResourceLibrary().resource(RT_HTML, number(1), "<p>"), ResourceLibrary(),
                        ResourceLibrary());
    std::string text = "before";
    {
        const ReplacedImport import("LockResource", &refuseLock);
        CHECK(ledger->loadHTMLDocumentFromResource(kLedger, 1, text) == E_FAIL);
        CHECK(text.empty());
    }
    text = "before";
    const ReplacedImport import("LoadResource", &refuseLoad);
    CHECK(ledger->loadHTMLDocumentFromResource(kLedger, 1, text) == E_FAIL);
    CHECK(text.empty());
}

TEST_CASE("loadHTMLDocumentFromResource releases the lock when memory runs out") {
    const Ledger ledger(ResourceLibrary().resource(RT_HTML, number(1), std::string(1000, 'x')),
                        ResourceLibrary(), ResourceLibrary());
    REQUIRE(ledger->getResLibHandle(kLedger, nullptr, nullptr) != nullptr);

    const long failures = testsupport::sweepAllocationFailures(
        [&] {
            std::string text;
            try {
                ledger->loadHTMLDocumentFromResource(kLedger, 1, text);
            } catch (const std::bad_alloc&) {
            }
        },
        [&](long) { CHECK(otherThreadFinishes([&] { ledger->setResourcePath(L""); })); });

    CHECK(failures == 1);
}

// XML documents

using Load = HRESULT (Manager::*)(const wchar_t*, unsigned short, IXMLDOMDocument2*&);
const Load kLoaders[] = {&Manager::loadXMLDocumentFromResource,
                         &Manager::loadXML6DocumentFromResource};

std::wstring textOf(IXMLDOMDocument2* document, const wchar_t* query) {
    ATL::CComPtr<IXMLDOMNode> node;
    ATL::CComBSTR text;
    if (document->selectSingleNode(ATL::CComBSTR(query), &node) != S_OK) return L"nothing";
    REQUIRE(node->get_text(&text) == S_OK);
    return std::wstring(text, text.Length());
}

ResourceLibrary withDocument(const std::string& text, WrongDataEntry wrong = {}) {
    return ResourceLibrary().resource(L"XML", number(1), text, wrong);
}

TEST_CASE("The XML loaders search both satellites and then the module") {
    const Apartment apartment;
    const auto document = [](ResourceLibrary library, std::initializer_list<unsigned short> ids,
                             const char* text) {
        for (const unsigned short id : ids) library.resource(L"XML", number(id), text);
        return library;
    };
    const Ledger ledger(document({}, {1, 2, 3}, "<a>module</a>"),
                        document({}, {1, 2}, "<a>default</a>"),
                        document({}, {1}, "<a>culture</a>"));
    const wchar_t* const texts[] = {L"culture", L"default", L"module"};
    for (const Load load : kLoaders) {
        for (unsigned short id = 1; id <= 3; ++id) {
            ATL::CComPtr<IXMLDOMDocument2> doc;
            CHECK(((*ledger.operator->()).*load)(kLedger, id, doc.p) == S_OK);
            REQUIRE(doc);
            CHECK(textOf(doc, L"a") == texts[id - 1]);
        }
    }
}

TEST_CASE("The flat XML loaders forward to the manager") {
    const Apartment apartment;
    const Ledger ledger(withDocument("<a>module</a>"), ResourceLibrary(), ResourceLibrary());
    ATL::CComPtr<IXMLDOMDocument2> doc, doc6;

    CHECK(i18nres::loadXMLDocumentFromResource(kLedger, 1, doc.p) == S_OK);
    CHECK(i18nres::loadXML6DocumentFromResource(kLedger, 1, doc6.p) == S_OK);

    CHECK(textOf(doc, L"a") == L"module");
    CHECK(textOf(doc6, L"a") == L"module");
}

TEST_CASE("A loaded document uses XPath queries and has one reference") {
    const Apartment apartment;
    const Ledger ledger(withDocument("<a><b>1</b><b>2</b><c>3</c></a>"), ResourceLibrary(),
                        ResourceLibrary());
    for (const Load load : kLoaders) {
        IXMLDOMDocument2* doc = nullptr;
        REQUIRE(((*ledger.operator->()).*load)(kLedger, 1, doc) == S_OK);
        VARIANT language = {};
        CHECK(doc->getProperty(ATL::CComBSTR(L"SelectionLanguage"), &language) == S_OK);
        CHECK(std::wstring(language.bstrVal) == L"XPath");
        ::VariantClear(&language);
        CHECK(textOf(doc, L"/a/*[last()]") == L"3");
        CHECK(textOf(doc, L"/a/c/preceding-sibling::b[2]") == L"1");
        CHECK(doc->Release() == 0);
    }
}

TEST_CASE("An XML resource is read as ANSI text") {
    const Apartment apartment;
    const Ledger ledger(withDocument("<a>\xe9\x80</a>"), ResourceLibrary(), ResourceLibrary());
    for (const Load load : kLoaders) {
        ATL::CComPtr<IXMLDOMDocument2> doc;
        REQUIRE(((*ledger.operator->()).*load)(kLedger, 1, doc.p) == S_OK);
        CHECK(textOf(doc, L"a") == L"\u00e9\u20ac");
    }
}

TEST_CASE("An XML resource is read as ANSI text regardless of its declared encoding") {
    const Apartment apartment;
    for (const char* encoding : {"UTF-8", "ISO-8859-1", "windows-1252"}) {
        CAPTURE(encoding);
        const Ledger ledger(withDocument("<?xml version='1.0' encoding='" + std::string(encoding) +
                                         "'?><a>\xc3\xa9</a>"),
                            ResourceLibrary(), ResourceLibrary());
        for (const Load load : kLoaders) {
            ATL::CComPtr<IXMLDOMDocument2> doc;
            REQUIRE(((*ledger.operator->()).*load)(kLedger, 1, doc.p) == S_OK);
            CHECK(textOf(doc, L"a") == L"\u00c3\u00a9");
        }
    }
}

// Returns the bytes of a string in UTF-16, preceded by a byte order mark.
std::string utf16(std::wstring_view text, bool isBigEndian) {
    std::string bytes;
    for (const wchar_t unit : L'\uFEFF' + std::wstring(text)) {
        const char low = static_cast<char>(unit & 0xFF), high = static_cast<char>(unit >> 8);
        bytes += isBigEndian ? std::string{high, low} : std::string{low, high};
    }
    return bytes;
}

TEST_CASE("An XML resource that begins with a byte order mark is read in its encoding") {
    const Apartment apartment;
    const std::wstring text = L"<a>\u00e9 \u20ac \u65b9 \xD83D\xDE00</a>";
    const struct {
        const char* name;
        std::string bytes;
    } rows[] = {
        {"UTF-8", "\xEF\xBB\xBF<a>\xC3\xA9 \xE2\x82\xAC \xE6\x96\xB9 \xF0\x9F\x98\x80</a>"},
        {"UTF-8, declared",
         "\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-8'?><a>\xC3\xA9 "
         "\xE2\x82\xAC \xE6\x96\xB9 \xF0\x9F\x98\x80</a>"},
        {"UTF-16", utf16(text, false)},
        {"UTF-16, big-endian", utf16(text, true)},
        {"UTF-16, declared", utf16(L"<?xml version='1.0' encoding='UTF-16'?>" + text, false)},
        {"UTF-16, big-endian, declared",
         utf16(L"<?xml version='1.0' encoding='UTF-16'?>" + text, true)},
    };
    for (const auto& row : rows) {
        CAPTURE(row.name);
        const Ledger ledger(withDocument(row.bytes), ResourceLibrary(), ResourceLibrary());
        for (const Load load : kLoaders) {
            ATL::CComPtr<IXMLDOMDocument2> doc;
            REQUIRE(((*ledger.operator->()).*load)(kLedger, 1, doc.p) == S_OK);
            CHECK(textOf(doc, L"a") == L"\u00e9 \u20ac \u65b9 \xD83D\xDE00");
        }
    }
}

TEST_CASE("The XML loaders reject text that is invalid in the encoding of its byte order mark") {
    const Apartment apartment;
    for (const std::string& bytes :
         {std::string("\xEF\xBB\xBF"), std::string("\xEF\xBB\xBF<a>\xE9</a>"),
          std::string("\xEF\xBB\xBF<a>\xC3"), std::string("\xEF\xBB<a/>"), std::string("\xFF\xFE"),
          std::string("\xFE\xFF"), std::string("\xFF"), utf16(L"<a/>", false) + "x",
          utf16(L"<a/>", true) + '\0', utf16(L"<a>", false)}) {
        CAPTURE(bytes);
        const Ledger ledger(withDocument(bytes), ResourceLibrary(), ResourceLibrary());
        for (const Load load : kLoaders) {
            IXMLDOMDocument2* doc = reinterpret_cast<IXMLDOMDocument2*>(1);
            CHECK(((*ledger.operator->()).*load)(kLedger, 1, doc) == E_FAIL);
            CHECK(doc == nullptr);
        }
    }
}

TEST_CASE("A byte order mark has an effect only at the start of an XML resource") {
    const Apartment apartment;
    const Ledger ledger(withDocument("<a>\xEF\xBB\xBF\xC3\xA9</a>"), ResourceLibrary(),
                        ResourceLibrary());
    ATL::CComPtr<IXMLDOMDocument2> doc;

    REQUIRE(ledger->loadXMLDocumentFromResource(kLedger, 1, doc.p) == S_OK);

    CHECK(textOf(doc, L"a") == L"\u00ef\u00bb\u00bf\u00c3\u00a9");
}

UINT g_codePage;
decltype(&::MultiByteToWideChar) g_multiByteToWideChar;

int WINAPI observeCodePage(UINT codePage, DWORD flags, LPCCH text, int length, LPWSTR wide,
                           int wideLength) {
    g_codePage = codePage;
    return g_multiByteToWideChar(codePage, flags, text, length, wide, wideLength);
}

TEST_CASE("An XML resource is read in the ANSI code page of the thread") {
    const Apartment apartment;
    const Ledger ledger(withDocument("<a/>"), ResourceLibrary(), ResourceLibrary());
    const ReplacedImport import("MultiByteToWideChar", &observeCodePage);
    g_multiByteToWideChar = import.original();
    g_codePage = 0;
    ATL::CComPtr<IXMLDOMDocument2> doc;

    CHECK(ledger->loadXMLDocumentFromResource(kLedger, 1, doc.p) == S_OK);

    CHECK(g_codePage == CP_THREAD_ACP);
}

TEST_CASE("The XML loaders reject text that is not well-formed") {
    const Apartment apartment;
    for (const std::string& text : {std::string(), std::string(" "), std::string("text"),
                                    std::string("<a>"), std::string("<a></b>")}) {
        CAPTURE(text);
        const Ledger ledger(withDocument(text), ResourceLibrary(), ResourceLibrary());
        for (const Load load : kLoaders) {
            IXMLDOMDocument2* doc = reinterpret_cast<IXMLDOMDocument2*>(1);
            CHECK(((*ledger.operator->()).*load)(kLedger, 1, doc) == E_FAIL);
            CHECK(doc == nullptr);
        }
    }
}

TEST_CASE("The XML loaders return no document if the resource is missing") {
    const Apartment apartment;
    const Ledger ledger(ResourceLibrary()
                            .resource(L"XML", number(0), "<a/>")
                            .resource(L"XML", number(1), "<a/>")
                            .resource(RT_RCDATA, number(2), "<a/>")
                            .resource(L"XML", L"NAMED", "<a/>"),
                        ResourceLibrary(), ResourceLibrary());
    const struct {
        const wchar_t* module;
        unsigned short id;
    } rows[] = {{kLedger, 0}, {kLedger, 2}, {kLedger, 9}, {nullptr, 1}, {L"missing.dll", 1}};
    for (const Load load : kLoaders) {
        for (const auto& row : rows) {
            IXMLDOMDocument2* doc = reinterpret_cast<IXMLDOMDocument2*>(1);
            CHECK(((*ledger.operator->()).*load)(row.module, row.id, doc) == E_FAIL);
            CHECK(doc == nullptr);
        }
    }
}

TEST_CASE("The XML loaders return no document on a thread without COM") {
    const Ledger ledger(withDocument("<a/>"), ResourceLibrary(), ResourceLibrary());
    for (const Load load : kLoaders) {
        IXMLDOMDocument2* doc = nullptr;
        CHECK(((*ledger.operator->()).*load)(kLedger, 1, doc) == E_FAIL);
        CHECK(doc == nullptr);
    }
}

TEST_CASE("The XML loaders throw E_INVALIDARG if the resource reports a size of 2 GB or more") {
    const Apartment apartment;
    const Ledger ledger(withDocument("<a/>", {0x80000000, 0}), ResourceLibrary(),
                        ResourceLibrary());
    for (const Load load : kLoaders) {
        IXMLDOMDocument2* doc = nullptr;
        HRESULT hr = S_OK;
        try {
            ((*ledger.operator->()).*load)(kLedger, 1, doc);
        } catch (const _com_error& error) {
            hr = error.Error();
        }
        CHECK(hr == E_INVALIDARG);
        CHECK(doc == nullptr);
        CHECK(otherThreadFinishes([&] { ledger->setResourcePath(L""); }));
    }
}

TEST_CASE("An XML resource outside its library is rejected") {
    const Apartment apartment;
    for (const WrongDataEntry wrong : {WrongDataEntry{0x10000000, 0}, WrongDataEntry{0x7FFFFFFF, 0},
                                       WrongDataEntry{0, 0x10000000}}) {
        const Ledger ledger(ResourceLibrary(), ResourceLibrary(), withDocument("<a/>", wrong));
        IXMLDOMDocument2* doc = nullptr;
        CHECK(ledger->loadXMLDocumentFromResource(kLedger, 1, doc) == E_FAIL);
        CHECK(doc == nullptr);
    }
}

TEST_CASE("The XML loaders throw E_OUTOFMEMORY when memory runs out and release the lock") {
    const Apartment apartment;
    const Ledger ledger(withDocument("<a/>"), ResourceLibrary(), ResourceLibrary());
    REQUIRE(ledger->getResLibHandle(kLedger, nullptr, nullptr) != nullptr);
    for (const Load load : kLoaders) {
        HRESULT hr = S_OK;
        IXMLDOMDocument2* doc = nullptr;
        const long failures = testsupport::sweepAllocationFailures(
            [&] {
                doc = nullptr;
                try {
                    hr = ((*ledger.operator->()).*load)(kLedger, 1, doc);
                } catch (const _com_error& error) {
                    hr = error.Error();
                }
                if (doc) doc->Release();
            },
            [&](long failure) {
                CAPTURE(failure);
                CHECK(hr == E_OUTOFMEMORY);
                CHECK(doc == nullptr);
                CHECK(otherThreadFinishes([&] { ledger->setResourcePath(L""); }));
            });
        // The call allocates the XML text, a property name and a property value.
        CHECK(failures == 3);
    }
}

// Scripted documents

// Loads an XML resource into a ScriptedDocument and records the calls that the document receives.
class ScriptedLoad {
public:
    ScriptedLoad()
        : ledger(withDocument("<a/>"), ResourceLibrary(), ResourceLibrary()),
          m_class(kDocument30, [this](REFIID iid, void** object) {
              steps.push_back(L"create");
              if (FAILED(createResult)) return createResult;
              return document.QueryInterface(iid, object);
          }) {
        document.onLoadXml = [this](const std::wstring& text, VARIANT_BOOL* successful) {
            steps.push_back(L"load " + text);
            *successful = wellFormed;
            return loadResult;
        };
        document.onSetProperty = [this](const std::wstring& name, const VARIANT& value) {
            REQUIRE(value.vt == VT_BSTR);
            steps.push_back(L"set " + name + L" " + value.bstrVal);
            handedOver = doc == &document;
            return setResult;
        };
    }

    HRESULT load(unsigned short id = 1) {
        return ledger->loadXMLDocumentFromResource(kLedger, id, doc);
    }

    Ledger ledger;
    testsupport::ScriptedDocument document;
    HRESULT createResult = S_OK, loadResult = S_OK, setResult = S_OK;
    VARIANT_BOOL wellFormed = VARIANT_TRUE;
    std::vector<std::wstring> steps;
    bool handedOver = false;
    IXMLDOMDocument2* doc = nullptr;

private:
    testsupport::ScriptedClass m_class;
};

using Steps = std::vector<std::wstring>;

TEST_CASE("A document is loaded and stored in the output before its query language is set") {
    const Apartment apartment;
    ScriptedLoad scripted;

    CHECK(scripted.load() == S_OK);

    CHECK(scripted.steps == Steps{L"create", L"load <a/>", L"set SelectionLanguage XPath"});
    CHECK(scripted.handedOver);
    CHECK(scripted.doc == &scripted.document);
    CHECK(scripted.document.references() == 1);
}

TEST_CASE("A document is returned even if it rejects the query language") {
    const Apartment apartment;
    for (const HRESULT answer : {E_ACCESSDENIED, S_FALSE}) {
        ScriptedLoad scripted;
        scripted.setResult = answer;
        CHECK(scripted.load() == answer);
        CHECK(scripted.doc == &scripted.document);
        CHECK(scripted.document.references() == 1);
    }
}

TEST_CASE("A document that fails to load is released") {
    const Apartment apartment;
    const struct {
        HRESULT answer;
        VARIANT_BOOL wellFormed;
    } rows[] = {{S_FALSE, VARIANT_FALSE},
                {S_FALSE, VARIANT_TRUE},
                {S_OK, VARIANT_FALSE},
                {E_ACCESSDENIED, VARIANT_TRUE}};
    for (const auto& row : rows) {
        ScriptedLoad scripted;
        scripted.loadResult = row.answer;
        scripted.wellFormed = row.wellFormed;
        CHECK(scripted.load() == E_FAIL);
        CHECK(scripted.doc == nullptr);
        CHECK(scripted.document.references() == 0);
        CHECK(scripted.steps == Steps{L"create", L"load <a/>"});
    }
}

TEST_CASE("A document that cannot be created results in E_FAIL") {
    const Apartment apartment;
    ScriptedLoad scripted;
    scripted.createResult = E_ACCESSDENIED;

    CHECK(scripted.load() == E_FAIL);

    CHECK(scripted.steps == Steps{L"create"});
    CHECK(scripted.doc == nullptr);
}

TEST_CASE("A document is loaded even if the culture changes while it is created") {
    const Apartment apartment;
    const Ledger ledger(ResourceLibrary(), ResourceLibrary(), withDocument("<a>culture</a>"));
    testsupport::ScriptedDocument document;
    std::wstring loaded;
    document.onLoadXml = [&](const std::wstring& text, VARIANT_BOOL* successful) {
        loaded = text;
        *successful = VARIANT_TRUE;
        return S_OK;
    };
    document.onSetProperty = [](const std::wstring&, const VARIANT&) { return S_OK; };
    const testsupport::ScriptedClass documents(kDocument30, [&](REFIID iid, void** object) {
        // While this thread waits until COM has created an object in another apartment or process,
        // COM may dispatch other calls on this thread. The call to setCulture simulates a
        // dispatched call.
        ledger->setCulture(L"de");
        CHECK(::GetModuleHandleW(L"ledger_fr-CA.dll") == nullptr);
        return document.QueryInterface(iid, object);
    });
    IXMLDOMDocument2* doc = nullptr;

    CHECK(ledger->loadXMLDocumentFromResource(kLedger, 1, doc) == S_OK);

    CHECK(loaded == L"<a>culture</a>");
    CHECK(doc == &document);
}

TEST_CASE("A document class that reports success without a document results in E_FAIL") {
    const Apartment apartment;
    Ledger ledger(withDocument("<a/>"), ResourceLibrary(), ResourceLibrary());
    const testsupport::ScriptedClass none(kDocument30, [](REFIID, void** object) {
        *object = nullptr;
        return S_OK;
    });
    IXMLDOMDocument2* doc = nullptr;

    CHECK(ledger->loadXMLDocumentFromResource(kLedger, 1, doc) == E_FAIL);

    CHECK(doc == nullptr);
}

TEST_CASE("No document is created for a resource that is missing") {
    const Apartment apartment;
    ScriptedLoad scripted;

    CHECK(scripted.load(0) == E_FAIL);
    CHECK(scripted.load(9) == E_FAIL);

    CHECK(scripted.steps.empty());
}

TEST_CASE("No document is created for a resource that cannot be locked") {
    const Apartment apartment;
    ScriptedLoad scripted;
    const ReplacedImport import("LockResource", &refuseLock);

    CHECK(scripted.load() == E_FAIL);

    CHECK(scripted.steps.empty());
}

TEST_CASE("loadXML6DocumentFromResource does not use the MSXML 3.0 class") {
    const Apartment apartment;
    ScriptedLoad scripted;
    ATL::CComPtr<IXMLDOMDocument2> doc;

    CHECK(scripted.ledger->loadXML6DocumentFromResource(kLedger, 1, doc.p) == S_OK);

    CHECK(scripted.steps.empty());
    CHECK(doc.p != &scripted.document);
}

TEST_CASE("A document is loaded while the lock is held") {
    const Apartment apartment;
    ScriptedLoad scripted;
    bool hasUsedLock = false;
    HANDLE lockUser = nullptr;
    const auto useManagerLock = [](void* flag) -> DWORD {
        Manager::Instance()->setResourcePath(L"");
        *static_cast<bool*>(flag) = true;
        return 0;
    };
    bool hasUsedLockWhileLoading = true;
    scripted.document.onLoadXml = [&](const std::wstring&, VARIANT_BOOL* successful) {
        lockUser = ::CreateThread(nullptr, 0, useManagerLock, &hasUsedLock, 0, nullptr);
        // The thread ends within 200 ms only if the manager's lock is free.
        hasUsedLockWhileLoading = ::WaitForSingleObject(lockUser, 200) == WAIT_OBJECT_0;
        *successful = VARIANT_TRUE;
        return S_OK;
    };
    scripted.setResult = S_OK;

    CHECK(scripted.load() == S_OK);

    CHECK_FALSE(hasUsedLockWhileLoading);
    CHECK(::WaitForSingleObject(lockUser, 5000) == WAIT_OBJECT_0);
    CHECK(hasUsedLock);
    ::CloseHandle(lockUser);
}

}  // namespace
