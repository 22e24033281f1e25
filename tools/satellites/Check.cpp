#include "tools/satellites/Check.h"

#include <algorithm>
#include <climits>
#include <iterator>
#include <map>
#include <tuple>
#include <utility>

#include "i18nsys/i18nsys.h"
#include "tools/satellites/ByteReader.h"
#include "tools/satellites/Failure.h"
#include "tools/satellites/Files.h"
#include "tools/satellites/TextRules.h"

namespace satellites {

namespace {

constexpr std::pair<std::wstring_view, Severity> kSeverities[] = {
    {L"missing-string", Severity::warning},        {L"extra-string", Severity::warning},
    {L"identical-string", Severity::advice},       {L"insert-mismatch", Severity::error},
    {L"insert-missing", Severity::warning},        {L"printf-mismatch", Severity::error},
    {L"missing-resource", Severity::warning},      {L"extra-resource", Severity::warning},
    {L"shape-mismatch", Severity::warning},        {L"accelerator-missing", Severity::warning},
    {L"accelerator-duplicate", Severity::warning}, {L"shortcut-changed", Severity::advice},
    {L"length-growth", Severity::advice},          {L"version-mismatch", Severity::warning},
    {L"culture-invalid", Severity::warning},       {L"contains-code", Severity::error},
    {L"wrong-machine", Severity::error},           {L"unreadable", Severity::error}};

/// The localized resource types other than string tables, and the names of the types in findings.
const std::pair<ResourceId, const wchar_t*> kLocalizedTypes[] = {{RT_MENU, L"MENU"},
                                                                 {RT_DIALOG, L"DIALOG"},
                                                                 {RT_ACCELERATOR, L"ACCELERATOR"},
                                                                 {RT_HTML, L"HTML"},
                                                                 {L"XML", L"XML"},
                                                                 {RT_BITMAP, L"BITMAP"},
                                                                 {RT_GROUP_ICON, L"ICON"},
                                                                 {RT_GROUP_CURSOR, L"CURSOR"}};

bool hasLetter(std::wstring_view text) {
    return std::any_of(text.begin(), text.end(), [](wchar_t each) { return ::IsCharAlphaW(each); });
}

/// Compares one satellite with the module.
class Comparison {
public:
    Comparison(SatelliteReport& report, std::optional<unsigned> growth)
        : m_report(report), m_growth(growth) {}

    void add(const wchar_t* code, std::wstring resource, ResourceId id, std::wstring entry,
             std::wstring message) {
        m_report.findings.push_back(
            {code, std::move(resource), std::move(id), std::move(entry), std::move(message)});
    }
    void addFile(const wchar_t* code, std::wstring message) {
        add(code, L"FILE", {}, L"", std::move(message));
    }

    /// Replaces all findings with a single finding, which reports that the satellite is unreadable.
    void unreadable(const std::wstring& reason, std::size_t stringsOfModule) {
        m_report.findings.clear();
        m_report.strings = {stringsOfModule, 0, 0, stringsOfModule, 0};
        addFile(L"unreadable", reason);
    }

    void strings(const StringTable& module, const StringTable& satellite) {
        StringCounts& counts = m_report.strings;
        counts.total = module.size();
        auto found = satellite.begin();
        // Starting at `found`, reports each string with an id below `end` as an extra string of the
        // satellite.
        const auto addExtra = [&](unsigned end) {
            for (; found != satellite.end() && found->first < end; ++found) {
                ++counts.extra;
                add(L"extra-string", L"STRING", ResourceId(found->first), L"",
                    L"the module does not have " + inQuotes(found->second));
            }
        };
        for (const auto& [id, text] : module) {
            addExtra(id);
            if (found == satellite.end() || found->first != id) {
                ++counts.missing;
                add(L"missing-string", L"STRING", ResourceId(id), L"",
                    L"the satellite does not have " + inQuotes(text));
            } else {
                compareStrings(ResourceId(id), text, (found++)->second);
            }
        }
        addExtra(UINT_MAX);
    }

    void resources(const ResourceFile& module, const ResourceFile& satellite) {
        for (const auto& [type, kind] : kLocalizedTypes) {
            std::map<ResourceId, std::pair<const Resource*, const Resource*>> pairs;
            for (const Resource& each : module.ofType(type)) pairs[each.name].first = &each;
            for (const Resource& each : satellite.ofType(type)) pairs[each.name].second = &each;
            for (const auto& [name, pair] : pairs) {
                if (!pair.second) {
                    add(L"missing-resource", kind, name, L"", L"the satellite does not have it");
                } else if (!pair.first) {
                    add(L"extra-resource", kind, name, L"", L"the module does not have it");
                } else {
                    compareResources(type, name, pair.first->data, pair.second->data);
                }
            }
        }
    }

private:
    void compareStrings(const ResourceId& id, std::wstring_view original,
                        std::wstring_view translation) {
        if (translation != original) {
            ++m_report.strings.translated;
            compareTexts(L"STRING", id, L"", original, translation);
            return;
        }
        ++m_report.strings.identical;
        if (!hasLetter(original)) return;
        add(L"identical-string", L"STRING", id, L"",
            L"the text " + inQuotes(original) + L" is the same as the module's");
    }

    void compareTexts(const wchar_t* resource, const ResourceId& id, const std::wstring& entry,
                      std::wstring_view original, std::wstring_view translation) {
        for (TextFinding& finding : compareInserts(original, translation)) {
            add(finding.code, resource, id, entry, std::move(finding.message));
        }
        if (!m_growth) return;
        const auto allowed = original.size() * (100ull + *m_growth);
        if (translation.size() * 100ull <= allowed) return;
        add(L"length-growth", resource, id, entry,
            L"it has " + std::to_wstring(translation.size()) + L" characters, the module's text " +
                inQuotes(original) + L" has " + std::to_wstring(original.size()));
    }

    void compareResources(const ResourceId& type, const ResourceId& name,
                          std::span<const std::byte> module, std::span<const std::byte> satellite) {
        if (type == ResourceId(RT_MENU)) {
            compareMenus(name, readMenu(module), readMenu(satellite));
        } else if (type == ResourceId(RT_DIALOG)) {
            compareDialogs(name, readDialog(module), readDialog(satellite));
        } else if (type == ResourceId(RT_ACCELERATOR)) {
            compareAccelerators(name, module, satellite);
        }
    }

    void compareMenus(const ResourceId& name, const MenuTemplate& module,
                      const MenuTemplate& satellite) {
        if (!haveSameStructure(module, satellite)) {
            add(L"shape-mismatch", L"MENU", name, L"",
                L"its entries or their ids are not those of the module's menu");
        } else {
            compareEntries(name, L"", module.entries, satellite.entries);
        }
    }

    void compareEntries(const ResourceId& name, const std::wstring& prefix,
                        const std::vector<MenuEntry>& module,
                        const std::vector<MenuEntry>& satellite) {
        std::map<wchar_t, std::wstring> keys;
        for (std::size_t i = 0; i < module.size(); ++i) {
            const std::wstring entryPath = prefix + std::to_wstring(i);
            compareLabels(L"MENU", name, entryPath, module[i].text, satellite[i].text, keys);
            compareEntries(name, entryPath + L"/", module[i].entries, satellite[i].entries);
        }
    }

    void compareDialogs(const ResourceId& name, const DialogTemplate& module,
                        const DialogTemplate& satellite) {
        if (!haveSameStructure(module, satellite)) {
            add(L"shape-mismatch", L"DIALOG", name, L"",
                L"its controls or their ids are not those of the module's dialog");
            return;
        }
        compareTexts(L"DIALOG", name, L"", module.caption, satellite.caption);
        const std::vector<std::wstring> entries = entriesOf(module);
        std::map<wchar_t, std::wstring> keys;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            compareLabels(L"DIALOG", name, entries[i], module.controls[i].title.text,
                          satellite.controls[i].title.text, keys);
        }
    }

    /// @param[in,out] keys  The access keys that are already used in the popup menu or dialog, with
    ///                      their labels.
    void compareLabels(const wchar_t* resource, const ResourceId& name, const std::wstring& entry,
                       const std::wstring& original, const std::wstring& translation,
                       std::map<wchar_t, std::wstring>& keys) {
        compareTexts(resource, name, entry, original, translation);
        const auto key = accessKeyOf(translation);
        if (accessKeyOf(original) && !key) {
            add(L"accelerator-missing", resource, name, entry,
                inQuotes(translation) + L" has no access key, the module's text " +
                    inQuotes(original) + L" has one");
        }
        if (key) {
            const auto [first, isNew] = keys.emplace(*key, translation);
            if (!isNew) {
                add(L"accelerator-duplicate", resource, name, entry,
                    inQuotes(translation) + L" has the access key of " + inQuotes(first->second));
            }
        }
        if (shortcutOf(original) != shortcutOf(translation)) {
            add(L"shortcut-changed", resource, name, entry,
                L"the shortcut is " + inQuotes(shortcutOf(translation)) + L", the module's is " +
                    inQuotes(shortcutOf(original)));
        }
    }

    void compareAccelerators(const ResourceId& name, std::span<const std::byte> module,
                             std::span<const std::byte> satellite) {
        if (commandsOf(module) == commandsOf(satellite)) return;
        add(L"shape-mismatch", L"ACCELERATOR", name, L"",
            L"its commands are not those of the module's table");
    }

    /// Returns the command ids in an accelerator table. Each entry of the table consists of flags,
    /// a key, a command id and padding.
    static std::vector<WORD> commandsOf(std::span<const std::byte> table) {
        std::vector<WORD> commands;
        for (ByteReader reader(table); reader.remaining() >= 4 * sizeof(WORD);) {
            reader.take(2 * sizeof(WORD));
            commands.push_back(reader.read<WORD>());
            reader.take(sizeof(WORD));
        }
        return commands;
    }

    SatelliteReport& m_report;
    std::optional<unsigned> m_growth;
};

}  // namespace

Severity severityOf(std::wstring_view code) noexcept {
    for (const auto& [name, severity] : kSeverities) {
        if (name == code) return severity;
    }
    return Severity::error;
}

CheckedModule::CheckedModule(const ResourceFile& module)
    : m_file(module), m_strings(module), m_version(fileVersionOf(module)) {}

SatelliteReport CheckedModule::check(const std::wstring& path, const std::wstring& culture,
                                     std::optional<unsigned> growth) const {
    SatelliteReport report{fileNameOf(path), culture, {}, {}};
    Comparison comparison(report, growth);
    try {
        const ResourceFile satellite(readFile(path));
        comparison.strings(m_strings, StringTable(satellite));
        comparison.resources(m_file, satellite);
        if (satellite.hasCode()) {
            comparison.addFile(L"contains-code",
                               L"it has code, an entry point or imports; a "
                               L"satellite must have resources only");
        }
        if (satellite.machine() != m_file.machine()) {
            comparison.addFile(L"wrong-machine",
                               L"it is for a different processor than the module");
        }
        const auto version = fileVersionOf(satellite);
        if (m_version && version != m_version) {
            comparison.addFile(L"version-mismatch", (version ? L"its version is " + version->text()
                                                             : std::wstring(L"it has no version")) +
                                                        L", the module's is " + m_version->text());
        }
        if (!i18nsys::isRfc1766StringValid(culture.c_str())) {
            comparison.addFile(L"culture-invalid",
                               inQuotes(culture) + L" is not a culture that the system knows");
        }
    } catch (const Unreadable& unreadable) {
        comparison.unreadable(unreadable.reason, m_strings.size());
    } catch (const Failure& failure) {  // the file cannot be read, or is a folder
        comparison.unreadable(failure.text, m_strings.size());
    }
    std::stable_sort(
        report.findings.begin(), report.findings.end(), [](const Finding& a, const Finding& b) {
            const std::wstring_view codeA = a.code, codeB = b.code;
            return std::tie(a.resource, a.id, codeA) < std::tie(b.resource, b.id, codeB);
        });
    return report;
}

}  // namespace satellites
