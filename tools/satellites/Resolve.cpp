#include "tools/satellites/Resolve.h"

#include <windows.h>

#include <memory>
#include <utility>

#include "tools/satellites/Catalogue.h"
#include "tools/satellites/Failure.h"
#include "tools/satellites/Files.h"
#include "tools/satellites/Json.h"
#include "tools/satellites/TextRules.h"

namespace satellites {

namespace {

std::wstring languageOfTag(const std::wstring& tag) { return tag.substr(0, tag.find(L'-')); }

/// Returns the folders in which the system searches for a DLL, except the folder of the program,
/// which is searched first. The folders are separated by semicolons, as SearchPathW requires.
std::wstring searchedFolders() {
    wchar_t system[MAX_PATH], windows[MAX_PATH];
    ::GetSystemDirectoryW(system, MAX_PATH);
    ::GetWindowsDirectoryW(windows, MAX_PATH);
    std::wstring folders = std::wstring(system) + L";" + windows + L"\\system;" + windows + L";.";
    const DWORD size = ::GetEnvironmentVariableW(L"PATH", nullptr, 0);
    if (size == 0) return folders;
    std::wstring path(size, L'\0');
    path.resize(::GetEnvironmentVariableW(L"PATH", path.data(), size));
    return folders + L";" + path;
}

/// Tries to load files in the same order as I18nResource.dll.
class Search {
public:
    Search(const ResolveRequest& request, Resolution& resolution)
        : m_request(request),
          m_module(readResourceFile(request.module)),
          m_resolution(resolution) {}

    void run() {
        const std::wstring& culture = m_request.culture;
        const std::wstring& fallback = m_request.defaultCulture;
        if (!culture.empty() && culture != fallback) {
            const std::wstring language = languageOfTag(culture);
            const bool hasOwnLanguage = language != culture && language != languageOfTag(fallback);
            searchRole(L"culture", culture, hasOwnLanguage ? language : L"");
        }
        if (!fallback.empty()) {
            const std::wstring language = languageOfTag(fallback);
            searchRole(L"default", fallback, language != fallback ? language : L"");
        }
        m_resolution.steps.push_back({L"module", m_request.module, L"", L""});
        searchLibrary(m_module, m_request.module);
    }

private:
    /// Tries to load the satellite for `tag` from each folder. If this satellite cannot be loaded
    /// from any folder and `language` is not empty, the function tries to load the satellite for
    /// `language`.
    void searchRole(const wchar_t* role, const std::wstring& tag, const std::wstring& language) {
        for (const std::wstring& each : {tag, language}) {
            if (!each.empty() && searchTag(role, each)) return;
        }
    }

    bool searchTag(const wchar_t* role, const std::wstring& tag) {
        const std::wstring name = satelliteNameOf(m_request.module, tag);
        const auto tryPath = [&](const std::wstring& path) {
            m_resolution.steps.push_back({role, path, L"", L"not-there"});
            return load(path);
        };
        if (tryPath(folderOf(m_request.module) + name)) return true;
        if (!m_request.resourcePath.empty() && tryPath(fullPath(m_request.resourcePath + name))) {
            return true;
        }
        if (m_request.resourcePathOnly) return false;

        m_resolution.steps.push_back({role, name, L"", L"not-there"});
        wchar_t found[MAX_PATH];
        const DWORD length = ::SearchPathW(searchedFolders().c_str(), name.c_str(), nullptr,
                                           MAX_PATH, found, nullptr);
        if (length == 0 || length >= MAX_PATH) return false;
        m_resolution.steps.back().found = found;
        return load(found);
    }

    /// Returns true if I18nResource.dll could load the file. If the file exists, the function
    /// stores the result in the last element of `m_resolution.steps`.
    bool load(const std::wstring& path) {
        const DWORD attributes = ::GetFileAttributesW(path.c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES) return false;
        try {
            if (attributes & FILE_ATTRIBUTE_DIRECTORY) throw Unreadable{};
            const ResourceFile file(readFile(path));
            if (file.machine() != m_module.machine()) throw Unreadable{};
            searchLibrary(file, path);
            return true;
        } catch (const Unreadable&) {
        } catch (const Failure&) {
        }
        m_resolution.steps.back().result = L"not-a-library";
        return false;
    }

    /// Searches a loaded library for the string. The function does not search the library if no id
    /// was requested, or if an earlier library contains the string.
    void searchLibrary(const ResourceFile& file, const std::wstring& path) {
        const wchar_t*& result = m_resolution.steps.back().result;
        if (!m_request.id) {
            result = L"loaded";
            if (!m_resolution.match) m_resolution.match = {path, L""};
            return;
        }
        result = L"not-asked";
        if (m_resolution.match) return;
        result = L"no-string";
        auto text = findString(file, *m_request.id);
        if (!text) return;
        result = L"answers";
        m_resolution.match = {path, std::move(*text)};
    }

    const ResolveRequest& m_request;
    const ResourceFile m_module;
    Resolution& m_resolution;
};

}  // namespace

Resolution resolve(const ResolveRequest& request) {
    Resolution resolution;
    Search(request, resolution).run();
    return resolution;
}

std::wstring textOf(const ResolveRequest& request, const Resolution& resolution) {
    std::wstring text;
    for (const ResolveStep& step : resolution.steps) {
        std::wstring role = step.role;
        role.resize(9, L' ');
        std::wstring result = step.result;
        result.resize(15, L' ');
        text += role + result + step.file;
        if (!step.found.empty()) text += L" (" + step.found + L")";
        text += L"\n";
    }
    if (!resolution.match) return text + L"no library has the string\n";
    if (!request.id) return text + resolution.match->file + L" is searched first\n";
    return text + resolution.match->file + L" answers " + inQuotes(resolution.match->text) + L"\n";
}

std::wstring jsonOf(const ResolveRequest& request, const Resolution& resolution) {
    std::wstring text =
        L"{\"module\": " + json(fileNameOf(request.module)) + L", \"culture\": " +
        json(request.culture) + L", \"default\": " + json(request.defaultCulture) + L", \"id\": " +
        (request.id ? std::to_wstring(*request.id) : std::wstring(L"null")) + L",\n \"steps\": [";
    const wchar_t* separator = L"";
    for (const ResolveStep& step : resolution.steps) {
        text += separator + (L"{\"role\": " + json(step.role)) + L", \"file\": " + json(step.file);
        if (!step.found.empty()) text += L", \"found\": " + json(step.found);
        text += L", \"result\": " + json(step.result) + L"}";
        separator = L",\n           ";
    }
    text += L"],\n \"answer\": ";
    if (!resolution.match) return text + L"null}\n";
    text += L"{\"file\": " + json(resolution.match->file);
    if (request.id) text += L", \"text\": " + json(resolution.match->text);
    return text + L"}}\n";
}

}  // namespace satellites
