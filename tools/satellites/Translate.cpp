#include "tools/satellites/Translate.h"

#include <windows.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "tools/satellites/Catalogue.h"
#include "tools/satellites/Files.h"
#include "tools/satellites/SatelliteWriter.h"
#include "tools/satellites/VersionInfo.h"

namespace satellites {

namespace {

std::vector<std::byte> copyOf(std::span<const std::byte> data) {
    return {data.begin(), data.end()};
}

void addStrings(const ResourceFile& module, const Translator& translate,
                std::vector<NewResource>& resources) {
    Strings translated;
    std::set<unsigned> blocks;
    for (const auto& [id, text] : StringTable(module)) {
        if (auto translation = translate(contextOf(id), std::wstring(text))) {
            translated.emplace_back(id, std::move(*translation));
            blocks.insert(blockOf(id));
        }
    }
    for (const unsigned block : blocks) {
        resources.push_back({RT_STRING, ResourceId(block), makeStringBlock(block, translated)});
    }
}

/// Adds all menus or all dialogs of the module. Each string that has a translation is replaced with
/// the translation.
template <class Template>
void addTemplates(const ResourceFile& module, const ResourceId& type, const wchar_t* kind,
                  Template (*read)(std::span<const std::byte>),
                  std::vector<std::byte> (*write)(const Template&), const Translator& translate,
                  std::vector<NewResource>& resources) {
    for (const Resource& resource : module.ofType(type)) {
        Template contents = read(resource.data);
        forEachText(contents, [&](const std::wstring& entry, std::wstring& text) {
            if (auto translation = translate(contextOf(kind, resource.name, entry), text)) {
                text = std::move(*translation);
            }
        });
        resources.push_back({type, resource.name, write(contents)});
    }
}

/// Adds the resources that are not translated:
/// - all resources of `base` except string tables, menus, dialogs and version information;
/// - the accelerator tables of the module that `base` does not contain.
void addUntranslated(const ResourceFile& module, const std::optional<std::wstring>& base,
                     std::vector<NewResource>& resources) {
    const ResourceId accelerators = RT_ACCELERATOR;
    const ResourceId translatedTypes[] = {RT_STRING, RT_MENU, RT_DIALOG, RT_VERSION};
    if (base) {
        const ResourceFile satellite = readModule(*base);
        for (const Resource& resource : satellite.resources()) {
            if (std::find(std::begin(translatedTypes), std::end(translatedTypes), resource.type) !=
                std::end(translatedTypes)) {
                continue;
            }
            resources.push_back({resource.type, resource.name, copyOf(resource.data)});
        }
    }
    for (const Resource& table : module.ofType(accelerators)) {
        const bool isInBase =
            std::any_of(resources.begin(), resources.end(), [&](const NewResource& each) {
                return each.type == accelerators && each.name == table.name;
            });
        if (isInBase) continue;
        resources.push_back({accelerators, table.name, copyOf(table.data)});
    }
}

}  // namespace

void makeSatellite(const ResourceFile& module, const std::wstring& moduleName,
                   const std::wstring& culture, const std::optional<std::wstring>& base,
                   const std::wstring& target, const Translator& translate) {
    std::vector<NewResource> resources;
    addStrings(module, translate, resources);
    addTemplates(module, RT_MENU, L"MENU", &readMenu, &writeMenu, translate, resources);
    addTemplates(module, RT_DIALOG, L"DIALOG", &readDialog, &writeDialog, translate, resources);
    addUntranslated(module, base, resources);
    const WORD language = languageOf(culture);
    resources.push_back(
        {RT_VERSION, MAKEINTRESOURCEW(VS_VERSION_INFO),
         makeVersionInfo(fileVersionOf(module).value_or(Version{}), language, fileNameOf(target),
                         moduleName + L", resources for the culture " + culture)});
    writeSatellite(target, module.machine(), language, resources);
}

}  // namespace satellites
