#include <windows.h>

#include <objbase.h>

#include <algorithm>
#include <compare>
#include <string>
#include <vector>

#include "i18nsys/i18nsys.h"
#include "tools/satellites/Check.h"
#include "tools/satellites/Console.h"
#include "tools/satellites/Export.h"
#include "tools/satellites/Failure.h"
#include "tools/satellites/Files.h"
#include "tools/satellites/Options.h"
#include "tools/satellites/Program.h"
#include "tools/satellites/Report.h"
#include "tools/satellites/Resolve.h"
#include "tools/satellites/Translate.h"

// CMake defines this macro as the version of the project. Tools that parse this file without CMake
// do not define it.
#if !defined(I18NRES_SATELLITES_VERSION)
#define I18NRES_SATELLITES_VERSION L"unknown"
#endif

namespace {

using namespace satellites;

/// Initializes COM on this thread, because a COM service checks culture tags.
class ComSession {
public:
    ComSession() : m_result(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)) {}
    ComSession(const ComSession&) = delete;
    ComSession& operator=(const ComSession&) = delete;
    ~ComSession() {
        if (SUCCEEDED(m_result)) ::CoUninitialize();
    }

private:
    HRESULT m_result;
};

/// Returns the folder of the satellites. The default is the folder of the module. The --path option
/// specifies a different folder.
std::wstring satelliteFolder(const Options& options, const std::wstring& module) {
    if (!options.path) return folderOf(module);
    std::wstring folder = fullPath(*options.path);
    if (!folder.ends_with(L'\\')) folder += L'\\';
    if (!exists(folder)) throw Failure{folder + L": the folder does not exist"};
    return folder;
}

/// Returns the path of the satellite that the `apply` and `pseudo` commands write. The default is
/// <module>_<TAG>.dll in the folder of the module. The -o option specifies a different path.
std::wstring targetOf(const Options& options, const std::wstring& module) {
    if (options.output) return fullPath(*options.output);
    return folderOf(module) + satelliteNameOf(module, options.cultures.front());
}

struct SatelliteFile {
    std::wstring path, culture;

    bool operator==(const SatelliteFile&) const = default;
};

/// Returns the satellites to check, sorted by file name.
std::vector<SatelliteFile> satellitesOf(const Options& options, const std::wstring& module) {
    const std::wstring folder = satelliteFolder(options, module);
    std::vector<SatelliteFile> satellites;
    for (const std::wstring& culture : options.cultures) {
        const std::wstring path = folder + satelliteNameOf(module, culture);
        if (!exists(path)) throw Failure{path + L": the file does not exist"};
        satellites.push_back({path, culture});
    }
    if (!options.cultures.empty()) {
        std::sort(satellites.begin(), satellites.end(),
                  [](const SatelliteFile& a, const SatelliteFile& b) { return a.path < b.path; });
        satellites.erase(std::unique(satellites.begin(), satellites.end()), satellites.end());
        return satellites;
    }
    const std::size_t tagAt = stemOf(module).size() + 1;  // after the "_"
    for (const std::wstring& name : satelliteNamesIn(folder, module)) {
        satellites.push_back({folder + name, stemOf(name).substr(tagAt)});
    }
    return satellites;
}

ExitStatus runCheck(const Options& options) {
    const std::wstring path = fullPath(options.module);
    const ResourceFile file = readModule(path);
    const CheckedModule module(file);
    const std::vector<SatelliteFile> satellites = satellitesOf(options, path);
    const auto printer = options.asJson ? makeJsonPrinter() : makeTextPrinter();
    FindingCounts counts;
    Progress progress;
    printer->begin(fileNameOf(path));
    for (std::size_t i = 0; i < satellites.size(); ++i) {
        progress.show(L"checking " + std::to_wstring(i + 1) + L" of " +
                      std::to_wstring(satellites.size()) + L": " + fileNameOf(satellites[i].path));
        const SatelliteReport report =
            module.check(satellites[i].path, satellites[i].culture, options.growth);
        counts.add(report);
        progress.clear();
        printer->print(report);
    }
    printer->end(counts);
    const bool isWrong = counts.errors > 0 || (options.isStrict && counts.warnings > 0);
    return isWrong ? kFound : kDone;
}

ExitStatus runExport(const Options& options) {
    const std::wstring module = fullPath(options.module);
    std::optional<std::wstring> culture;
    if (!options.cultures.empty()) culture = options.cultures.front();
    const std::string po = exportPo(module, culture, satelliteFolder(options, module));
    if (options.output) {
        writeFile(fullPath(*options.output), std::as_bytes(std::span(po)));
    } else {
        printBytes(po);
    }
    return kDone;
}

ExitStatus runApply(const Options& options) {
    const std::wstring module = fullPath(options.module);
    const std::wstring target = targetOf(options, module);
    std::optional<std::wstring> base;
    if (options.base) base = fullPath(*options.base);
    applyPo(module, fullPath(options.poFile), options.cultures.front(), base, target);
    return kDone;
}

ExitStatus runPseudo(const Options& options) {
    constexpr unsigned kUsualGrowth = 30;
    const std::wstring module = fullPath(options.module);
    makePseudoSatellite(module, options.cultures.front(), options.growth.value_or(kUsualGrowth),
                        targetOf(options, module));
    return kDone;
}

ExitStatus runResolve(const Options& options) {
    ResolveRequest request;
    request.module = fullPath(options.module);
    request.culture = options.cultures.front();
    request.defaultCulture = options.defaultCulture.value_or(request.defaultCulture);
    request.resourcePath = options.path.value_or(L"");
    request.resourcePathOnly = options.pathOnly;
    request.id = options.id;
    for (const std::wstring& tag : {request.culture, request.defaultCulture}) {
        if (i18nsys::isRfc1766StringValid(tag.c_str())) continue;
        throw UsageError{tag + L" is not a culture that the system knows; the library refuses it",
                         L"resolve"};
    }
    const Resolution resolution = resolve(request);
    print(options.asJson ? jsonOf(request, resolution) : textOf(request, resolution));
    return resolution.match ? kDone : kFound;
}

ExitStatus run(const Options& options) {
    switch (options.command) {
        case Command::check:
            return runCheck(options);
        case Command::exportPo:
            return runExport(options);
        case Command::apply:
            return runApply(options);
        case Command::pseudo:
            return runPseudo(options);
        case Command::resolve:
            return runResolve(options);
        case Command::help:
            print(helpOn(options.topic));
            break;
        case Command::version:
            print(L"i18nres-satellites " I18NRES_SATELLITES_VERSION L"\n");
            break;
    }
    return kDone;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const ComSession com;
    return runProgram([&] { return run(parseOptions({argv + 1, argv + argc})); });
}
