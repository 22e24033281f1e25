#pragma once

#include <memory>
#include <optional>

#include "i18nres/Manager.h"
#include "i18nres/SatelliteSearchCache.h"
#include "i18nres/SatelliteStrings.h"

namespace i18nres {

/// What the manager knows of one module, with what it keeps to answer sooner. That is about the
/// satellites and goes with them when the cultures change. No answer about the module itself is
/// kept, which may be unloaded at any time.
struct ModuleRecord : Manager::LocaleBase {
    std::unique_ptr<const SatelliteStrings> cultureStrings;  ///< Of hCultureLib.
    std::unique_ptr<const SatelliteStrings> defaultStrings;  ///< Of hDefaultLib.
    std::optional<SatelliteSearchCache> searchCache;         ///< Of the search for both satellites.
    unsigned uncertainSearches = 0;    ///< Failed searches in a row that were not remembered.
    HINSTANCE moduleAtPath = nullptr;  ///< See baseModule(). It may be unloaded by now.
};

/// Returns the module of a record, not counted; null while it is not loaded. Each lookup asks the
/// system anew, because the module's owner may have freed it.
///
/// GetModuleHandleW takes many times as long for a path as for a file name. Only one module can be
/// loaded from a path, so the module that it returned last is the one as long as the system says
/// that it is loaded from this path.
HINSTANCE baseModule(ModuleRecord& record) noexcept;

/// Asks the libraries of a record one after the other, as lookups for the current culture do: its
/// satellite, the satellite of the default culture, the module. `ask` takes a handle, which is
/// never null, and gives something that tests false when the library has no answer.
/// @return the first answer; an empty one when no library has any.
template <class Ask>
auto searchLibraries(ModuleRecord& record, Ask ask) -> decltype(ask(HINSTANCE())) {
    for (HINSTANCE satellite : {record.hCultureLib, record.hDefaultLib}) {
        if (!satellite) continue;
        if (auto answer = ask(satellite)) return answer;
    }
    const HINSTANCE module = baseModule(record);
    if (!module) return {};
    return ask(module);
}

/// Makes the next lookup search for the satellites of a record again if it has none.
void forgetFailedSearch(ModuleRecord& record) noexcept;

/// Frees both satellites of a record.
void freeSatellites(ModuleRecord& record) noexcept;

}  // namespace i18nres
