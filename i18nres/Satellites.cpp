#include "i18nres/Satellites.h"

#include <windows.h>

#include <shlwapi.h>

#include <cwchar>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/CriticalSectionLock.h"
#include "platform/ModuleHandle.h"
#include "platform/PathParts.h"
#include "platform/QuietErrorMode.h"

namespace i18nres {

namespace {

using platform::ModuleHandle;

/// A search whose failure could not be remembered is followed by this many before the next attempt
/// to remember one: an attempt takes about as long as a search.
constexpr unsigned kSearchesPerAttempt = 16;

void freeLibrary(HINSTANCE& library) noexcept {
    if (HINSTANCE freed = std::exchange(library, nullptr)) ::FreeLibrary(freed);
}

/// Finds the module of a record by the name that the caller passed, or loads it by its bare name.
HINSTANCE acquireBaseModule(ModuleRecord& record, const wchar_t* module) {
    record.moduleName = module;
    if (HINSTANCE loaded = ::GetModuleHandleW(module)) return loaded;

    const std::wstring bareName(platform::splitPath(record.moduleName).fileName());
    if (bareName.empty()) return nullptr;
    const platform::QuietErrorMode quiet;
    // What was loaded here before may have been unloaded by somebody else.
    const bool stillLoaded =
        record.hOwnedModule && ::GetModuleHandleW(bareName.c_str()) == record.hOwnedModule;
    HINSTANCE loaded = ::LoadLibraryW(bareName.c_str());
    if (!loaded) return nullptr;
    // One reference per record, however often a name that does not lead back to it is resolved.
    if (stillLoaded) freeLibrary(record.hOwnedModule);
    record.hOwnedModule = loaded;
    record.ownsModule = true;
    return loaded;
}

/// Where the file of a module stands; without a module, the name stands in.
std::wstring pathOf(HINSTANCE handle, const wchar_t* module) {
    wchar_t path[MAX_PATH];
    const DWORD length = handle ? ::GetModuleFileNameW(handle, path, MAX_PATH) : 0;
    // A path that does not fit comes cut off, and its last part would name other libraries.
    const bool whole = length > 0 && length < MAX_PATH;
    if (whole) return {path, length};
    return module;
}

/// The folder of an absolute path with a backslash at its end; empty for a relative path and for
/// one that is longer than the platform's path functions take.
std::wstring folderOf(const std::wstring& path) {
    if (path.size() >= MAX_PATH || ::PathIsRelativeW(path.c_str())) return {};
    wchar_t folder[MAX_PATH];
    folder[path.copy(folder, path.size())] = L'\0';
    ::PathRemoveFileSpecW(folder);
    // Not by PathAddBackslashW, which under Wine writes behind a buffer that is full.
    std::wstring withSlash = folder;
    if (!withSlash.ends_with(L'\\')) withSlash.push_back(L'\\');
    if (withSlash.size() >= MAX_PATH) return {};
    return withSlash;
}

/// The name of the file that holds the satellite of a module for one tag; empty for a module whose
/// name is longer than the platform's path functions take.
std::wstring satelliteName(const std::wstring& modulePath, const std::wstring& tag) {
    const std::wstring_view moduleName = platform::splitPath(modulePath).name;
    if (moduleName.size() >= MAX_PATH) return {};
    std::wstring name(moduleName);
    if (!tag.empty()) name.append(L"_").append(tag);
    return name.append(L".dll");
}

std::unique_ptr<const SatelliteStrings> stringsOf(HINSTANCE satellite) {
    return satellite ? std::make_unique<const SatelliteStrings>(satellite) : nullptr;
}

bool isLoadedFrom(HINSTANCE module, const std::wstring& path) noexcept {
    wchar_t loadedFrom[MAX_PATH];
    const DWORD length = ::GetModuleFileNameW(module, loadedFrom, MAX_PATH);
    return length == path.size() && path.compare(0, length, loadedFrom, length) == 0;
}

bool holds(HINSTANCE library, const wchar_t* resName, const wchar_t* resType) noexcept {
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

void forgetFailedSearch(ModuleRecord& record) noexcept {
    record.searchCache.reset();
    record.uncertainSearches = 0;
}

void freeSatellites(ModuleRecord& record) noexcept {
    forgetFailedSearch(record);
    // One after the other: a library that looks up strings while it goes finds the other one whole.
    record.cultureStrings.reset();
    freeLibrary(record.hCultureLib);
    record.defaultStrings.reset();
    freeLibrary(record.hDefaultLib);
}

void Manager::setResourcePath(const wchar_t* path) {
    if (!path) return;
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    if (m_resourcePath == path) return;
    m_resourcePath = path;
    for (auto& [name, record] : m_locales) forgetFailedSearch(*record);
}

void Manager::useResourcePathOnly(bool only) {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    if (m_resourcePathOnly == only) return;
    m_resourcePathOnly = only;
    for (auto& [name, record] : m_locales) forgetFailedSearch(*record);
}

const Manager::LocaleBase* Manager::getLocale(const wchar_t* module, bool forDefault) const {
    return resolve(module, forDefault);
}

ModuleRecord* Manager::resolve(const wchar_t* module, bool forDefault) const {
    if (!module) return nullptr;

    if (!m_latest || std::wcscmp(m_latest->first.c_str(), module) != 0) {
        auto entry = m_locales.find(std::wstring_view(module));
        if (entry == m_locales.end()) {
            // The map owns the record before the record owns any library.
            entry = m_locales.try_emplace(module, std::make_unique<ModuleRecord>()).first;
        }
        m_latest = &*entry;
    }
    ModuleRecord& record = *m_latest->second;

    HINSTANCE base = nullptr;
    if (forDefault) {
        // kept: satellites that a culture change freed come back with the next lookup for the
        // current culture only.
        base = baseModule(record);
        if (base) return &record;
    } else {
        if (record.hCultureLib || record.hDefaultLib) return &record;
        base = baseModule(record);
    }

    if (!base) base = acquireBaseModule(record, module);
    const std::wstring path = pathOf(base, module);
    // Taken out while it is asked: what that loads may come back here.
    std::optional<SatelliteSearchCache> known = std::exchange(record.searchCache, std::nullopt);
    if (known && known->stillValid(path)) {
        record.searchCache = std::move(known);
        return &record;
    }

    std::wstring language, defaultLanguage;
    _getLanguage(language);
    _getDefaultLanguage(defaultLanguage);
    std::vector<std::wstring> defaultTags, cultureTags;
    if (!record.hDefaultLib && !m_defaultCulture.empty()) {
        defaultTags.push_back(m_defaultCulture);
        if (!defaultLanguage.empty() && defaultLanguage != m_defaultCulture) {
            defaultTags.push_back(defaultLanguage);
        }
    }
    // kept: nothing for a culture that is the default one, and no library of a language that is the
    // default one's. Under "en-GB" with the default "en-US", what "en" says is a fallback.
    if (!record.hCultureLib && !m_culture.empty() && m_culture != m_defaultCulture) {
        cultureTags.push_back(m_culture);
        if (!language.empty() && language != defaultLanguage) cultureTags.push_back(language);
    }

    std::optional<SatelliteSearchCache> cache;
    if (record.uncertainSearches % kSearchesPerAttempt == 0) {
        SatelliteSearch search;
        search.modulePath = path;
        for (const auto* tags : {&defaultTags, &cultureTags}) {
            for (const std::wstring& tag : *tags) search.names.push_back(satelliteName(path, tag));
        }
        const std::wstring folder = folderOf(path);
        for (const std::wstring* prefix : {&folder, &m_resourcePath}) {
            if (!prefix->empty()) search.prefixes.push_back(*prefix);
        }
        search.bySystem = !m_resourcePathOnly;
        cache = SatelliteSearchCache::watch(std::move(search));
    }

    ModuleHandle defaultLib, cultureLib;
    for (const std::wstring& tag : defaultTags) {
        if (!defaultLib) defaultLib.adopt(loadLibrary(path, tag));
    }
    for (const std::wstring& tag : cultureTags) {
        if (!cultureLib) cultureLib.adopt(loadLibrary(path, tag));
    }

    auto defaultStrings = stringsOf(defaultLib.get());
    auto cultureStrings = stringsOf(cultureLib.get());

    // Together, and only now: a record with one satellite is not resolved again.
    if (!record.hDefaultLib) {
        record.hDefaultLib = defaultLib.detach();
        record.defaultStrings = std::move(defaultStrings);
    }
    if (!record.hCultureLib) {
        record.hCultureLib = cultureLib.detach();
        record.cultureStrings = std::move(cultureStrings);
    }
    if (record.hDefaultLib || record.hCultureLib) return &record;
    if (cache && cache->seal()) {
        record.searchCache = std::move(cache);
        record.uncertainSearches = 0;
    } else {
        ++record.uncertainSearches;
    }
    return &record;
}

HINSTANCE Manager::loadLibrary(const std::wstring& modulePath, const std::wstring& tag) const {
    const std::wstring name = satelliteName(modulePath, tag);
    if (name.empty()) return nullptr;

    const platform::QuietErrorMode quiet;
    HINSTANCE library = nullptr;
    const std::wstring folder = folderOf(modulePath);
    if (!folder.empty()) library = ::LoadLibraryW((folder + name).c_str());
    if (!library && !m_resourcePath.empty()) {
        library = ::LoadLibraryW((m_resourcePath + name).c_str());
    }
    if (!library && !m_resourcePathOnly) library = ::LoadLibraryW(name.c_str());
    return library;
}

HINSTANCE Manager::getResLibHandle(const wchar_t* module, const wchar_t* resName,
                                   const wchar_t* resType) const {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    ModuleRecord* const record = resolve(module, false);
    if (!record) return nullptr;
    return searchLibraries(*record, [&](HINSTANCE library) -> HINSTANCE {
        return holds(library, resName, resType) ? library : nullptr;
    });
}

void Manager::freeLocales() {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    for (auto& [name, record] : m_locales) {
        freeSatellites(*record);
        freeLibrary(record->hOwnedModule);
        record->ownsModule = false;
    }
    m_latest = nullptr;
    m_locales.clear();
}

}  // namespace i18nres
