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

/// Owns the libraries that the manager has loaded for one module, and stores data that makes
/// lookups faster. The data depends on the satellites and is discarded when they are freed. Nothing
/// is stored about the contents of the module itself, because the owner of the module may free it
/// at any time.
struct ModuleRecord : Manager::LocaleBase {
    ModuleRecord() = default;
    ModuleRecord(const ModuleRecord&) = delete;  // a copy would free the satellites again
    ModuleRecord& operator=(const ModuleRecord&) = delete;
    ~ModuleRecord() { freeLibraries(); }

    /// Frees the satellites, and the module if the manager loaded it.
    void freeLibraries() noexcept;

    std::unique_ptr<const SatelliteStrings> cultureStrings;  ///< Strings of hCultureLib.
    std::unique_ptr<const SatelliteStrings> defaultStrings;  ///< Strings of hDefaultLib.
    std::optional<SatelliteSearchCache> searchCache;  ///< Empty if no failed search is cached.
    /// Number of consecutive failed searches that were not cached.
    unsigned uncachedFailures = 0;
    HINSTANCE moduleAtPath = nullptr;  ///< See baseModule(). The module may no longer be loaded.

    /// The module, if the manager loaded it (ownsModule is true). GetModuleHandleW might not find
    /// this module by moduleName, because moduleName can be the path of another file.
    platform::ModuleHandle ownedModule;
};

/// Maps the names of modules to their records. Because of `std::less<>`, a lookup allocates no
/// memory for the key.
using ModuleRecords = std::map<std::wstring, std::unique_ptr<ModuleRecord>, std::less<>>;

/// Returns the module that GetModuleHandleW finds by the name in the record, or null if no such
/// module is loaded. The reference count of the module does not change. Each lookup queries the
/// system again, because the owner of the module may have freed it in the meantime.
///
/// If the name is a path, the previously found handle is reused as long as GetModuleFileNameW
/// returns this path for the handle. In this case, the handle is still correct, because at most one
/// loaded module can have this path. The reuse saves time, because GetModuleHandleW takes many
/// times as long for a path as for a file name.
HINSTANCE baseModule(ModuleRecord& record) noexcept;

/// Calls `find` for each library of a record until a call returns a value that converts to true.
/// The libraries are searched in this order: the satellite of the current culture, the satellite of
/// the default culture, the module. `find` receives a handle, which is never null. If `record` is
/// null, `find` is not called.
/// @return the first value that converts to true. If there is no such value, the result converts to
///         false.
template <class Find>
auto searchLibraries(ModuleRecord* record, Find find) -> decltype(find(HINSTANCE())) {
    if (!record) return {};
    for (HINSTANCE satellite : {record->hCultureLib, record->hDefaultLib}) {
        if (!satellite) continue;
        if (auto result = find(satellite)) return result;
    }
    const HINSTANCE module = baseModule(*record);
    if (!module) return {};
    return find(module);
}

/// Discards the cached failure and the number of failed searches. If the record has no satellites,
/// the next lookup searches for them again.
void resetFailedSearches(ModuleRecord& record) noexcept;

/// Moves the satellites of all records into the result, whose destructor frees them. Code in a
/// satellite may call the manager while the satellite is being freed, so set the new culture before
/// you destroy the result.
/// @throws std::bad_alloc if memory runs out. In this case, the records are unchanged.
[[nodiscard]] std::vector<platform::ModuleHandle> takeSatellites(ModuleRecords& records);

}  // namespace i18nres
