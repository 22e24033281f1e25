#include "tools/satellites/Catalogue.h"

#include <utility>

#include "tools/satellites/Failure.h"
#include "tools/satellites/Files.h"

namespace satellites {

namespace {

void visitEntries(std::vector<MenuEntry>& entries, const std::wstring& prefix,
                  const TextVisitor& visit) {
    for (std::size_t position = 0; position < entries.size(); ++position) {
        MenuEntry& entry = entries[position];
        const std::wstring entryPath = prefix + std::to_wstring(position);
        if (!entry.text.empty()) visit(entryPath, entry.text);
        visitEntries(entry.entries, entryPath + L"/", visit);
    }
}

/// Calls `read`, and converts an Unreadable exception to a Failure with the path of the file.
template <class Read>
ResourceFile readOrThrowFailure(const std::wstring& path, Read read) {
    try {
        return read();
    } catch (const Unreadable& unreadable) {
        throw Failure{path + L": " + unreadable.reason};
    }
}

}  // namespace

void forEachText(MenuTemplate& menu, const TextVisitor& visit) {
    visitEntries(menu.entries, L"", visit);
}

void forEachText(DialogTemplate& dialog, const TextVisitor& visit) {
    if (!dialog.caption.empty()) visit(L"", dialog.caption);
    const std::vector<std::wstring> entries = entriesOf(dialog);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        TextOrNumber& title = dialog.controls[i].title;
        if (!title.isNumber && !title.text.empty()) visit(entries[i], title.text);
    }
}

std::vector<std::wstring> entriesOf(const DialogTemplate& dialog) {
    std::vector<std::wstring> entries;
    std::map<DWORD, int> countOfId;
    for (const DialogControl& control : dialog.controls) {
        const int count = ++countOfId[control.id];
        entries.push_back(std::to_wstring(control.id));
        if (count > 1) entries.back() += L"#" + std::to_wstring(count);
    }
    return entries;
}

ResourceFile readResourceFile(const std::wstring& path) {
    return readOrThrowFailure(path, [&] { return ResourceFile(readFile(path)); });
}

ResourceFile readModule(const std::wstring& path) {
    return readOrThrowFailure(path, [&] {
        ResourceFile module(readFile(path));
        if (module.resources().empty()) throw Unreadable{L"the module has no resources"};
        // Read all strings once, to report damaged resources immediately.
        textsOf(module);
        return module;
    });
}

std::wstring contextOf(unsigned stringId) { return L"STRING." + std::to_wstring(stringId); }

std::wstring contextOf(const wchar_t* kind, const ResourceId& name, const std::wstring& entry) {
    std::wstring context = kind + (L"." + name.text());
    if (!entry.empty()) context += L"/" + entry;
    return context;
}

std::vector<TranslatableText> textsOf(const ResourceFile& file) {
    std::vector<TranslatableText> texts;
    for (const auto& [id, text] : StringTable(file)) {
        texts.push_back({contextOf(id), std::wstring(text)});
    }
    for (const Resource& resource : file.ofType(RT_MENU)) {
        MenuTemplate menu = readMenu(resource.data);
        forEachText(menu, [&](const std::wstring& entry, std::wstring& text) {
            texts.push_back({contextOf(L"MENU", resource.name, entry), text});
        });
    }
    for (const Resource& resource : file.ofType(RT_DIALOG)) {
        DialogTemplate dialog = readDialog(resource.data);
        forEachText(dialog, [&](const std::wstring& entry, std::wstring& text) {
            texts.push_back({contextOf(L"DIALOG", resource.name, entry), text});
        });
    }
    return texts;
}

std::map<std::wstring, std::wstring> textsByContext(const ResourceFile& file) {
    std::map<std::wstring, std::wstring> texts;
    for (TranslatableText& each : textsOf(file)) texts.emplace(each.context, std::move(each.text));
    return texts;
}

}  // namespace satellites
