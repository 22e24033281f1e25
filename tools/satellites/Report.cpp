#include "tools/satellites/Report.h"

#include "tools/satellites/Console.h"
#include "tools/satellites/Json.h"

namespace satellites {

namespace {

const wchar_t* nameOf(Severity severity) {
    switch (severity) {
        case Severity::error:
            return L"error";
        case Severity::warning:
            return L"warning";
        case Severity::advice:
            break;
    }
    return L"advice";
}

std::wstring counted(std::size_t count, const wchar_t* singular, const wchar_t* plural) {
    return std::to_wstring(count) + L" " + (count == 1 ? singular : plural);
}

std::wstring summaryOf(const FindingCounts& counts) {
    return counted(counts.errors, L"error", L"errors") + L", " +
           counted(counts.warnings, L"warning", L"warnings") + L", " +
           std::to_wstring(counts.advice) + L" advice";
}

class TextPrinter final : public ReportPrinter {
public:
    void begin(const std::wstring& module) override { m_module = module; }

    void print(const SatelliteReport& report) override {
        ++m_satellites;
        const StringCounts& strings = report.strings;
        const std::size_t inSatellite = strings.translated + strings.identical;
        std::wstring text = report.file + L" (" + report.culture + L"): ";
        if (strings.total > 0) {
            text += std::to_wstring(inSatellite) + L" of " +
                    counted(strings.total, L"string", L"strings") + L" (" +
                    std::to_wstring(inSatellite * 100 / strings.total) + L" %), " +
                    std::to_wstring(strings.identical) + L" identical, " +
                    std::to_wstring(strings.missing) + L" missing, " +
                    std::to_wstring(strings.extra) + L" extra; ";
        }
        FindingCounts counts;
        counts.add(report);
        text += summaryOf(counts) + L"\n";
        for (const Finding& finding : report.findings) {
            std::wstring location = finding.resource;
            if (finding.resource != L"FILE") location += L" " + finding.id.text();
            if (!finding.entry.empty()) location += L"/" + finding.entry;
            text += std::wstring(L"  ") + nameOf(finding.severity()) + L": " + location + L": " +
                    finding.message + L" [" + finding.code + L"]\n";
        }
        satellites::print(text);
    }

    void end(const FindingCounts& counts) override {
        if (m_satellites == 0) {
            satellites::print(m_module + L" has no satellites\n");
        } else {
            satellites::print(m_module + L": " +
                              counted(m_satellites, L"satellite", L"satellites") + L", " +
                              summaryOf(counts) + L"\n");
        }
    }

private:
    std::wstring m_module;
    std::size_t m_satellites = 0;
};

class JsonPrinter final : public ReportPrinter {
public:
    void begin(const std::wstring& module) override {
        satellites::print(L"{\"module\": " + json(module) + L",\n \"satellites\": [");
    }

    void print(const SatelliteReport& report) override {
        const StringCounts& strings = report.strings;
        std::wstring text = m_isFirst ? L"\n" : L",\n";
        m_isFirst = false;
        text += L"   {\"file\": " + json(report.file) + L", \"culture\": " + json(report.culture) +
                L",\n    \"strings\": {\"total\": " + std::to_wstring(strings.total) +
                L", \"translated\": " + std::to_wstring(strings.translated) + L", \"identical\": " +
                std::to_wstring(strings.identical) + L", \"missing\": " +
                std::to_wstring(strings.missing) + L", \"extra\": " +
                std::to_wstring(strings.extra) + L"},\n    \"findings\": [";
        const wchar_t* separator = L"\n";
        for (const Finding& finding : report.findings) {
            text += separator + textOf(finding);
            separator = L",\n";
        }
        satellites::print(text + L"]}");
    }

    void end(const FindingCounts& counts) override {
        satellites::print(L"],\n \"errors\": " + std::to_wstring(counts.errors) +
                          L", \"warnings\": " + std::to_wstring(counts.warnings) +
                          L", \"advice\": " + std::to_wstring(counts.advice) + L"}\n");
    }

private:
    static std::wstring textOf(const Finding& finding) {
        std::wstring text =
            std::wstring(L"      {\"severity\": ") + json(nameOf(finding.severity())) +
            L", \"code\": " + json(finding.code) + L", \"resource\": " + json(finding.resource) +
            L", \"id\": " +
            (finding.id.string.empty() ? finding.id.text() : json(finding.id.string));
        if (!finding.entry.empty()) text += L", \"entry\": " + json(finding.entry);
        return text + L", \"message\": " + json(finding.message) + L"}";
    }

    bool m_isFirst = true;
};

}  // namespace

void FindingCounts::add(const SatelliteReport& report) {
    for (const Finding& finding : report.findings) {
        switch (finding.severity()) {
            case Severity::error:
                ++errors;
                break;
            case Severity::warning:
                ++warnings;
                break;
            case Severity::advice:
                ++advice;
        }
    }
}

std::unique_ptr<ReportPrinter> makeTextPrinter() { return std::make_unique<TextPrinter>(); }
std::unique_ptr<ReportPrinter> makeJsonPrinter() { return std::make_unique<JsonPrinter>(); }

}  // namespace satellites
