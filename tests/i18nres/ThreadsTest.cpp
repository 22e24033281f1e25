// Calls the resource manager from many threads. The test case takes one second by default, and may
// run twice. The I18NRESOURCE_TEST_SECONDS environment variable sets a different duration
// in seconds.
#include <windows.h>

#include <doctest/doctest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "i18nres/i18nres.h"
#include "tests/support/LeakListener.h"
#include "tests/support/SatelliteFolder.h"
#include "tests/support/Threads.h"

namespace {

using namespace testsupport;
using i18nres::Manager;

constexpr unsigned kModules = 6;
constexpr unsigned kId = 20;

std::wstring nameOf(unsigned module) { return L"modules" + std::to_wstring(module) + L".dll"; }

// Returns the string that the neutral, French or English library of a module contains. For example,
// textOf(L"French", 2) returns "French of module 2".
std::wstring textOf(const wchar_t* library, unsigned module) {
    return library + std::wstring(L" of module ") + std::to_wstring(module);
}

// Loads several modules with satellites for fr-CA and en-US.
class LoadedModules {
public:
    LoadedModules() {
        for (unsigned module = 0; module < kModules; ++module) {
            const std::wstring stem = L"modules" + std::to_wstring(module);
            put(stem + L".dll", L"neutral", module);
            put(stem + L"_fr-CA.dll", L"French", module);
            put(stem + L"_en-US.dll", L"English", module);
            m_modules.push_back(std::make_unique<LoadedModule>(m_folder.file(stem + L".dll")));
        }
    }

private:
    void put(const std::wstring& file, const wchar_t* library, unsigned module) {
        const std::wstring text = textOf(library, module);
        m_folder.put(file,
                     ResourceLibrary().string(kId, text).resource(
                         RT_HTML, MAKEINTRESOURCEW(1), std::string(text.begin(), text.end())));
    }

    SatelliteFolder m_folder;
    std::vector<std::unique_ptr<LoadedModule>> m_modules;
};

// Loads a module's string with several functions, and then loads the module's HTML page. Returns
// true if each result is the string of the module or of one of its satellites.
bool hasExpectedTexts(unsigned module) {
    const std::wstring name = nameOf(module);
    const auto isOfModule = [module](const std::wstring& text) {
        return text == textOf(L"French", module) || text == textOf(L"English", module) ||
               text == textOf(L"neutral", module);
    };
    wchar_t buffer[64];
    if (i18nres::loadStringW(name.c_str(), kId, buffer, 64) == 0 || !isOfModule(buffer))
        return false;
    if (i18nres::loadDefaultStringW(name.c_str(), kId, buffer, 64) == 0 || !isOfModule(buffer))
        return false;
    if (!isOfModule(i18nres::loadStdStringW(name.c_str(), kId))) return false;
    BSTR text = nullptr;
    if (i18nres::loadBString(name.c_str(), kId, &text) != S_OK) return false;
    const bool isRight = isOfModule(text);
    ::SysFreeString(text);
    std::string page;
    if (i18nres::loadHTMLDocumentFromResource(name.c_str(), 1, page) != S_OK) return false;
    return isRight && isOfModule(std::wstring(page.begin(), page.end()));
}

DWORD testMilliseconds() {
    char seconds[16];
    const DWORD length =
        ::GetEnvironmentVariableA("I18NRESOURCE_TEST_SECONDS", seconds, sizeof seconds);
    const bool isSet = length > 0 && length < sizeof seconds;
    return isSet ? static_cast<DWORD>(std::atoi(seconds)) * 1000 : 1000;
}

TEST_CASE(
    "Eight threads read complete strings while others switch cultures and call Init and Term") {
    const LoadedModules modules;
    std::atomic<bool> over = false;
    // The counters have 64 bits, because a run that takes minutes makes billions of lookups.
    std::atomic<long long> wrong = 0, lookups = 0, switches = 0, clients = 0;
    {
        const ManagerSession manager;
        const auto lookUpStrings = [&] {
            for (unsigned i = 0; !over; ++i, ++lookups)
                if (!hasExpectedTexts(i % kModules)) ++wrong;
        };
        const auto switchCultures = [&] {
            for (; !over; ++switches) {
                const wchar_t* const cultures[] = {L"fr-CA", L"en-GB", nullptr, L"en-US"};
                manager->setCulture(cultures[switches % 4]);
                std::wstring culture;
                manager->getCulture(culture);
                if (culture.size() > 5) ++wrong;
            }
        };
        const auto initAndTerm = [&] {
            for (; !over; ++clients) {
                i18nres_Init();
                if (Manager::Instance() != manager.operator->()) ++wrong;
                i18nres_Term();
            }
        };
        ignoreHandles();
        std::vector<std::unique_ptr<Thread>> threads;
        for (int i = 0; i < 8; ++i) threads.push_back(std::make_unique<Thread>(lookUpStrings));
        threads.push_back(std::make_unique<Thread>(switchCultures));
        for (int i = 0; i < 2; ++i) threads.push_back(std::make_unique<Thread>(initAndTerm));
        ::Sleep(testMilliseconds());
        over = true;
        threads.clear();  // waits for the threads
        CHECK(Manager::s_nRefCount == 1);
        manager->setCulture(L"fr-CA");
        CHECK(hasExpectedTexts(0));
        CHECK(::GetModuleHandleW(L"modules0_fr-CA.dll") != nullptr);
    }
    MESSAGE(lookups.load() << " rounds of lookups, " << switches.load() << " cultures, "
                           << clients.load() << " clients");
    CHECK(wrong == 0);
    CHECK(lookups > 0);
    CHECK(switches > 0);
    CHECK(clients > 0);
    CHECK(Manager::Instance() == nullptr);
    CHECK(::GetModuleHandleW(L"modules0_fr-CA.dll") == nullptr);
}

}  // namespace
