#include <windows.h>

#include <comdef.h>
#include <doctest/doctest.h>
#include <msxml2.h>

#include <functional>
#include <initializer_list>
#include <new>
#include <string>
#include <vector>

#include "dll/atl.h"
#include "i18nres/i18nres.h"
#include "tests/support/AllocationSpy.h"
#include "tests/support/Apartment.h"
#include "tests/support/LeakListener.h"
#include "tests/support/OtherThread.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/ProcessCounts.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/SatelliteFolder.h"
#include "tests/support/ScriptedClass.h"
#include "tests/support/ScriptedDom.h"

namespace {

using i18nres::Manager;
using testsupport::Apartment;
using testsupport::Lie;
using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::otherThreadFinishes;
using testsupport::ReplacedImport;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;

constexpr wchar_t kLedger[] = L"ledger.dll";

const wchar_t* number(unsigned short id) { return MAKEINTRESOURCEW(id); }

// ledger.dll, loaded, with satellites for fr-CA and en-US, under a manager whose culture is fr-CA.
class Ledger {
public:
    Ledger(const ResourceLibrary& module, const ResourceLibrary& defaultCulture,
           const ResourceLibrary& culture)
        : m_module(path(module, defaultCulture, culture)) {
        REQUIRE(m_manager->setCulture(L"fr-CA"));
    }
    Manager* operator->() const { return m_manager.operator->(); }

private:
    std::wstring path(const ResourceLibrary& module, const ResourceLibrary& defaultCulture,
                      const ResourceLibrary& culture) {
        m_folder.put(kLedger, module);
        m_folder.put(L"ledger_en-US.dll", defaultCulture);
        m_folder.put(L"ledger_fr-CA.dll", culture);
        return m_folder.file(kLedger);
    }

    SatelliteFolder m_folder;
    LoadedModule m_module;
    ManagerSession m_manager;
};

constexpr CLSID kDocument30 = {
    0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
constexpr CLSID kDocument60 = {
    0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};

// Images

// 1 stands in all three libraries, 2 in the module and the default satellite, 3 in the module.
// Their sizes tell them apart.
class LedgerWithImages : public Ledger {
public:
    LedgerWithImages()
        : Ledger(ResourceLibrary()
                     .icon(1, 48)
                     .icon(2, 48)
                     .icon(3, 48)
                     .cursor(1, 48)
                     .cursor(2, 48)
                     .cursor(3, 48)
                     .bitmap(1, 48)
                     .bitmap(2, 48)
                     .bitmap(3, 48),
                 ResourceLibrary()
                     .icon(1, 32)
                     .icon(2, 32)
                     .cursor(1, 32)
                     .cursor(2, 32)
                     .bitmap(1, 32)
                     .bitmap(2, 32),
                 ResourceLibrary().icon(1, 16).cursor(1, 16).bitmap(1, 16)) {}
};

int widthOf(HBITMAP bitmap) {
    BITMAP info = {};
    if (!bitmap || !::GetObjectW(bitmap, sizeof info, &info)) return 0;
    return info.bmWidth;
}

// 0 for null. The image is destroyed.
int widthOf(HICON icon) {
    ICONINFO info = {};
    if (!icon || !::GetIconInfo(icon, &info)) return 0;
    const int width = widthOf(info.hbmColor ? info.hbmColor : info.hbmMask);
    ::DeleteObject(info.hbmColor);
    ::DeleteObject(info.hbmMask);
    ::DestroyIcon(icon);
    return width;
}

int takeWidth(HBITMAP bitmap) {
    const int width = widthOf(bitmap);
    ::DeleteObject(bitmap);
    return width;
}

TEST_CASE("loadImage searches both satellites and then the module") {
    const LedgerWithImages ledger;
    const int widths[] = {16, 32, 48, 0};
    for (unsigned short id = 1; id <= 4; ++id) {
        CAPTURE(id);
        const int width = widths[id - 1];
        const auto load = [&](UINT type) {
            return ledger->loadImage(kLedger, number(id), type, 0, 0, 0);
        };
        CHECK(widthOf(static_cast<HICON>(load(IMAGE_ICON))) == width);
        CHECK(widthOf(static_cast<HICON>(load(IMAGE_CURSOR))) == width);
        CHECK(takeWidth(static_cast<HBITMAP>(load(IMAGE_BITMAP))) == width);
    }
}

TEST_CASE("the image loaders search like loadImage for their kinds") {
    const LedgerWithImages ledger;
    const int widths[] = {16, 32, 48, 0};
    for (unsigned short id = 1; id <= 4; ++id) {
        CAPTURE(id);
        const int width = widths[id - 1];
        CHECK(widthOf(ledger->loadImageIcon(kLedger, number(id), 0, 0, 0)) == width);
        CHECK(widthOf(ledger->loadImageCursor(kLedger, number(id), 0, 0, 0)) == width);
        CHECK(takeWidth(ledger->loadImageBitmap(kLedger, number(id), 0, 0, 0)) == width);
    }
}

TEST_CASE("the flat image loaders forward to the manager") {
    const LedgerWithImages ledger;

    CHECK(takeWidth(static_cast<HBITMAP>(
              i18nres::loadImage(kLedger, number(1), IMAGE_BITMAP, 0, 0, 0))) == 16);
    CHECK(widthOf(i18nres::loadImageIcon(kLedger, number(1), 0, 0, 0)) == 16);
    CHECK(widthOf(i18nres::loadImageCursor(kLedger, number(1), 0, 0, 0)) == 16);
    CHECK(takeWidth(i18nres::loadImageBitmap(kLedger, number(1), 0, 0, 0)) == 16);
}

TEST_CASE("an image is scaled to the size that the caller asks for") {
    const LedgerWithImages ledger;

    CHECK(widthOf(ledger->loadImageIcon(kLedger, number(1), 24, 24, 0)) == 24);
    CHECK(takeWidth(ledger->loadImageBitmap(kLedger, number(1), 24, 24, 0)) == 24);
}

TEST_CASE("an icon whose image is missing is passed over") {
    const std::string groupWithoutImage("\0\0\1\0\1\0\20\20\0\0\1\0\40\0\0\1\0\0\11\0", 20);
    const Ledger ledger(ResourceLibrary().icon(1, 48), ResourceLibrary(),
                        ResourceLibrary().resource(RT_GROUP_ICON, number(1), groupWithoutImage));

    CHECK(widthOf(ledger->loadImageIcon(kLedger, number(1), 0, 0, 0)) == 48);
}

TEST_CASE("the image loaders give null for a null name and a null or missing module") {
    const LedgerWithImages ledger;
    const struct {
        const wchar_t* module;
        const wchar_t* name;
    } rows[] = {{kLedger, nullptr}, {nullptr, number(1)}, {L"missing.dll", number(1)}};
    for (const auto& row : rows) {
        CHECK(ledger->loadImage(row.module, row.name, IMAGE_ICON, 0, 0, 0) == nullptr);
        CHECK(ledger->loadImageIcon(row.module, row.name, 0, 0, 0) == nullptr);
        CHECK(ledger->loadImageCursor(row.module, row.name, 0, 0, 0) == nullptr);
        CHECK(ledger->loadImageBitmap(row.module, row.name, 0, 0, 0) == nullptr);
    }
}

TEST_CASE("the flat loadImageCursor gives null while there is no manager") {
    REQUIRE(Manager::Instance() == nullptr);

    CHECK(i18nres::loadImageCursor(kLedger, number(1), 0, 0, 0) == nullptr);
}

struct ImageCall {
    std::wstring library;
    UINT type;
    int cx, cy;
    UINT flags;
    bool operator==(const ImageCall&) const = default;
};
std::vector<ImageCall> g_imageCalls;

HANDLE WINAPI refuseImage(HINSTANCE library, const wchar_t*, UINT type, int cx, int cy,
                          UINT flags) {
    wchar_t path[MAX_PATH];
    ::GetModuleFileNameW(library, path, MAX_PATH);
    g_imageCalls.push_back(
        {std::wstring(path).substr(std::wstring(path).rfind(L'\\') + 1), type, cx, cy, flags});
    return nullptr;
}

TEST_CASE("LoadImageW gets the caller's arguments unchanged from each library") {
    const LedgerWithImages ledger;
    REQUIRE(ledger->getResLibHandle(kLedger, nullptr, nullptr) != nullptr);
    const ReplacedImport import("LoadImageW", &refuseImage);
    g_imageCalls.clear();

    CHECK(ledger->loadImage(kLedger, number(1), 77, 12, -34, 0xABCD) == nullptr);
    CHECK(g_imageCalls == std::vector<ImageCall>{{L"ledger_fr-CA.dll", 77, 12, -34, 0xABCD},
                                                 {L"ledger_en-US.dll", 77, 12, -34, 0xABCD},
                                                 {L"ledger.dll", 77, 12, -34, 0xABCD}});

    g_imageCalls.clear();
    ledger->loadImageIcon(kLedger, number(1), 5, 6, LR_SHARED);
    ledger->loadImageCursor(kLedger, number(1), 5, 6, LR_SHARED);
    ledger->loadImageBitmap(kLedger, number(1), 5, 6, LR_SHARED);
    REQUIRE(g_imageCalls.size() == 9);
    CHECK(g_imageCalls[0] == ImageCall{L"ledger_fr-CA.dll", IMAGE_ICON, 5, 6, LR_SHARED});
    CHECK(g_imageCalls[3] == ImageCall{L"ledger_fr-CA.dll", IMAGE_CURSOR, 5, 6, LR_SHARED});
    CHECK(g_imageCalls[6] == ImageCall{L"ledger_fr-CA.dll", IMAGE_BITMAP, 5, 6, LR_SHARED});

    g_imageCalls.clear();
    ledger->loadImageIcon(kLedger, nullptr, 5, 6, LR_SHARED);
    CHECK(g_imageCalls.empty());
    g_imageCalls.shrink_to_fit();
}

// Menus

int takeItems(HMENU menu) {
    if (!menu) return 0;
    const int items = ::GetMenuItemCount(menu);
    ::DestroyMenu(menu);
    return items;
}

TEST_CASE("loadMenu searches the two satellites and not the module") {
    const Ledger ledger(ResourceLibrary().menu(1, 3).menu(2, 3).menu(3, 3),
                        ResourceLibrary().menu(1, 2).menu(2, 2), ResourceLibrary().menu(1, 1));

    CHECK(takeItems(ledger->loadMenu(kLedger, number(1))) == 1);
    CHECK(takeItems(ledger->loadMenu(kLedger, number(2))) == 2);
    CHECK(ledger->loadMenu(kLedger, number(3)) == nullptr);
    CHECK(ledger->loadMenu(kLedger, number(4)) == nullptr);
    CHECK(takeItems(i18nres::loadMenu(kLedger, number(2))) == 2);
}

TEST_CASE("loadMenu gives null for a null or missing module and a null name") {
    const Ledger ledger(ResourceLibrary(), ResourceLibrary().menu(1, 2), ResourceLibrary());

    CHECK(ledger->loadMenu(nullptr, number(1)) == nullptr);
    CHECK(ledger->loadMenu(L"missing.dll", number(1)) == nullptr);
    CHECK(ledger->loadMenu(kLedger, nullptr) == nullptr);
}

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

TEST_CASE("loadHTMLDocumentFromResource gives the bytes of the page unchanged") {
    const std::string bytes("\xef\xbb\xbf<p>\xe9\0\r\n\x80\xff", 12);
    const Ledger ledger(ResourceLibrary().resource(RT_HTML, number(1), bytes), ResourceLibrary(),
                        ResourceLibrary());
    std::string text;

    CHECK(ledger->loadHTMLDocumentFromResource(kLedger, 1, text) == S_OK);

    CHECK(text == bytes);
}

TEST_CASE("loadHTMLDocumentFromResource gives an empty page and a page of 16 MB") {
    std::string large(16 << 20, '\0');
    for (std::size_t at = 0; at < large.size(); ++at) large[at] = static_cast<char>(at * 7 >> 3);
    const Ledger ledger(
        ResourceLibrary().resource(RT_HTML, number(1), "").resource(RT_HTML, number(2), large),
        ResourceLibrary(), ResourceLibrary());
    std::string text = "before";

    CHECK(ledger->loadHTMLDocumentFromResource(kLedger, 1, text) == S_OK);
    CHECK(text.empty());
    CHECK(ledger->loadHTMLDocumentFromResource(kLedger, 2, text) == S_OK);
    CHECK(bool(text == large));  // not shown when it fails
}

TEST_CASE("loadHTMLDocumentFromResource empties the page when there is none") {
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

TEST_CASE("ids of pages and documents have 16 bits") {
    const Ledger ledger(ResourceLibrary().resource(RT_HTML, number(1), "<p>"), ResourceLibrary(),
                        ResourceLibrary());
    std::string text;

    CHECK(ledger->loadHTMLDocumentFromResource(kLedger, static_cast<unsigned short>(0x10001),
                                               text) == S_OK);
    CHECK(ledger->loadHTMLDocumentFromResource(kLedger, static_cast<unsigned short>(0x10000),
                                               text) == E_FAIL);
}

TEST_CASE("a page that lies outside its library is refused") {
    for (const Lie lie : {Lie{0x10000000, 0}, Lie{0x80000000, 0}, Lie{0xFFFFFFFF, 0},
                          Lie{0, 0x10000000}, Lie{0, 0x80000000}}) {
        const Ledger ledger(ResourceLibrary().resource(RT_HTML, number(1), "<p>module"),
                            ResourceLibrary(),
                            ResourceLibrary().resource(RT_HTML, number(1), "<p>", lie));
        std::string text = "before";
        CHECK(ledger->loadHTMLDocumentFromResource(kLedger, 1, text) == E_FAIL);
        CHECK(text.empty());
    }
}

LPVOID WINAPI refuseLock(HGLOBAL) { return nullptr; }
HGLOBAL WINAPI refuseLoad(HMODULE, HRSRC) { return nullptr; }

TEST_CASE("a page that cannot be loaded or locked is refused") {
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

TEST_CASE("loadHTMLDocumentFromResource without memory throws and leaves the lock") {
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

ResourceLibrary withDocument(const std::string& text, Lie lie = {}) {
    return ResourceLibrary().resource(L"XML", number(1), text, lie);
}

TEST_CASE("the XML loaders search both satellites and then the module") {
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

TEST_CASE("the flat XML loaders forward to the manager") {
    const Apartment apartment;
    const Ledger ledger(withDocument("<a>module</a>"), ResourceLibrary(), ResourceLibrary());
    ATL::CComPtr<IXMLDOMDocument2> doc, doc6;

    CHECK(i18nres::loadXMLDocumentFromResource(kLedger, 1, doc.p) == S_OK);
    CHECK(i18nres::loadXML6DocumentFromResource(kLedger, 1, doc6.p) == S_OK);

    CHECK(textOf(doc, L"a") == L"module");
    CHECK(textOf(doc6, L"a") == L"module");
}

TEST_CASE("a loaded document answers XPath queries and belongs to the caller alone") {
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

TEST_CASE("the text of an XML resource is ANSI text") {
    const Apartment apartment;
    const Ledger ledger(withDocument("<a>\xe9\x80</a>"), ResourceLibrary(), ResourceLibrary());
    for (const Load load : kLoaders) {
        ATL::CComPtr<IXMLDOMDocument2> doc;
        REQUIRE(((*ledger.operator->()).*load)(kLedger, 1, doc.p) == S_OK);
        CHECK(textOf(doc, L"a") == L"\u00e9\u20ac");
    }
}

TEST_CASE("the text of an XML resource is ANSI text whatever encoding it declares") {
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

UINT g_codePage;
decltype(&::MultiByteToWideChar) g_multiByteToWideChar;

int WINAPI observeCodePage(UINT codePage, DWORD flags, LPCCH text, int length, LPWSTR wide,
                           int wideLength) {
    g_codePage = codePage;
    return g_multiByteToWideChar(codePage, flags, text, length, wide, wideLength);
}

TEST_CASE("the text of an XML resource is read in the code page of the thread") {
    const Apartment apartment;
    const Ledger ledger(withDocument("<a/>"), ResourceLibrary(), ResourceLibrary());
    const ReplacedImport import("MultiByteToWideChar", &observeCodePage);
    g_multiByteToWideChar = import.original();
    g_codePage = 0;
    ATL::CComPtr<IXMLDOMDocument2> doc;

    CHECK(ledger->loadXMLDocumentFromResource(kLedger, 1, doc.p) == S_OK);

    CHECK(g_codePage == CP_THREAD_ACP);
}

TEST_CASE("text that is not well-formed gives no document") {
    const Apartment apartment;
    for (const std::string& text :
         {std::string(), std::string(" "), std::string("text"), std::string("<a>"),
          std::string("<a></b>"), std::string("\xff\xfe<\0a\0/\0>\0", 10)}) {
        CAPTURE(text);
        const Ledger ledger(withDocument(text), ResourceLibrary(), ResourceLibrary());
        for (const Load load : kLoaders) {
            IXMLDOMDocument2* doc = reinterpret_cast<IXMLDOMDocument2*>(1);
            CHECK(((*ledger.operator->()).*load)(kLedger, 1, doc) == E_FAIL);
            CHECK(doc == nullptr);
        }
    }
}

TEST_CASE("the XML loaders give no document when the resource is missing") {
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

TEST_CASE("the XML loaders give no document in a thread without COM") {
    const Ledger ledger(withDocument("<a/>"), ResourceLibrary(), ResourceLibrary());
    for (const Load load : kLoaders) {
        IXMLDOMDocument2* doc = nullptr;
        CHECK(((*ledger.operator->()).*load)(kLedger, 1, doc) == E_FAIL);
        CHECK(doc == nullptr);
    }
}

TEST_CASE("an XML resource that claims 2 GB or more raises E_INVALIDARG") {
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

TEST_CASE("an XML resource that lies outside its library gives no document") {
    const Apartment apartment;
    for (const Lie lie : {Lie{0x10000000, 0}, Lie{0x7FFFFFFF, 0}, Lie{0, 0x10000000}}) {
        const Ledger ledger(ResourceLibrary(), ResourceLibrary(), withDocument("<a/>", lie));
        IXMLDOMDocument2* doc = nullptr;
        CHECK(ledger->loadXMLDocumentFromResource(kLedger, 1, doc) == E_FAIL);
        CHECK(doc == nullptr);
    }
}

TEST_CASE("the XML loaders without memory raise E_OUTOFMEMORY and leave the lock") {
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
        CHECK(failures == 3);  // the text, the property's name and its value
    }
}

// Documents of the test in the place of the platform's

// The steps of a load, as the document sees them.
class ScriptedLoad {
public:
    ScriptedLoad()
        : ledger(withDocument("<a/>"), ResourceLibrary(), ResourceLibrary()),
          m_class(kDocument30, [this](REFIID iid, void** object) {
              steps.push_back(L"create");
              if (FAILED(createAnswer)) return createAnswer;
              return document.QueryInterface(iid, object);
          }) {
        document.onLoadXml = [this](const std::wstring& text, VARIANT_BOOL* successful) {
            steps.push_back(L"load " + text);
            *successful = wellFormed;
            return loadAnswer;
        };
        document.onSetProperty = [this](const std::wstring& name, const VARIANT& value) {
            REQUIRE(value.vt == VT_BSTR);
            steps.push_back(L"set " + name + L" " + value.bstrVal);
            handedOver = doc == &document;
            return setAnswer;
        };
    }

    HRESULT load(unsigned short id = 1) {
        return ledger->loadXMLDocumentFromResource(kLedger, id, doc);
    }

    Ledger ledger;
    testsupport::ScriptedDocument document;
    HRESULT createAnswer = S_OK, loadAnswer = S_OK, setAnswer = S_OK;
    VARIANT_BOOL wellFormed = VARIANT_TRUE;
    std::vector<std::wstring> steps;
    bool handedOver = false;
    IXMLDOMDocument2* doc = nullptr;

private:
    testsupport::ScriptedClass m_class;
};

using Steps = std::vector<std::wstring>;

TEST_CASE("a document is created then loaded then handed over then told its query language") {
    const Apartment apartment;
    ScriptedLoad scripted;

    CHECK(scripted.load() == S_OK);

    CHECK(scripted.steps == Steps{L"create", L"load <a/>", L"set SelectionLanguage XPath"});
    CHECK(scripted.handedOver);
    CHECK(scripted.doc == &scripted.document);
    CHECK(scripted.document.references() == 1);
}

TEST_CASE("a document is the caller's even when it refuses the query language") {
    const Apartment apartment;
    for (const HRESULT answer : {E_ACCESSDENIED, S_FALSE}) {
        ScriptedLoad scripted;
        scripted.setAnswer = answer;
        CHECK(scripted.load() == answer);
        CHECK(scripted.doc == &scripted.document);
        CHECK(scripted.document.references() == 1);
    }
}

TEST_CASE("a document that does not load is released") {
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
        scripted.loadAnswer = row.answer;
        scripted.wellFormed = row.wellFormed;
        CHECK(scripted.load() == E_FAIL);
        CHECK(scripted.doc == nullptr);
        CHECK(scripted.document.references() == 0);
        CHECK(scripted.steps == Steps{L"create", L"load <a/>"});
    }
}

TEST_CASE("a document that cannot be created gives E_FAIL") {
    const Apartment apartment;
    ScriptedLoad scripted;
    scripted.createAnswer = E_ACCESSDENIED;

    CHECK(scripted.load() == E_FAIL);

    CHECK(scripted.steps == Steps{L"create"});
    CHECK(scripted.doc == nullptr);
}

TEST_CASE("a document that is none though it was created gives E_FAIL") {
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

TEST_CASE("no document is created for a resource that is missing") {
    const Apartment apartment;
    ScriptedLoad scripted;

    CHECK(scripted.load(0) == E_FAIL);
    CHECK(scripted.load(9) == E_FAIL);

    CHECK(scripted.steps.empty());
}

TEST_CASE("no document is created for a resource that cannot be locked") {
    const Apartment apartment;
    ScriptedLoad scripted;
    const ReplacedImport import("LockResource", &refuseLock);

    CHECK(scripted.load() == E_FAIL);

    CHECK(scripted.steps.empty());
}

TEST_CASE("loadXML6DocumentFromResource does not ask the class of the older documents") {
    const Apartment apartment;
    ScriptedLoad scripted;
    ATL::CComPtr<IXMLDOMDocument2> doc;

    CHECK(scripted.ledger->loadXML6DocumentFromResource(kLedger, 1, doc.p) == S_OK);

    CHECK(scripted.steps.empty());
    CHECK(doc.p != &scripted.document);
}

TEST_CASE("a document is loaded under the lock") {
    const Apartment apartment;
    ScriptedLoad scripted;
    bool entered = false;
    HANDLE waiting = nullptr;
    const auto enter = [](void* flag) -> DWORD {
        Manager::Instance()->setResourcePath(L"");
        *static_cast<bool*>(flag) = true;
        return 0;
    };
    bool enteredWhileLoading = true;
    scripted.document.onLoadXml = [&](const std::wstring&, VARIANT_BOOL* successful) {
        waiting = ::CreateThread(nullptr, 0, enter, &entered, 0, nullptr);
        // The thread comes to its end only if it need not wait for the lock.
        enteredWhileLoading = ::WaitForSingleObject(waiting, 200) == WAIT_OBJECT_0;
        *successful = VARIANT_TRUE;
        return S_OK;
    };
    scripted.setAnswer = S_OK;

    CHECK(scripted.load() == S_OK);

    CHECK_FALSE(enteredWhileLoading);
    CHECK(::WaitForSingleObject(waiting, 5000) == WAIT_OBJECT_0);
    CHECK(entered);
    ::CloseHandle(waiting);
}

// Values of nodes

// The root element of a document with children in several languages.
class Titles {
public:
    explicit Titles(const wchar_t* xml, REFCLSID documentClass = kDocument30) {
        REQUIRE(::CoCreateInstance(documentClass, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument,
                                   reinterpret_cast<void**>(&m_document)) == S_OK);
        VARIANT_BOOL loaded = VARIANT_FALSE;
        REQUIRE(m_document->loadXML(ATL::CComBSTR(xml), &loaded) == S_OK);
        REQUIRE(m_document->selectSingleNode(ATL::CComBSTR(L"/*"), &m_root) == S_OK);
    }
    IXMLDOMNode* root() const { return m_root; }

    // "E_FAIL" for that result.
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

TEST_CASE("getLocalizedNodeValue takes the first language of the fallback list that there is") {
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

TEST_CASE("getLocalizedNodeValue without a culture starts at the default culture") {
    const Apartment apartment;
    const ManagerSession manager;
    const Titles titles(L"<a><Title xml:lang='fr'>0</Title><Title xml:lang='en-US'>1</Title></a>");

    CHECK(titles.value(manager) == L"1");
}

TEST_CASE("getLocalizedNodeValue puts the name into the query as it stands") {
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

TEST_CASE("getLocalizedNodeValue refuses null arguments") {
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

// A node whose queries find what the test says.
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

TEST_CASE("getLocalizedNodeValue asks for the tags of the fallback list and then for none") {
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

TEST_CASE("getLocalizedNodeValue goes on when a node is found but its text cannot be read") {
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

TEST_CASE("getLocalizedNodeValue frees a text that comes with a failure") {
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

TEST_CASE("getLocalizedNodeValue does not read a node that comes with S_FALSE") {
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

TEST_CASE("the flat getLocalizedNodeValue forwards to the manager") {
    const Apartment apartment;
    const ManagerSession manager;
    const Titles titles(L"<a><Title>0</Title></a>");
    wchar_t* value = nullptr;

    CHECK(i18nres::getLocalizedNodeValue(titles.root(), L"Title", &value) == S_OK);

    CHECK(std::wstring(value) == L"0");
    ::SysFreeString(value);
}

TEST_CASE("getLocalizedNodeValue without memory throws and leaves the lock") {
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
