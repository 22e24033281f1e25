// Tests modules with .mui files. On Windows, FindResourceW finds the resources in the .mui file
// when it is called with the handle of the module. Wine does not support .mui files, so the tests
// replace FindResourceW and LoadResource.
#include <windows.h>

#include <doctest/doctest.h>
#include <msxml2.h>

#include <string>

#include "dll/atl.h"
#include "i18nres/i18nres.h"
#include "tests/support/Apartment.h"
#include "tests/support/LeakListener.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using testsupport::Apartment;
using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::ReplacedImport;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;
using testsupport::WrongDataEntry;

constexpr wchar_t kLedger[] = L"ledger.dll";

// g_muiFile is the loaded .mui file of g_library.
HMODULE g_library, g_muiFile;
decltype(&::FindResourceW) g_findResource;
decltype(&::LoadResource) g_loadResource;

// Replaces FindResourceW and LoadResource. If these functions are called with the handle of
// `library`, they find and load the resources in a .mui file.
class MuiFile {
public:
    MuiFile(HMODULE library, const ResourceLibrary& contents)
        : m_find("FindResourceW", &find), m_load("LoadResource", &load) {
        m_folder.put(L"ledger.dll.mui", contents);
        g_library = library;
        g_muiFile = ::LoadLibraryExW(m_folder.file(L"ledger.dll.mui").c_str(), nullptr,
                                     LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
        REQUIRE(g_muiFile);
        g_findResource = m_find.original();
        g_loadResource = m_load.original();
    }
    MuiFile(const MuiFile&) = delete;
    MuiFile& operator=(const MuiFile&) = delete;
    ~MuiFile() { ::FreeLibrary(g_muiFile); }

private:
    static HRSRC WINAPI find(HMODULE library, const wchar_t* name, const wchar_t* type) {
        return g_findResource(library == g_library ? g_muiFile : library, name, type);
    }
    static HGLOBAL WINAPI load(HMODULE library, HRSRC resource) {
        return g_loadResource(library == g_library ? g_muiFile : library, resource);
    }

    SatelliteFolder m_folder;
    ReplacedImport<decltype(::FindResourceW)> m_find;
    ReplacedImport<decltype(::LoadResource)> m_load;
};

ResourceLibrary withMuiFile(ResourceLibrary library) {
    return library.resource(L"MUI", MAKEINTRESOURCEW(1), "names the languages of the .mui files");
}

// Loads ledger.dll, which has a .mui file and no satellites.
class LedgerWithMuiFile {
public:
    LedgerWithMuiFile(const ResourceLibrary& module, const ResourceLibrary& muiFile)
        : m_module((m_folder.put(kLedger, module), m_folder.file(kLedger))),
          m_muiFile(m_module.get(), muiFile) {}

    i18nres::Manager* operator->() const { return m_manager.operator->(); }

    std::wstring string(unsigned id) const {
        std::wstring text = L"nothing";
        m_manager->loadStdStringW(kLedger, id, text);
        return text;
    }
    std::string page(unsigned short id) const {
        std::string text;
        const HRESULT hr = m_manager->loadHTMLDocumentFromResource(kLedger, id, text);
        return hr == S_OK ? text : "nothing";
    }

private:
    SatelliteFolder m_folder;
    LoadedModule m_module;
    ManagerSession m_manager;
    MuiFile m_muiFile;
};

TEST_CASE("Strings are loaded from the .mui file of a module") {
    const LedgerWithMuiFile ledger(withMuiFile(ResourceLibrary().string(1, L"module")),
                                   ResourceLibrary().string(1, L"Ouvrir").string(2, L"Fermer"));

    CHECK(ledger.string(1) == L"Ouvrir");
    CHECK(ledger.string(2) == L"Fermer");
    CHECK(ledger.string(3) == L"nothing");
}

TEST_CASE("Strings are loaded from the .mui file of a satellite") {
    SatelliteFolder folder;
    folder.put(kLedger, ResourceLibrary());
    folder.put(L"ledger_en-US.dll", withMuiFile(ResourceLibrary().string(1, L"satellite")));
    const LoadedModule module(folder.file(kLedger)), satellite(folder.file(L"ledger_en-US.dll"));
    const MuiFile muiFile(satellite.get(), ResourceLibrary().string(1, L"Open"));
    const ManagerSession manager;
    std::wstring text;

    CHECK(manager->loadStdStringW(kLedger, 1, text) == 4);

    CHECK(text == L"Open");
}

TEST_CASE("HTML pages are loaded from the .mui file of a module") {
    const LedgerWithMuiFile ledger(
        withMuiFile(ResourceLibrary()),
        ResourceLibrary().resource(RT_HTML, MAKEINTRESOURCEW(1), "<p>Ouvrir"));

    CHECK(ledger.page(1) == "<p>Ouvrir");
    CHECK(ledger.page(2) == "nothing");
}

TEST_CASE("XML documents are loaded from the .mui file of a module") {
    const Apartment apartment;
    const LedgerWithMuiFile ledger(
        withMuiFile(ResourceLibrary()),
        ResourceLibrary().resource(L"XML", MAKEINTRESOURCEW(1), "<a>Ouvrir</a>"));
    ATL::CComPtr<IXMLDOMDocument2> document;

    REQUIRE(ledger->loadXMLDocumentFromResource(kLedger, 1, document.p) == S_OK);

    ATL::CComPtr<IXMLDOMElement> root;
    ATL::CComBSTR text;
    REQUIRE(document->get_documentElement(&root) == S_OK);
    REQUIRE(root->get_text(&text) == S_OK);
    CHECK(std::wstring(text.m_str) == L"Ouvrir");
}

TEST_CASE("A resource outside a module that has no .mui file is rejected") {
    const LedgerWithMuiFile ledger(
        ResourceLibrary(), ResourceLibrary().resource(RT_HTML, MAKEINTRESOURCEW(1), "<p>Ouvrir"));

    CHECK(ledger.page(1) == "nothing");
}

TEST_CASE("A resource that extends past its .mui file is rejected") {
    for (const WrongDataEntry wrong : {WrongDataEntry{0x10000000, 0}, WrongDataEntry{0xFFFFFFFF, 0},
                                       WrongDataEntry{0, 0x10000000}}) {
        const LedgerWithMuiFile ledger(
            withMuiFile(ResourceLibrary()),
            ResourceLibrary()
                .stringBlock(1, L"\4Open", wrong)
                .resource(RT_HTML, MAKEINTRESOURCEW(1), "<p>Ouvrir", wrong));

        CHECK(ledger.string(0) == L"nothing");
        CHECK(ledger.page(1) == "nothing");
    }
}

TEST_CASE("A resource in the heap is rejected for a module that has a .mui file") {
    const LedgerWithMuiFile ledger(withMuiFile(ResourceLibrary()),
                                   ResourceLibrary().resource(RT_HTML, MAKEINTRESOURCEW(1), "<p>"));
    static std::string s_page(100, 'x');
    const ReplacedImport<decltype(::LockResource)> import(
        "LockResource", +[](HGLOBAL) -> LPVOID { return s_page.data(); });

    CHECK(ledger.page(1) == "nothing");
}

}  // namespace
