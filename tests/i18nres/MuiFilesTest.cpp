// Modules whose texts lie in .mui files. FindResourceW of Windows returns a resource of such a file
// for the handle of the module; that of Wine does not, so the tests replace it.
#include <windows.h>

#include <doctest/doctest.h>
#include <msxml2.h>

#include <optional>
#include <string>

#include "dll/atl.h"
#include "i18nres/i18nres.h"
#include "tests/support/Apartment.h"
#include "tests/support/LeakListener.h"
#include "tests/support/ReplacedImport.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using testsupport::Apartment;
using testsupport::Lie;
using testsupport::LoadedModule;
using testsupport::ManagerSession;
using testsupport::ReplacedImport;
using testsupport::ResourceLibrary;
using testsupport::SatelliteFolder;

constexpr wchar_t kLedger[] = L"ledger.dll";

// The module whose resources come from a .mui file, and that file.
HMODULE g_module, g_muiFile;
decltype(&::FindResourceW) g_findResource;
decltype(&::LoadResource) g_loadResource;

HRSRC WINAPI findInMuiFile(HMODULE library, const wchar_t* name, const wchar_t* type) {
    return g_findResource(library == g_module ? g_muiFile : library, name, type);
}

HGLOBAL WINAPI loadFromMuiFile(HMODULE library, HRSRC resource) {
    return g_loadResource(library == g_module ? g_muiFile : library, resource);
}

ResourceLibrary withMuiFile(ResourceLibrary library) {
    return library.resource(L"MUI", MAKEINTRESOURCEW(1), "names the languages of the .mui files");
}

// ledger.dll, loaded, without satellites; and fr\ledger.dll.mui, from which the system takes the
// module's resources as long as this exists.
class LedgerWithMuiFile {
public:
    LedgerWithMuiFile(const ResourceLibrary& module, const ResourceLibrary& muiFile)
        : m_module((m_folder.put(kLedger, module), m_folder.file(kLedger))) {
        m_folder.put(L"fr\\ledger.dll.mui", muiFile);
        g_module = m_module.get();
        g_muiFile = ::LoadLibraryExW(m_folder.file(L"fr\\ledger.dll.mui").c_str(), nullptr,
                                     LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
        REQUIRE(g_muiFile);
        m_find.emplace("FindResourceW", &findInMuiFile);
        g_findResource = m_find->original();
        m_load.emplace("LoadResource", &loadFromMuiFile);
        g_loadResource = m_load->original();
    }
    LedgerWithMuiFile(const LedgerWithMuiFile&) = delete;
    LedgerWithMuiFile& operator=(const LedgerWithMuiFile&) = delete;
    ~LedgerWithMuiFile() { ::FreeLibrary(g_muiFile); }

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
    std::optional<ReplacedImport<decltype(::FindResourceW)>> m_find;
    std::optional<ReplacedImport<decltype(::LoadResource)>> m_load;
};

TEST_CASE("strings come from the .mui file of a module") {
    const LedgerWithMuiFile ledger(withMuiFile(ResourceLibrary().string(1, L"module")),
                                   ResourceLibrary().string(1, L"Ouvrir").string(2, L"Fermer"));

    CHECK(ledger.string(1) == L"Ouvrir");
    CHECK(ledger.string(2) == L"Fermer");
    CHECK(ledger.string(3) == L"nothing");
}

TEST_CASE("HTML pages come from the .mui file of a module") {
    const LedgerWithMuiFile ledger(
        withMuiFile(ResourceLibrary()),
        ResourceLibrary().resource(RT_HTML, MAKEINTRESOURCEW(1), "<p>Ouvrir"));

    CHECK(ledger.page(1) == "<p>Ouvrir");
    CHECK(ledger.page(2) == "nothing");
}

TEST_CASE("XML documents come from the .mui file of a module") {
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

TEST_CASE("a resource outside a module that has no .mui file is refused") {
    const LedgerWithMuiFile ledger(
        ResourceLibrary(), ResourceLibrary().resource(RT_HTML, MAKEINTRESOURCEW(1), "<p>Ouvrir"));

    CHECK(ledger.page(1) == "nothing");
}

TEST_CASE("a resource that runs past its .mui file is refused") {
    for (const Lie lie : {Lie{0x10000000, 0}, Lie{0xFFFFFFFF, 0}, Lie{0, 0x10000000}}) {
        const LedgerWithMuiFile ledger(
            withMuiFile(ResourceLibrary()),
            ResourceLibrary()
                .stringBlock(1, L"\4Open", lie)
                .resource(RT_HTML, MAKEINTRESOURCEW(1), "<p>Ouvrir", lie));

        CHECK(ledger.string(0) == L"nothing");
        CHECK(ledger.page(1) == "nothing");
    }
}

TEST_CASE("a resource of a module with a .mui file that lies in no file is refused") {
    const LedgerWithMuiFile ledger(withMuiFile(ResourceLibrary()),
                                   ResourceLibrary().resource(RT_HTML, MAKEINTRESOURCEW(1), "<p>"));
    static std::string s_page(100, 'x');
    const ReplacedImport<decltype(::LockResource)> import(
        "LockResource", +[](HGLOBAL) -> LPVOID { return s_page.data(); });

    CHECK(ledger.page(1) == "nothing");
}

}  // namespace
