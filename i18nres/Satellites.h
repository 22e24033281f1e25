#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "i18nres/Manager.h"
#include "i18nres/SatelliteSearchCache.h"
#include "i18nres/SatelliteStrings.h"
#include "platform/ModuleHandle.h"

namespace i18nres {

/// Owns the libraries of one module, and the members that make lookups faster. Those depend on the
/// satellites and are dropped with them. Nothing about the contents of the module itself is stored,
/// because its owner may free it at any time.
struct ModuleRecord : Manager::LocaleBase {
    ModuleRecord() = default;
    ModuleRecord(const ModuleRecord&) = delete;  // the satellites would be freed twice
    ModuleRecord& operator=(const ModuleRecord&) = delete;
    ~ModuleRecord() { freeLibraries(); }

    /// Frees the satellites, and the module if the manager loaded it.
    void freeLibraries() noexcept;

    std::unique_ptr<const SatelliteStrings> cultureStrings;  ///< Of hCultureLib.
    std::unique_ptr<const SatelliteStrings> defaultStrings;  ///< Of hDefaultLib.
    std::optional<SatelliteSearchCache> searchCache;         ///< Of the search for both satellites.
    unsigned uncertainSearches = 0;    ///< Failed searches in a row that were not remembered.
    HINSTANCE moduleAtPath = nullptr;  ///< See baseModule(). It may be unloaded by now.

    /// The module that the manager loaded, if ownsModule is set. GetModuleHandleW need not find it
    /// by moduleName, which may be the path of another file.
    platform::ModuleHandle ownedModule;
};

/// The records by the name of their module. A lookup by text needs no memory.
using ModuleRecords = std::map<std::wstring, std::unique_ptr<ModuleRecord>, std::less<>>;

/// Returns the module of a record, not counted; null while it is not loaded. Each lookup calls the
/// system again, because the module's owner may have freed it.
///
/// GetModuleHandleW takes many times as long for a path as for a file name. Only one module can be
/// loaded from a path. So the last result is used as long as GetModuleFileNameW returns this path
/// for it.
HINSTANCE baseModule(ModuleRecord& record) noexcept;

/// Searches the libraries of a record in the order of lookups for the current culture: its
/// satellite, the satellite of the default culture, the module. `ask` takes a handle, which is
/// never null, and returns a value that is false if the library does not have the resource.
/// @return the first value that is true; an empty one if there is none.
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

/// Moves the satellites of all records into the result, whose destructor frees them. The code of a
/// satellite may call the manager while it is freed. So the caller sets the new culture before it
/// destroys the result.
/// @throws std::bad_alloc, with all records unchanged.
[[nodiscard]] std::vector<platform::ModuleHandle> takeSatellites(ModuleRecords& records);

}  // namespace i18nres
