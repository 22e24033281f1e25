#pragma once

#include <cstddef>
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
    unsigned uncertainSearches = 0;  ///< Failed searches in a row that were not remembered.
    std::size_t fileNameAt = 0;      ///< In moduleName; 0 where it is no path.
    bool isFoundByFileName = false;  ///< How to ask for the module first, whatever is answered.
};

/// The module of a record as it is loaded now, not counted. Asked anew for each lookup, because
/// whoever loaded the module may have freed it. Null when it is not loaded.
HINSTANCE baseModule(const Manager::LocaleBase& record) noexcept;

/// The same for lookups that take less time than the question. For a path that takes the system
/// seven times as long as for a file name, so the module of the file name is taken where it was
/// loaded from just that path; but a file name that no module has takes the longest of all, so it
/// is asked for only where that led to the module before.
HINSTANCE baseModuleSooner(ModuleRecord& record) noexcept;

/// Asks the libraries of a record one after the other, as lookups for the current culture do: its
/// satellite, the satellite of the default culture, the module. `ask` takes a handle, which is
/// never null, and gives something that tests false when the library has no answer.
/// @return the first answer; an empty one when no library has any.
template <class Ask>
auto searchLibraries(const Manager::LocaleBase& record, Ask ask) -> decltype(ask(HINSTANCE())) {
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
