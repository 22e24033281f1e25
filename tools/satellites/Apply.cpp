#include <map>
#include <utility>

#include "tools/satellites/Catalogue.h"
#include "tools/satellites/Check.h"
#include "tools/satellites/Console.h"
#include "tools/satellites/Export.h"
#include "tools/satellites/Failure.h"
#include "tools/satellites/Files.h"
#include "tools/satellites/NulSymbol.h"
#include "tools/satellites/PoFile.h"
#include "tools/satellites/TextRules.h"
#include "tools/satellites/Translate.h"

namespace satellites {

namespace {

std::vector<PoEntry> readPoFile(const std::wstring& path) {
    const std::vector<std::byte> bytes = readFile(path);
    try {
        return readPo({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    } catch (const PoSyntaxError& error) {
        throw Failure{path + L":" + std::to_wstring(error.line) + L":" +
                      std::to_wstring(error.column) + L": " + error.reason};
    }
}

/// Maps contexts to those translations of a PO file that can be used for the module.
class Translations {
public:
    Translations(const std::wstring& poPath, const ResourceFile& module) : m_path(poPath) {
        const auto texts = textsByContext(module);
        for (PoEntry& entry : readPoFile(poPath)) add(entry, texts);
        if (!m_errors.empty()) throw Failure{m_errors};
        if (!m_warnings.empty()) printError(m_warnings + L"\n");
    }

    std::optional<std::wstring> find(const std::wstring& context) const {
        const auto found = m_translations.find(context);
        if (found == m_translations.end()) return std::nullopt;
        return found->second;
    }

private:
    void add(PoEntry& entry, const std::map<std::wstring, std::wstring>& texts) {
        const std::wstring location = m_path + L":" + std::to_wstring(entry.line) + L": ";
        const auto found = texts.find(entry.context);
        if (found == texts.end()) {
            addLine(m_errors, location + L"the module has no text " + entry.context +
                                  L"; update the file with msgmerge");
            return;
        }
        if (entry.isFuzzy || entry.translation.empty()) return;
        const std::wstring& text = found->second;
        entry.text = withoutNulSymbols(entry.context, entry.text);
        entry.translation = withoutNulSymbols(entry.context, entry.translation);
        if (entry.text != text) {
            addLine(m_warnings, location + L"warning: " + entry.context +
                                    L" is left out, because the module's text is now " +
                                    inQuotes(text) + L"; update the file with msgmerge");
            return;
        }
        if (entry.translation.size() > kMaxStringLength) {
            addLine(m_errors, location + L"the translation of " + entry.context +
                                  L" has more than 65535 characters");
        }
        // In a dialog template, a string that starts with 0xFFFF would be read as an ordinal.
        if (entry.translation.front() == 0xFFFF) {
            addLine(m_errors, location + L"the translation of " + entry.context +
                                  L" starts with U+FFFF, which is not a character");
        }
        for (const TextFinding& finding : compareInserts(text, entry.translation)) {
            if (severityOf(finding.code) != Severity::error) continue;
            addLine(m_errors, location + entry.context + L": " + finding.message + L" [" +
                                  finding.code + L"]");
        }
        m_translations[entry.context] = std::move(entry.translation);
    }

    static void addLine(std::wstring& lines, const std::wstring& line) {
        if (!lines.empty()) lines += L"\n";
        lines += line;
    }

    std::wstring m_path;
    std::map<std::wstring, std::wstring> m_translations;
    std::wstring m_errors, m_warnings;
};

}  // namespace

void applyPo(const std::wstring& modulePath, const std::wstring& poPath,
             const std::wstring& culture, const std::optional<std::wstring>& base,
             const std::wstring& target) {
    const ResourceFile module = readModule(modulePath);
    const Translations translations(poPath, module);
    makeSatellite(module, fileNameOf(modulePath), culture, base, target,
                  [&](const std::wstring& context, const std::wstring&) {
                      return translations.find(context);
                  });
}

}  // namespace satellites
