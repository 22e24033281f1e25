// localize: a program that prints resources of any module for any culture. It uses only the
// library's public functions.
#include <windows.h>

#include <objbase.h>

#include <I18nResource.h>

#include "samples/exchange/Console.h"
#include "samples/exchange/OutOfMemory.h"
#include "samples/localize/Options.h"
#include "samples/localize/Output.h"
#include "samples/localize/Resources.h"
#include "samples/localize/Strings.h"

namespace {

enum ExitStatus {
    kShown = 0,
    kUsageError = 1,
    kTagRefused = 2,
    kNoStrings = 3,
    kMissing = 4,
    kNoMemory = 5
};

/// Initializes the resource manager, and terminates it at the end of the scope.
class ResourceSession {
public:
    ResourceSession() { i18nres_Init(); }
    ResourceSession(const ResourceSession&) = delete;
    ResourceSession& operator=(const ResourceSession&) = delete;
    ~ResourceSession() { i18nres_Term(); }
};

/// Initializes COM on this thread, and uninitializes it at the end of the scope. XML documents and
/// the validation of culture tags need COM.
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

/// Keeps the module loaded for the lifetime of this object, so that the resource manager also finds
/// a module that the user specifies by its path.
class LoadedModule {
public:
    explicit LoadedModule(const std::wstring& name)
        : m_module(name.empty() ? nullptr : ::LoadLibraryW(name.c_str())) {}
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;
    ~LoadedModule() {
        if (m_module) ::FreeLibrary(m_module);
    }

private:
    HMODULE m_module;
};

void printCultures() {
    std::wstring culture, defaultCulture;
    i18nres::Manager::Instance()->getCulture(culture);
    i18nres::Manager::Instance()->getDefaultCulture(defaultCulture);
    print(L"culture " + (culture.empty() ? L"(none)" : culture) + L", default " + defaultCulture +
          L"\n");
}

/// Returns text to append to an error message. If the module is loaded, the text is `hintIfLoaded`.
/// Otherwise, the text states that the module cannot be loaded and suggests a remedy.
std::wstring hint(const std::wstring& module, const std::wstring& hintIfLoaded) {
    if (::GetModuleHandleW(module.c_str())) return hintIfLoaded;
    return L": it cannot be loaded; check the name, or pass the path of the file";
}

ExitStatus showResource(const Options& options, bool (*show)(const Options&), const wchar_t* what) {
    if (show(options)) return kShown;
    printError(options.module + L" has no " + what + L" " + std::to_wstring(*options.id) +
               hint(options.module, L""));
    return kMissing;
}

ExitStatus show(const Options& options) {
    switch (options.subject) {
        case Subject::kHtml:
            return showResource(options, showHtml, L"HTML page");
        case Subject::kXml:
            return showResource(options, showXml,
                                options.node ? L"such node in XML document" : L"XML document");
        case Subject::kIcon:
            return showResource(options, showIcon, L"icon");
        case Subject::kMenu:
            return showResource(options, showMenu, L"menu");
        case Subject::kSettings:
            showSettings();
            return kShown;
        case Subject::kStrings:
            break;
    }
    switch (showStrings(options)) {
        case Shown::kNoStrings:
            printError(options.module + L" has no strings" + hint(options.module, L""));
            return kNoStrings;
        case Shown::kMissing:
            printError(options.module + L" has no string " + std::to_wstring(*options.id) +
                       hint(options.module,
                            L"; localize " + options.module + L" lists those that it has"));
            return kMissing;
        case Shown::kAll:
            break;
    }
    return kShown;
}

bool setCultures(const Options& options) {
    i18nres::Manager& manager = *i18nres::Manager::Instance();
    if (options.defaultCulture && !manager.setDefaultCulture(options.defaultCulture->c_str())) {
        printError(*options.defaultCulture + L" is not a culture tag: use one such as fr-CA");
        return false;
    }
    if (options.culture && !manager.setCulture(options.culture->c_str())) {
        printError(*options.culture + L" is not a culture tag: use one such as fr-CA");
        return false;
    }
    return true;
}

ExitStatus run(int argc, wchar_t** argv) {
    if (argc == 2 && (argv[1] == std::wstring(L"--help") || argv[1] == std::wstring(L"-h"))) {
        print(kUsage);
        return kShown;
    }
    std::wstring error;
    const std::optional<Options> options = parseOptions(argc, argv, error);
    if (!options) {
        printError(error + L"; see localize --help" +
                   (argc < 2 ? std::wstring(L"\n") + kUsage : L""));
        return kUsageError;
    }

    const ComSession com;
    const ResourceSession resources;
    if (!setCultures(*options)) return kTagRefused;
    const LoadedModule module(options->module);
    printCultures();
    return show(*options);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    useBinaryStreams();

    ExitStatus status = kNoMemory;
    if (!runCatchingOutOfMemory([&] { status = run(argc, argv); }))
        printError(L"memory has run out");
    return status;
}
