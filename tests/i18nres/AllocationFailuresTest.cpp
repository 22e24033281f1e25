// Makes each allocation in every call to the resource manager fail once. After a failed allocation,
// the call must throw or report the failure as described in docs/failures.md, release the lock, and
// leak no block. After each failure, the same call must succeed if no allocation fails.
#include <windows.h>

#include <doctest/doctest.h>
#include <msxml2.h>

#include <cstdarg>
#include <list>
#include <new>
#include <string>
#include <vector>

#include "dll/atl.h"
#include "i18nres/i18nres.h"
#include "tests/i18nres/ProtectedManager.h"
#include "tests/support/Apartment.h"
#include "tests/support/Documents.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/SatelliteFolder.h"

namespace {

using namespace testsupport;
using i18nres::Manager;
namespace detail = i18nres::detail;

// The following names, strings and tags are too long for the internal buffer of a std::wstring, so
// each copy allocates memory.
constexpr wchar_t kModule[] = L"a ledger with a long name.dll";
constexpr wchar_t kCulture[] = L"sr-Latn-RS";
const std::wstring kText(300, L'x');
constexpr unsigned kPlain = 1, kPattern = 2, kPrintf = 3, kFallback = 4;

// Loads a module with satellites for the current culture (kCulture) and the default culture
// (en-US), and creates a manager that adds origins and marks to strings.
class Ledger {
public:
    Ledger() : m_module(path()), m_manager(Switches::both) {
        REQUIRE(m_manager->setCulture(kCulture));
    }
    Manager* operator->() const { return m_manager.operator->(); }

    std::wstring file(const std::wstring& name) const { return m_folder.file(name); }

private:
    std::wstring path() {
        const std::wstring name(kModule, std::size(kModule) - 5);
        m_folder.put(kModule, ResourceLibrary());
        m_folder.put(name + L"_en-US.dll", ResourceLibrary().string(kFallback, kText));
        m_folder.put(name + L"_" + kCulture + L".dll",
                     ResourceLibrary()
                         .string(kPlain, kText)
                         .string(kPattern, kText + L" %1")
                         .string(kPrintf, kText + L" %d")
                         .icon(1, 16)
                         .cursor(1, 16)
                         .bitmap(1, 16)
                         .menu(1, 1)
                         .resource(RT_HTML, MAKEINTRESOURCEW(1), std::string(300, 'p'))
                         .resource(L"XML", MAKEINTRESOURCEW(1), "<a/>"));
        m_folder.put(std::wstring(L"a guide with a long name_") + kCulture + L".chm", "");
        return m_folder.file(kModule);
    }

    SatelliteFolder m_folder;
    LoadedModule m_module;
    ManagerSession m_manager;
};

// Acquires and releases the manager's lock. The tests call this function on another thread to check
// that the lock is free.
void useManagerLock() { Manager::Instance()->useResourcePathOnly(false); }

// Calls a method of the manager. The variable arguments are passed to the method as a va_list.
template <class Out>
int formatted(int (Manager::*method)(const wchar_t*, unsigned, Out&, va_list) const, Out* out,
              ...) {
    va_list args;
    va_start(args, out);
    int count = 0;
    try {
        count = (Manager::Instance()->*method)(kModule, kPattern, *out, args);
    } catch (const std::bad_alloc&) {
        va_end(args);
        throw;
    }
    va_end(args);
    return count;
}

TEST_CASE(
    "i18nres_Init throws when memory runs out and leaves the count incremented and the lock held") {
    everyAllocationFails({{"Init", kThrowsBadAlloc,
                           [] {
                               try {
                                   i18nres_Init();
                               } catch (const std::bad_alloc&) {
                                   CHECK(Manager::Instance() == nullptr);
                                   CHECK(Manager::s_nRefCount == 1);
                                   Manager::s_ccsInstance.Unlock();
                                   i18nres_Term();
                                   CHECK(Manager::s_nRefCount == 0);
                                   throw;
                               }
                               i18nres_Term();
                               return S_OK;
                           }}},
                         [] {
                             Manager::s_ccsInstance.Lock();
                             Manager::s_ccsInstance.Unlock();
                         });
}

std::wstring culture() {
    std::wstring tag;
    Manager::Instance()->getCulture(tag);
    return tag;
}

TEST_CASE("A culture is set completely or not at all when memory runs out") {
    const Ledger ledger;
    everyAllocationFails(
        {
            {"setCulture", kThrowsBadAlloc | kThrowsComError | kReturnsFailure,
             [&] { return failureUnless(ledger->setCulture(kCulture)); },
             [&] { ledger->setCulture(L"fr-CA"); },
             [](unsigned outcome) {
                 if (outcome != kThrowsBadAlloc || culture() != kCulture)
                     CHECK(culture() == L"fr-CA");
             }},
            {"setCulture to none", kThrowsBadAlloc,
             [&] {
                 ledger->setCulture(nullptr);
                 return S_OK;
             },
             [&] {
                 ledger->setDefaultCulture(kCulture);
                 ledger->setCulture(L"fr-CA");
             },
             [](unsigned) { CHECK(culture() == L""); }},
            {"setDefaultCulture", kThrowsBadAlloc | kThrowsComError | kReturnsFailure,
             [&] { return failureUnless(ledger->setDefaultCulture(kCulture)); },
             [&] {
                 ledger->setDefaultCulture(L"fr-CA");
                 ledger->setCulture(nullptr);
             }},
        },
        useManagerLock);
}

TEST_CASE("Reading the manager's cultures and paths throws when memory runs out") {
    const Ledger ledger;
    ledger->setDefaultCulture(L"sr-Latn-ME");
    const auto get = [&](void (Manager::*method)(std::wstring&) const) {
        return [&ledger, method] {
            std::wstring text;
            (ledger.operator->()->*method)(text);
            return S_OK;
        };
    };
    const std::wstring file = ledger.file(L"a guide with a long name.chm");
    std::vector<std::wstring> available = {kCulture};
    everyAllocationFails(
        {
            {"getCulture", kThrowsBadAlloc, get(&Manager::getCulture)},
            {"getDefaultCulture", kThrowsBadAlloc, get(&Manager::getDefaultCulture)},
            {"_getNormalizeCultureList", kThrowsBadAlloc,
             [] {
                 std::list<std::wstring> tags;
                 return failureUnless(ProtectedManager::appendCultures(tags));
             }},
            {"getLocaleFileName", kThrowsBadAlloc,
             [&] {
                 std::wstring result, tag;
                 return failureUnless(ledger->getLocaleFileName(file, result, &tag));
             }},
            {"selectLocaleFileName", kThrowsBadAlloc,
             [&] {
                 std::wstring tag;
                 return failureUnless(ledger->selectLocaleFileName(file, available, &tag) !=
                                      available.end());
             }},
        },
        useManagerLock);
}

TEST_CASE("setResourcePath throws when memory runs out and releases the lock") {
    const Ledger ledger;
    const std::wstring path(1000, L'x');
    failNth(1);
    CHECK_THROWS_AS(ledger->setResourcePath(path.c_str()), std::bad_alloc);
    failNth(0);

    CHECK(otherThreadFinishes(useManagerLock));
    ledger->setResourcePath(path.c_str());
}

TEST_CASE("A module that is not resolved for lack of memory is resolved by the next lookup") {
    const Ledger ledger;
    const auto forget = [] { ProtectedManager::freeAll(); };
    const auto isResolved = [](unsigned) {
        const auto* const record = ProtectedManager::record(kModule);
        CHECK(record->hCultureLib != nullptr);
        CHECK(record->hDefaultLib != nullptr);
    };
    everyAllocationFails(
        {
            {"getLocale", kThrowsBadAlloc,
             [] { return failureUnless(ProtectedManager::record(kModule) != nullptr); }, forget,
             isResolved},
            {"getLocale for the default", kThrowsBadAlloc,
             [] { return failureUnless(ProtectedManager::record(kModule, true) != nullptr); },
             forget},
            {"getResLibHandle", kThrowsBadAlloc,
             [&] {
                 return failureUnless(ledger->getResLibHandle(kModule, nullptr, nullptr) !=
                                      nullptr);
             },
             forget, isResolved},
            {"loadStringW", kThrowsBadAlloc,
             [&] {
                 wchar_t buffer[400];
                 return failureUnless(ledger->loadStringW(kModule, kPlain, buffer, 400) > 0);
             },
             forget, isResolved},
        },
        useManagerLock);
}

TEST_CASE("Strings are returned completely or not at all when memory runs out") {
    const Ledger ledger;
    ProtectedManager::record(kModule);
    wchar_t buffer[400];
    char narrow[400];
    const auto bstr = [&](HRESULT (Manager::*load)(const wchar_t*, unsigned, BSTR*), unsigned id) {
        return [&ledger, load, id] {
            BSTR text = reinterpret_cast<BSTR>(1);
            HRESULT hr = S_OK;
            try {
                hr = (ledger.operator->()->*load)(kModule, id, &text);
            } catch (const _com_error&) {
                CHECK(text == nullptr);
                throw;
            }
            ::SysFreeString(text);
            return hr;
        };
    };
    everyAllocationFails(
        {
            {"loadStringA", kThrowsBadAlloc,
             [&] { return failureUnless(ledger->loadStringA(kModule, kPlain, narrow, 400) > 0); },
             nullptr, [&](unsigned) { CHECK(narrow[0] == '\0'); }},
            {"loadDefaultStringA", kThrowsBadAlloc,
             [&] {
                 return failureUnless(ledger->loadDefaultStringA(kModule, kFallback, narrow, 400));
             },
             nullptr, [&](unsigned) { CHECK(narrow[0] == '\0'); }},
            {"loadStdStringW", kThrowsBadAlloc,
             [&] {
                 std::wstring text = L"before";
                 try {
                     return failureUnless(ledger->loadStdStringW(kModule, kPlain, text) > 0);
                 } catch (const std::bad_alloc&) {
                     CHECK((text == L"before"));
                     throw;
                 }
             }},
            {"loadDefaultStdStringW", kThrowsBadAlloc,
             [&] {
                 std::wstring text;
                 return failureUnless(ledger->loadDefaultStdStringW(kModule, kFallback, text) > 0);
             }},
            {"loadStdStringA", kThrowsBadAlloc,
             [&] {
                 std::string text;
                 return failureUnless(ledger->loadStdStringA(kModule, kPlain, text) > 0);
             }},
            {"loadDefaultStdStringA", kThrowsBadAlloc,
             [&] {
                 std::string text;
                 return failureUnless(ledger->loadDefaultStdStringA(kModule, kFallback, text) > 0);
             }},
            {"loadBString", kThrowsComError, bstr(&Manager::loadBString, kFallback)},
            {"loadDefaultBString", kThrowsComError, bstr(&Manager::loadDefaultBString, kFallback)},
            {"the flat loadStdStringW by value", kThrowsBadAlloc,
             [] { return failureUnless(!i18nres::loadStdStringW(kModule, kPlain).empty()); }},
            {"the flat loadDefaultStdStringW by value", kThrowsBadAlloc,
             [] {
                 return failureUnless(!i18nres::loadDefaultStdStringW(kModule, kFallback).empty());
             }},
            {"the flat loadStdStringA by value", kThrowsBadAlloc,
             [] { return failureUnless(!i18nres::loadStdStringA(kModule, kPlain).empty()); }},
            {"the flat loadDefaultStdStringA by value", kThrowsBadAlloc,
             [] {
                 return failureUnless(!i18nres::loadDefaultStdStringA(kModule, kFallback).empty());
             }},
            {"UNSAFE_loadStringFormatW", kThrowsBadAlloc,
             [&] {
                 return failureUnless(
                     detail::UNSAFE_loadStringFormatW(kModule, kPattern, buffer, 400, L"a") > 0);
             },
             nullptr, [&](unsigned) { CHECK(buffer[0] == L'\0'); }},
            {"UNSAFE_loadStdStringFormatW", kThrowsBadAlloc | kReturnsFailure,
             [] {
                 return failureUnless(
                     !detail::UNSAFE_loadStdStringFormatW(kModule, kPattern, L"a").empty());
             }},
            {"UNSAFE_loadDefaultStdStringFormatW", kThrowsBadAlloc | kReturnsFailure,
             [] {
                 return failureUnless(
                     !detail::UNSAFE_loadDefaultStdStringFormatW(kModule, kFallback).empty());
             }},
            {"UNSAFE_loadStdStringFormatA", kThrowsBadAlloc | kReturnsFailure,
             [] {
                 return failureUnless(
                     !detail::UNSAFE_loadStdStringFormatA(kModule, kPattern, L"a").empty());
             }},
            {"loadStdStringFormatW", kThrowsBadAlloc | kReturnsFailure,
             [] {
                 std::wstring text;
                 return failureUnless(formatted(&Manager::loadStdStringFormatW, &text, L"a") > 0);
             }},
            {"loadStdStringFormatA", kThrowsBadAlloc | kReturnsFailure,
             [] {
                 std::string text;
                 return failureUnless(formatted(&Manager::loadStdStringFormatA, &text, L"a") > 0);
             }},
            {"UNSAFE_loadStringPrintfW", kThrowsBadAlloc,
             [&] {
                 return failureUnless(
                     detail::UNSAFE_loadStringPrintfW(kModule, kPrintf, buffer, 400, 1) > 0);
             },
             [&] { buffer[0] = L'b'; }, [&](unsigned) { CHECK((buffer[0] == L'b')); }},
        },
        useManagerLock);
}

TEST_CASE("Lookups that allocate nothing succeed when memory runs out") {
    const Ledger ledger;
    ProtectedManager::record(kModule);
    wchar_t buffer[400];
    everyAllocationFails(
        {
            {"loadStringW", 0,
             [&] { return failureUnless(ledger->loadStringW(kModule, kPlain, buffer, 400) > 0); }},
            {"loadDefaultStringW", 0,
             [&] {
                 return failureUnless(ledger->loadDefaultStringW(kModule, kFallback, buffer, 400));
             }},
            {"getResLibHandle", 0,
             [&] { return failureUnless(ledger->getResLibHandle(kModule, nullptr, nullptr)); }},
            {"getCulture into a buffer", 0,
             [&] { return failureUnless(ledger->getCulture(buffer, 400)); }},
            {"getLanguage", 0,
             [&] {
                 std::wstring language;
                 ledger->getLanguage(language);
                 return failureUnless(language == L"sr");
             }},
            {"loadImageIcon", 0,
             [&] {
                 return failureUnless(
                     ::DestroyIcon(ledger->loadImageIcon(kModule, MAKEINTRESOURCEW(1), 0, 0, 0)));
             }},
            {"loadImageCursor", 0,
             [&] {
                 return failureUnless(::DestroyCursor(
                     ledger->loadImageCursor(kModule, MAKEINTRESOURCEW(1), 0, 0, 0)));
             }},
            {"loadImageBitmap", 0,
             [&] {
                 return failureUnless(::DeleteObject(
                     ledger->loadImageBitmap(kModule, MAKEINTRESOURCEW(1), 0, 0, 0)));
             }},
            {"loadMenu", 0,
             [&] {
                 return failureUnless(
                     ::DestroyMenu(ledger->loadMenu(kModule, MAKEINTRESOURCEW(1))));
             }},
        },
        useManagerLock);
}

TEST_CASE("Pages and documents are returned completely or not at all when memory runs out") {
    const Apartment apartment;
    const Ledger ledger;
    ProtectedManager::record(kModule);
    const Document titles = parse(L"<a><Title>text</Title></a>");
    ATL::CComPtr<IXMLDOMElement> root;
    REQUIRE(titles->get_documentElement(&root) == S_OK);
    const auto document =
        [&](HRESULT (Manager::*load)(const wchar_t*, unsigned short, IXMLDOMDocument2*&)) {
            return [&ledger, load] {
                IXMLDOMDocument2* given = reinterpret_cast<IXMLDOMDocument2*>(1);
                HRESULT hr = S_OK;
                try {
                    hr = (ledger.operator->()->*load)(kModule, 1, given);
                } catch (const _com_error&) {
                    CHECK(given == nullptr);
                    throw;
                }
                CHECK((given != nullptr) == (hr == S_OK));
                if (given) given->Release();
                return hr;
            };
        };
    everyAllocationFails(
        {
            {"loadHTMLDocumentFromResource", kThrowsBadAlloc,
             [&] {
                 std::string page;
                 return ledger->loadHTMLDocumentFromResource(kModule, 1, page);
             }},
            {"loadXMLDocumentFromResource", kThrowsComError | kReturnsFailure,
             document(&Manager::loadXMLDocumentFromResource)},
            {"loadXML6DocumentFromResource", kThrowsComError | kReturnsFailure,
             document(&Manager::loadXML6DocumentFromResource)},
            {"getLocalizedNodeValue", kThrowsBadAlloc | kThrowsComError,
             [&] {
                 BSTR value = nullptr;
                 const HRESULT hr = ledger->getLocalizedNodeValue(root, L"Title", &value);
                 ::SysFreeString(value);
                 return hr;
             }},
        },
        useManagerLock);
}

}  // namespace
