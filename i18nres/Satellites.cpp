#include "i18nres/Satellites.h"

#include <windows.h>

#include <shlwapi.h>

#include <cwchar>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "i18nres/CultureTag.h"
#include "platform/CriticalSectionLock.h"
#include "platform/ModuleHandle.h"
#include "platform/PathParts.h"
#include "platform/QuietErrorMode.h"

namespace i18nres {

namespace {

using platform::ModuleHandle;

/// If a failed search cannot be cached, the next attempt to cache a failure is made this number of
/// searches later. An attempt takes about as long as a search.
constexpr unsigned kSearchesPerAttempt = 16;

/// The manager's settings that determine which files are searched for, and in which folders.
struct SearchSettings {
    const std::wstring& culture;
    const std::wstring& defaultCulture;
    const std::wstring& resourcePath;
    const bool& resourcePathOnly;
};

/// Returns the record of a module, and creates the record if it does not exist. `latest` must be
/// the map entry that the previous call stored, or null. The function stores the map entry of the
/// record in `latest`.
ModuleRecord& findRecord(ModuleRecords& records, const ModuleRecords::value_type*& latest,
                         const wchar_t* module) {
    if (!latest || std::wcscmp(latest->first.c_str(), module) != 0) {
        auto entry = records.find(std::wstring_view(module));
        if (entry == records.end()) {
            entry = records.try_emplace(module, std::make_unique<ModuleRecord>()).first;
        }
        latest = &*entry;
    }
    return *latest->second;
}

bool hasSatellite(const ModuleRecord& record) noexcept {
    return record.hCultureLib || record.hDefaultLib;
}

/// Finds the module of a record by the name that the caller passed. If the module is not loaded,
/// the function loads it by its file name.
HINSTANCE acquireBaseModule(ModuleRecord& record, const wchar_t* module) {
    record.moduleName = module;
    if (const HINSTANCE loaded = ::GetModuleHandleW(module)) return loaded;

    const std::wstring bareName(platform::splitPath(record.moduleName).fileName());
    if (bareName.empty()) return nullptr;
    const platform::QuietErrorMode quiet;
    // Other code may have released the manager's reference to the module, so that the manager's
    // handle is no longer valid.
    if (record.ownedModule && ::GetModuleHandleW(bareName.c_str()) != record.ownedModule.get()) {
        static_cast<void>(record.ownedModule.detach());
    }
    ModuleHandle loaded(::LoadLibraryW(bareName.c_str()));
    if (!loaded) return nullptr;
    // A record keeps only one reference to the module, and releases any earlier reference. An
    // earlier reference exists if GetModuleHandleW does not find the module by the caller's name,
    // because each lookup then loads the module. An earlier reference also exists if the module's
    // DllMain has made a lookup during LoadLibraryW.
    std::swap(record.ownedModule, loaded);
    record.ownsModule = true;
    return record.ownedModule.get();
}

/// Returns the path of a module's file. If `handle` is null or the path is too long, the function
/// returns `module`, which is the name that the caller passed.
std::wstring pathOf(HINSTANCE handle, const wchar_t* module) {
    wchar_t path[MAX_PATH];
    const DWORD length = handle ? ::GetModuleFileNameW(handle, path, MAX_PATH) : 0;
    // If the path does not fit, the system truncates it. With a truncated path, the search could
    // find the wrong satellites.
    const bool isWhole = length > 0 && length < MAX_PATH;
    if (isWhole) return {path, length};
    return module;
}

/// Returns the folder of an absolute path, with a backslash at the end. The result is empty if the
/// path is relative or is too long for the system's path functions.
std::wstring folderOf(const std::wstring& path) {
    if (path.size() >= MAX_PATH || ::PathIsRelativeW(path.c_str())) return {};
    wchar_t folder[MAX_PATH];
    folder[path.copy(folder, path.size())] = L'\0';
    ::PathRemoveFileSpecW(folder);
    // PathAddBackslashW is not used, because under Wine it writes past the end of a full buffer.
    std::wstring withSlash = folder;
    if (!withSlash.ends_with(L'\\')) withSlash.push_back(L'\\');
    if (withSlash.size() >= MAX_PATH) return {};
    return withSlash;
}

/// Returns the file name of a module's satellite for a tag. The result is empty if the name of the
/// module is too long, or if the tag contains characters that are not allowed in a culture tag.
std::wstring satelliteName(const std::wstring& modulePath, const std::wstring& tag) {
    const std::wstring_view moduleName = platform::splitPath(modulePath).name;
    if (moduleName.size() >= MAX_PATH || !isPlainTag(tag)) return {};
    std::wstring name(moduleName);
    if (!tag.empty()) name.append(L"_").append(tag);
    return name.append(L".dll");
}

/// Returns a SatelliteSearch without file names. The caller adds the file names.
SatelliteSearch searchFor(const std::wstring& modulePath, const SearchSettings& settings) {
    SatelliteSearch search;
    search.modulePath = modulePath;
    for (const std::wstring& prefix : {folderOf(modulePath), settings.resourcePath}) {
        if (!prefix.empty()) search.prefixes.push_back(prefix);
    }
    search.bySystem = !settings.resourcePathOnly;
    return search;
}

/// Returns a SatelliteSearch for the satellites that a record does not have.
SatelliteSearch searchForMissing(const ModuleRecord& record, const std::wstring& modulePath,
                                 const SearchSettings& settings) {
    SatelliteSearch search = searchFor(modulePath, settings);
    const auto append = [&](std::vector<std::wstring>& names, const std::wstring& tag) {
        if (tag.empty()) return;
        std::wstring name = satelliteName(modulePath, tag);
        if (!name.empty()) names.push_back(std::move(name));
    };
    const std::wstring language = languageOf(settings.culture);
    const std::wstring defaultLanguage = languageOf(settings.defaultCulture);
    if (!record.hDefaultLib) {
        append(search.defaultNames, settings.defaultCulture);
        if (defaultLanguage != settings.defaultCulture) {
            append(search.defaultNames, defaultLanguage);
        }
    }
    // Compatibility: if the two cultures are the same, satellites are loaded only for the default
    // culture. If the cultures differ but have the same language, only the default culture falls
    // back to the satellite of this language. For example, if the current culture is "en-GB" and
    // the default culture is "en-US", the satellite for "en" is loaded only for the default
    // culture. Callers rely on the resulting search order, which also determines the strings to
    // which marks are added (see Manager::Init()).
    if (!record.hCultureLib && settings.culture != settings.defaultCulture) {
        append(search.cultureNames, settings.culture);
        if (language != settings.culture && language != defaultLanguage) {
            append(search.cultureNames, language);
        }
    }
    return search;
}

/// Tries the file names in order, and loads the first library that it finds in the folders of the
/// search. Returns an empty handle if no library can be loaded.
ModuleHandle loadFirst(const std::vector<std::wstring>& names, const SatelliteSearch& search) {
    const platform::QuietErrorMode quiet;
    for (const std::wstring& name : names) {
        for (const std::wstring& prefix : search.prefixes) {
            ModuleHandle library(::LoadLibraryW((prefix + name).c_str()));
            if (library) return library;
        }
        if (!search.bySystem) continue;
        ModuleHandle library(::LoadLibraryW(name.c_str()));
        if (library) return library;
    }
    return {};
}

std::unique_ptr<const SatelliteStrings> stringsOf(const ModuleHandle& satellite) {
    if (!satellite) return nullptr;
    return std::make_unique<const SatelliteStrings>(satellite.get());
}

/// Owns the satellites from a search, until a record takes ownership of the satellites.
struct FoundSatellites {
    explicit FoundSatellites(const SatelliteSearch& search)
        : defaultLib(loadFirst(search.defaultNames, search)),
          cultureLib(loadFirst(search.cultureNames, search)),
          defaultStrings(stringsOf(defaultLib)),
          cultureStrings(stringsOf(cultureLib)) {}

    explicit operator bool() const noexcept { return defaultLib || cultureLib; }

    ModuleHandle defaultLib, cultureLib;
    std::unique_ptr<const SatelliteStrings> defaultStrings, cultureStrings;
};

/// Stores the satellites from a search in a record. Both satellites are stored in one call, because
/// no further search is made for a record that already has a satellite.
void storeSatellites(ModuleRecord& record, FoundSatellites found) noexcept {
    if (found.defaultLib) {
        record.hDefaultLib = found.defaultLib.detach();
        record.defaultStrings = std::move(found.defaultStrings);
    }
    if (found.cultureLib) {
        record.hCultureLib = found.cultureLib.detach();
        record.cultureStrings = std::move(found.cultureStrings);
    }
}

/// Returns true if an earlier search for the satellites of a record has failed and would fail
/// again.
bool isFailureCached(ModuleRecord& record, const std::wstring& modulePath) noexcept {
    // The cache is moved out of the record during the call to stillValid(). If the call causes the
    // system to load a library, the DllMain of this library may look up a string in the same
    // module. This lookup may replace the cache in the record.
    std::optional<SatelliteSearchCache> cache = std::exchange(record.searchCache, std::nullopt);
    if (!cache || !cache->stillValid(modulePath)) return false;
    record.searchCache = std::move(cache);
    return true;
}

/// Returns an object that can cache the failure of `search`. Call this function before the search.
/// Returns std::nullopt if a change to a folder could go undetected, or if it is too early for
/// another attempt to cache a failure (see kSearchesPerAttempt).
std::optional<SatelliteSearchCache> watchIfDue(const ModuleRecord& record,
                                               const SatelliteSearch& search) {
    if (record.uncachedFailures % kSearchesPerAttempt != 0) return std::nullopt;
    return SatelliteSearchCache::watch(search);
}

void cacheFailure(ModuleRecord& record, std::optional<SatelliteSearchCache> cache) {
    if (cache && cache->seal()) {
        record.searchCache = std::move(cache);
        record.uncachedFailures = 0;
    } else {
        ++record.uncachedFailures;
    }
}

bool isLoadedFrom(HINSTANCE module, const std::wstring& path) noexcept {
    wchar_t loadedFrom[MAX_PATH];
    const DWORD length = ::GetModuleFileNameW(module, loadedFrom, MAX_PATH);
    return length == path.size() && path.compare(0, length, loadedFrom, length) == 0;
}

bool containsResource(HINSTANCE library, const wchar_t* resName, const wchar_t* resType) noexcept {
    if (!resName) return true;
    if (resType != RT_ICON && resType != RT_GROUP_ICON) {
        return ::FindResourceW(library, resName, resType) != nullptr;
    }
    const auto icon =
        static_cast<HICON>(::LoadImageW(library, resName, IMAGE_ICON, 0, 0, LR_DEFAULTSIZE));
    if (!icon) return false;
    ::DestroyIcon(icon);
    return true;
}

}  // namespace

HINSTANCE baseModule(ModuleRecord& record) noexcept {
    const std::wstring& name = record.moduleName;
    if (record.moduleAtPath && isLoadedFrom(record.moduleAtPath, name)) return record.moduleAtPath;

    const HINSTANCE module = name.empty() ? nullptr : ::GetModuleHandleW(name.c_str());
    const bool isPath = name.find(L'\\') != std::wstring::npos;
    record.moduleAtPath = isPath ? module : nullptr;
    return module;
}

void resetFailedSearches(ModuleRecord& record) noexcept {
    record.searchCache.reset();
    record.uncachedFailures = 0;
}

std::vector<ModuleHandle> takeSatellites(ModuleRecords& records) {
    std::vector<ModuleHandle> taken;
    taken.reserve(2 * records.size());
    for (auto& [name, record] : records) {
        resetFailedSearches(*record);
        record->cultureStrings.reset();
        record->defaultStrings.reset();
        for (HINSTANCE* satellite : {&record->hCultureLib, &record->hDefaultLib}) {
            taken.emplace_back(std::exchange(*satellite, nullptr));
        }
    }
    return taken;
}

void ModuleRecord::freeLibraries() noexcept {
    cultureStrings.reset();
    defaultStrings.reset();
    for (HINSTANCE* satellite : {&hCultureLib, &hDefaultLib}) {
        const ModuleHandle freed(std::exchange(*satellite, nullptr));
    }
    const ModuleHandle freed(std::move(ownedModule));
    ownsModule = false;
}

void Manager::setResourcePath(const wchar_t* path) {
    if (!path) return;
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    if (m_resourcePath == path) return;
    m_resourcePath = path;
    for (auto& [name, record] : m_locales) resetFailedSearches(*record);
}

void Manager::useResourcePathOnly(bool only) {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    if (m_resourcePathOnly == only) return;
    m_resourcePathOnly = only;
    for (auto& [name, record] : m_locales) resetFailedSearches(*record);
}

const Manager::LocaleBase* Manager::getLocale(const wchar_t* module, bool forDefault) const {
    return resolve(module, forDefault);
}

ModuleRecord* Manager::resolve(const wchar_t* module, bool forDefault) const {
    if (!module || m_isFreeing) return nullptr;
    ModuleRecord& record = findRecord(m_locales, m_latest, module);
    if (!forDefault && hasSatellite(record)) return &record;
    HINSTANCE base = baseModule(record);
    // Compatibility: if the module is loaded, the methods with "Default" in their names do not load
    // satellites. Callers rely on this behavior.
    if (forDefault && base) return &record;

    if (!base) base = acquireBaseModule(record, module);
    const std::wstring path = pathOf(base, module);
    if (isFailureCached(record, path)) return &record;

    const SearchSettings settings{m_culture, m_defaultCulture, m_resourcePath, m_resourcePathOnly};
    const SatelliteSearch search = searchForMissing(record, path, settings);
    std::optional<SatelliteSearchCache> cache = watchIfDue(record, search);
    FoundSatellites found(search);
    // During the search, the DllMain of a satellite may have looked up a string or set a culture.
    // Discard the result if it is outdated.
    if (search != searchForMissing(record, path, settings)) return &record;
    if (found) {
        storeSatellites(record, std::move(found));
    } else if (!hasSatellite(record)) {
        cacheFailure(record, std::move(cache));
    }
    return &record;
}

HINSTANCE Manager::loadLibrary(const std::wstring& modulePath, const std::wstring& tag) const {
    const std::wstring name = satelliteName(modulePath, tag);
    if (name.empty()) return nullptr;
    const SearchSettings settings{m_culture, m_defaultCulture, m_resourcePath, m_resourcePathOnly};
    return loadFirst({name}, searchFor(modulePath, settings)).detach();
}

HINSTANCE Manager::getResLibHandle(const wchar_t* module, const wchar_t* resName,
                                   const wchar_t* resType) const {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    return searchLibraries(resolve(module, false), [&](HINSTANCE library) -> HINSTANCE {
        return containsResource(library, resName, resType) ? library : nullptr;
    });
}

void Manager::freeLocales() {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    // A library may look up strings while it is being freed. These lookups find no resources, so
    // that they neither change the records nor load another library.
    m_isFreeing = true;
    for (auto& [name, record] : m_locales) record->freeLibraries();
    m_latest = nullptr;
    m_locales.clear();
    m_isFreeing = false;
}

}  // namespace i18nres
