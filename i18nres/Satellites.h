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

/// Owns the libraries of one module, and stores data that makes lookups faster. The data depends on
/// the satellites and is discarded with them. Nothing is stored about the contents of the module
/// itself, because its owner may free it at any time.
struct ModuleRecord : Manager::LocaleBase {
    ModuleRecord() = default;
    ModuleRecord(const ModuleRecord&) = delete;  // a copy would free the satellites again
    ModuleRecord& operator=(const ModuleRecord&) = delete;
    ~ModuleRecord() { freeLibraries(); }

    /// Frees the satellites, and the module if the manager loaded it.
    void freeLibraries() noexcept;

    std::unique_ptr<const SatelliteStrings> cultureStrings;  ///< Strings of hCultureLib.
    std::unique_ptr<const SatelliteStrings> defaultStrings;  ///< Strings of hDefaultLib.
    std::optional<SatelliteSearchCache> searchCache;         ///< A failed search, if remembered.
    unsigned uncertainSearches = 0;    ///< Consecutive failed searches that were not remembered.
    HINSTANCE moduleAtPath = nullptr;  ///< See baseModule(). The module may no longer be loaded.

    /// The module that the manager loaded, if ownsModule is true. GetModuleHandleW may not find
    /// this module by moduleName, because moduleName may be the path of another file.
    platform::ModuleHandle ownedModule;
};

/// Maps the name of a module to its record. A lookup allocates no memory for the key.
using ModuleRecords = std::map<std::wstring, std::unique_ptr<ModuleRecord>, std::less<>>;

/// Returns the module of a record without a reference for the caller, or null if the module is not
/// loaded. Each lookup calls the system again, because the owner of the module may have freed it.
///
/// GetModuleHandleW takes many times as long for a path as for a file name. Only one module can be
/// loaded from a path. Therefore the previous result is used as long as GetModuleFileNameW returns
/// the same path for it.
HINSTANCE baseModule(ModuleRecord& record) noexcept;

/// Calls `ask` for each library of a record in the order of lookups for the current culture: the
/// satellite of the current culture, the satellite of the default culture, the module. `ask`
/// receives a handle, which is never null. It returns a value that converts to false if the library
/// does not contain the resource.
/// @return the first value that converts to true, or an empty value if no library contains the
///         resource.
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

/// Forgets a failed search. If the record has no satellites, the next lookup searches for them
/// again.
void forgetFailedSearch(ModuleRecord& record) noexcept;

/// Moves the satellites of all records into the result, whose destructor frees them. The code of a
/// satellite may call the manager while the satellite is freed. Therefore the caller sets the new
/// culture before it destroys the result.
/// @throws std::bad_alloc. All records are then unchanged.
[[nodiscard]] std::vector<platform::ModuleHandle> takeSatellites(ModuleRecords& records);

}  // namespace i18nres
