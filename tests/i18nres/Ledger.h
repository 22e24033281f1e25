#pragma once
// A module with two satellites, for the tests of strings, images and documents.
#include <windows.h>

#include <doctest/doctest.h>

#include <string>

#include "i18nres/i18nres.h"
#include "tests/support/SatelliteFolder.h"

constexpr wchar_t kLedger[] = L"ledger.dll";

// Loads ledger.dll, which has satellites for fr-CA and en-US. Creates a manager whose current
// culture is fr-CA and whose default culture is en-US.
class Ledger {
public:
    Ledger(const testsupport::ResourceLibrary& module,
           const testsupport::ResourceLibrary& defaultCulture,
           const testsupport::ResourceLibrary& culture,
           testsupport::Switches switches = testsupport::Switches::none)
        : m_module(path(module, defaultCulture, culture)), m_manager(switches) {
        REQUIRE(m_manager->setCulture(L"fr-CA"));
    }

    i18nres::Manager* operator->() const { return m_manager.operator->(); }
    i18nres::Manager& operator*() const { return *m_manager; }

private:
    std::wstring path(const testsupport::ResourceLibrary& module,
                      const testsupport::ResourceLibrary& defaultCulture,
                      const testsupport::ResourceLibrary& culture) {
        m_folder.put(kLedger, module);
        m_folder.put(L"ledger_en-US.dll", defaultCulture);
        m_folder.put(L"ledger_fr-CA.dll", culture);
        return m_folder.file(kLedger);
    }

    testsupport::SatelliteFolder m_folder;
    testsupport::LoadedModule m_module;
    testsupport::ManagerSession m_manager;
};
