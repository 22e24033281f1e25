#include "i18nres/Satellites.h"

#include <windows.h>

#include <shlwapi.h>

#include <cwchar>
#include <memory>
#include <string>
#include <utility>

#include "platform/CriticalSectionLock.h"
#include "platform/ModuleHandle.h"
#include "platform/PathParts.h"

namespace i18nres {

namespace {

using platform::ModuleHandle;

void freeLibrary(HINSTANCE& library) noexcept {
    if (HINSTANCE freed = std::exchange(library, nullptr)) ::FreeLibrary(freed);
}

/// What GetModuleHandleW answers for `name`. For a path that takes the system seven times as long
/// as for a file name, so the module of the file name is taken where it was loaded from just that
/// path.
HINSTANCE loadedModule(const std::wstring& name) noexcept {
    const std::size_t folderLength = name.rfind(L'\\') + 1;
    if (folderLength > 0) {
        const HINSTANCE candidate = ::GetModuleHandleW(name.c_str() + folderLength);
        wchar_t path[MAX_PATH];
        const DWORD length = candidate ? ::GetModuleFileNameW(candidate, path, MAX_PATH) : 0;
        if (length == name.size() && name.compare(0, length, path, length) == 0) return candidate;
    }
    return ::GetModuleHandleW(name.c_str());
}

/// Finds the module of a record by the name that the caller passed, or loads it by its bare name.
HINSTANCE acquireBaseModule(Manager::LocaleBase& record, const wchar_t* module) {
    record.moduleName = module;
    if (HINSTANCE loaded = ::GetModuleHandleW(module)) return loaded;

    const std::wstring bareName(platform::splitPath(record.moduleName).fileName());
    if (bareName.empty()) return nullptr;
    HINSTANCE loaded = ::LoadLibraryW(bareName.c_str());
    if (!loaded) return nullptr;
    // One reference per record, however often a name that does not lead back to it is resolved.
    freeLibrary(record.hOwnedModule);
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
    return whole ? std::wstring(path, length) : std::wstring(module);
}

/// The folder of an absolute path with a backslash at its end; empty for a relative path and for
/// one that is longer than the platform's path functions take.
std::wstring folderOf(const std::wstring& path) {
    if (path.size() >= MAX_PATH || ::PathIsRelativeW(path.c_str())) return {};
    wchar_t folder[MAX_PATH];
    folder[path.copy(folder, path.size())] = L'\0';
    ::PathRemoveFileSpecW(folder);
    if (!::PathAddBackslashW(folder)) return {};
    return folder;
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

HINSTANCE baseModule(const Manager::LocaleBase& record) noexcept {
    return record.moduleName.empty() ? nullptr : loadedModule(record.moduleName);
}

void freeSatellites(ModuleRecord& record) noexcept {
    record.cultureStrings = {};
    record.defaultStrings = {};
    freeLibrary(record.hCultureLib);
    freeLibrary(record.hDefaultLib);
}

void Manager::setResourcePath(const wchar_t* path) {
    if (!path) return;
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    m_resourcePath = path;
}

void Manager::useResourcePathOnly(bool only) {
    const platform::CriticalSectionLock lock(m_lock.m_sec);
    m_resourcePathOnly = only;
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

    std::wstring defaultLanguage;
    _getDefaultLanguage(defaultLanguage);
    ModuleHandle defaultLib;
    if (!record.hDefaultLib && !m_defaultCulture.empty()) {
        defaultLib.adopt(loadLibrary(path, m_defaultCulture));
        if (!defaultLib && !defaultLanguage.empty() && defaultLanguage != m_defaultCulture) {
            defaultLib.adopt(loadLibrary(path, defaultLanguage));
        }
    }

    // kept: nothing for a culture that is the default one, and no library of a language that is the
    // default one's. Under "en-GB" with the default "en-US", what "en" says is a fallback.
    ModuleHandle cultureLib;
    if (!record.hCultureLib && !m_culture.empty() && m_culture != m_defaultCulture) {
        cultureLib.adopt(loadLibrary(path, m_culture));
        std::wstring language;
        _getLanguage(language);
        if (!cultureLib && !language.empty() && language != defaultLanguage) {
            cultureLib.adopt(loadLibrary(path, language));
        }
    }

    SatelliteStrings defaultStrings(defaultLib.get());
    SatelliteStrings cultureStrings(cultureLib.get());

    // Together, and only now: a record with one satellite is not resolved again.
    if (!record.hDefaultLib) {
        record.hDefaultLib = defaultLib.detach();
        record.defaultStrings = std::move(defaultStrings);
    }
    if (!record.hCultureLib) {
        record.hCultureLib = cultureLib.detach();
        record.cultureStrings = std::move(cultureStrings);
    }
    return &record;
}

HINSTANCE Manager::loadLibrary(const std::wstring& modulePath, const std::wstring& tag) const {
    const std::wstring_view moduleName = platform::splitPath(modulePath).name;
    if (moduleName.size() >= MAX_PATH) return nullptr;
    std::wstring name(moduleName);
    if (!tag.empty()) name.append(L"_").append(tag);
    name.append(L".dll");

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
    const LocaleBase* const record = getLocale(module, false);
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
