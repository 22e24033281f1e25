#include "samples/workstation/ChartsModule.h"

#include <algorithm>
#include <set>

#include <I18nResource.h>

#include "samples/workstation/PageText.h"

namespace {

constexpr wchar_t kCharts[] = L"charts.dll";
constexpr unsigned kStringsPerBlock = 16;

std::wstring pathOf(HMODULE module) {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            ::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(2 * path.size());
    }
}

std::wstring fileName(const std::wstring& path) { return path.substr(path.rfind(L'\\') + 1); }

/// Returns the path of a satellite. For example, the result for "C:\bin\charts.dll" and the tag
/// "fr" is "C:\bin\charts_fr.dll".
std::wstring satellitePath(const std::wstring& modulePath, const std::wstring& tag) {
    return modulePath.substr(0, modulePath.rfind(L'.')) + L"_" + tag + L".dll";
}

BOOL CALLBACK collectIds(HMODULE, LPCWSTR, LPWSTR block, LONG_PTR ids) {
    if (!IS_INTRESOURCE(block)) return TRUE;
    const unsigned number = LOWORD(reinterpret_cast<ULONG_PTR>(block));
    for (unsigned i = 0; number > 0 && i < kStringsPerBlock; ++i)
        reinterpret_cast<std::set<unsigned>*>(ids)->insert((number - 1) * kStringsPerBlock + i);
    return TRUE;
}

bool hasString(HINSTANCE library, unsigned id) {
    wchar_t text[2];
    return ::LoadStringW(library, id, text, 2) > 0;
}

}  // namespace

ChartsModule::ChartsModule() {
    const std::wstring program = pathOf(nullptr);
    m_path = program.substr(0, program.rfind(L'\\') + 1) + kCharts;
    // The module must be loaded before its resources are used.
    m_module.reset(::LoadLibraryW(m_path.c_str()));
}

std::vector<std::wstring> ChartsModule::cultures() const {
    std::vector<std::wstring> tags;
    WIN32_FIND_DATAW file{};
    const std::wstring pattern = satellitePath(m_path, L"*");
    const std::size_t prefix = fileName(pattern).find(L'*');
    const std::unique_ptr<HANDLE, DestroyHandle<HANDLE, ::FindClose>> search(
        ::FindFirstFileW(pattern.c_str(), &file));
    if (search.get() == INVALID_HANDLE_VALUE) return tags;
    do {
        const std::wstring name = file.cFileName;
        const std::wstring tag = name.substr(prefix, name.rfind(L'.') - prefix);
        if (i18nsys::isRfc1766StringValid(tag.c_str())) tags.push_back(tag);
    } while (::FindNextFileW(search.get(), &file));
    std::ranges::sort(tags);
    return tags;
}

/// Returns the libraries that the manager searches for a string, in search order: the satellite for
/// the current culture, the satellite for the default culture, and the module.
std::vector<HINSTANCE> ChartsModule::libraries() const {
    std::vector<HINSTANCE> loaded{i18nres::getResLibHandle(kCharts, nullptr, nullptr)};
    for (const std::wstring& tag : cultures()) {
        const HMODULE satellite = ::GetModuleHandleW(satellitePath(m_path, tag).c_str());
        if (satellite && satellite != loaded.front()) loaded.push_back(satellite);
    }
    loaded.push_back(m_module.get());
    std::erase(loaded, nullptr);
    return loaded;
}

std::vector<ChartsModule::String> ChartsModule::strings() const {
    const std::vector<HINSTANCE> searched = libraries();
    std::set<unsigned> ids;
    for (const HINSTANCE library : searched)
        ::EnumResourceNamesW(library, RT_STRING, collectIds, reinterpret_cast<LONG_PTR>(&ids));

    std::vector<String> found;
    for (const unsigned id : ids) {
        const auto library = std::ranges::find_if(
            searched, [id](HINSTANCE candidate) { return hasString(candidate, id); });
        if (library == searched.end()) continue;
        found.push_back({id, i18nres::loadStdStringW(kCharts, id), fileName(pathOf(*library))});
    }
    return found;
}

Icon ChartsModule::icon(int size) const {
    return Icon(i18nres::loadImageIcon(kCharts, MAKEINTRESOURCEW(1), size, size, 0));
}

Menu ChartsModule::menu() const { return Menu(i18nres::loadMenu(kCharts, MAKEINTRESOURCEW(1))); }

std::wstring ChartsModule::pageText() const {
    std::string page;
    if (i18nres::loadHTMLDocumentFromResource(kCharts, 1, page) != S_OK) return {};
    return textOfPage(page);
}
