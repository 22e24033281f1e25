#include "tools/satellites/Export.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <map>
#include <set>
#include <span>
#include <utility>
#include <vector>

#include "tools/satellites/Catalogue.h"
#include "tools/satellites/Files.h"
#include "tools/satellites/NulSymbol.h"
#include "tools/satellites/PoFile.h"
#include "tools/satellites/TextRules.h"
#include "tools/satellites/VersionInfo.h"

namespace satellites {

namespace {

/// Returns the last-write time of a file, for the header of a PO file. If the current time were
/// used instead, two exports of the same file would differ.
std::wstring changeTimeOf(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA attributes = {};
    SYSTEMTIME time = {};
    ::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &attributes);
    ::FileTimeToSystemTime(&attributes.ftLastWriteTime, &time);
    wchar_t text[32];
    std::swprintf(text, std::size(text), L"%04u-%02u-%02u %02u:%02u+0000", unsigned{time.wYear},
                  unsigned{time.wMonth}, unsigned{time.wDay}, unsigned{time.wHour},
                  unsigned{time.wMinute});
    return text;
}

PoEntry makeHeader(const std::wstring& modulePath, const ResourceFile& module,
                   const std::optional<std::wstring>& culture) {
    PoEntry header;
    header.isFuzzy = !culture;  // marks the file as a template
    std::wstring project = fileNameOf(modulePath);
    if (const auto version = fileVersionOf(module)) project += L" " + version->text();
    const std::wstring time = changeTimeOf(modulePath);
    std::wstring language = culture.value_or(L"");
    // The gettext tools separate the parts of a language tag with "_".
    std::replace(language.begin(), language.end(), L'-', L'_');
    header.translation =
        L"Project-Id-Version: " + project + L"\nReport-Msgid-Bugs-To: \nPOT-Creation-Date: " +
        time +
        (culture ? L"\nPO-Revision-Date: " + time +
                       L"\nLast-Translator: Automatically generated\nLanguage-Team: none\n"
                 : std::wstring(L"\nPO-Revision-Date: YEAR-MO-DA HO:MI+ZONE\n"
                                L"Last-Translator: FULL NAME <EMAIL@ADDRESS>\n"
                                L"Language-Team: LANGUAGE <LL@li.org>\n")) +
        L"Language: " + language +
        L"\nMIME-Version: 1.0\nContent-Type: text/plain; charset=UTF-8\n"
        L"Content-Transfer-Encoding: 8bit\nX-Generator: i18nres-satellites\n";
    return header;
}

/// Maps contexts to the translations in a satellite.
class SatelliteTexts {
public:
    SatelliteTexts(const ResourceFile& module, const ResourceFile& satellite)
        : m_texts(textsByContext(satellite)) {
        findTextsToReview(module, satellite, RT_MENU, L"MENU", &readMenu);
        findTextsToReview(module, satellite, RT_DIALOG, L"DIALOG", &readDialog);
    }

    void addTranslationTo(PoEntry& entry) const {
        const auto found = m_texts.find(entry.context);
        if (found == m_texts.end()) return;
        entry.translation = found->second;
        entry.isFuzzy = m_contextsToReview.count(entry.context) != 0;
    }

private:
    /// Finds the menus or dialogs that have different structures in the satellite and in the
    /// module. The satellite may have been created for an earlier version of the module that had
    /// other strings at the same positions. A translator must therefore check the strings of these
    /// menus or dialogs.
    template <class Template>
    void findTextsToReview(const ResourceFile& module, const ResourceFile& satellite,
                           const ResourceId& type, const wchar_t* kind,
                           Template (*read)(std::span<const std::byte>)) {
        for (const Resource& each : satellite.ofType(type)) {
            const auto original = module.find(type, each.name);
            Template translated = read(each.data);
            if (original.empty() || haveSameStructure(read(original), translated)) continue;
            forEachText(translated, [&](const std::wstring& entry, std::wstring&) {
                m_contextsToReview.insert(contextOf(kind, each.name, entry));
            });
        }
    }

    std::map<std::wstring, std::wstring> m_texts;
    std::set<std::wstring> m_contextsToReview;  // the strings that a translator must check
};

/// Returns the comments on an entry for the translator. In `entry`, NULs have not yet been replaced
/// with kNulSymbol.
std::vector<std::wstring> commentsOn(const PoEntry& entry, TextKind kind) {
    std::vector<std::wstring> comments;
    if (kind == TextKind::message) {
        comments.push_back(
            L"The program puts values in the places of the inserts %1, %2 and so on. "
            L"Keep each of them as it is; their order is free.");
    } else if (kind == TextKind::printf) {
        comments.push_back(
            L"The program puts values in the places of the conversions such as %d. "
            L"Keep them, and their order.");
    }
    if ((entry.text + entry.translation).find(L'\0') != std::wstring::npos) {
        comments.push_back(std::wstring(1, kNulSymbol) +
                           L" separates the parts of the text. Keep it.");
    }
    return comments;
}

}  // namespace

std::string exportPo(const std::wstring& modulePath, const std::optional<std::wstring>& culture,
                     const std::wstring& folder) {
    const ResourceFile module = readModule(modulePath);
    std::optional<SatelliteTexts> translations;
    if (culture) {
        const std::wstring satellite = folder + satelliteNameOf(modulePath, *culture);
        if (exists(satellite)) translations.emplace(module, readModule(satellite));
    }
    std::vector<PoEntry> entries;
    for (const TranslatableText& each : textsOf(module)) {
        const TextKind kind = kindOf(each.text);
        PoEntry entry;
        entry.context = each.context;
        entry.text = each.text;
        if (translations) translations->addTranslationTo(entry);
        entry.comments = commentsOn(entry, kind);
        entry.text = withNulSymbols(entry.context, entry.text);
        entry.translation = withNulSymbols(entry.context, entry.translation);
        entry.isPrintf = kind == TextKind::printf;
        entries.push_back(std::move(entry));
    }
    return writePo(makeHeader(modulePath, module, culture), entries);
}

}  // namespace satellites
