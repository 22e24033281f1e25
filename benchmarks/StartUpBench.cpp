// Measures the time to load the library, including its imports and static constructors. The
// reference is the time to load messages.dll, which contains hardly any code.
#include <windows.h>

#include <filesystem>
#include <string>

#include "benchmarks/Harness.h"

namespace {

/// Returns a batch that loads and frees the library. The library must not already be loaded in the
/// process.
bench::Batch loading(const std::filesystem::path& library) {
    return bench::repeated([name = library.wstring()]() -> std::size_t {
        const HMODULE module = ::LoadLibraryW(name.c_str());
        return module && ::FreeLibrary(module) ? 1 : 0;
    });
}

/// Returns a batch that loads and frees the library. The batch first loads the system DLLs that the
/// library imports, because most programs with a window have already loaded these DLLs. The DLLs
/// stay loaded, so the row of this batch must be measured last.
bench::Batch loadingWithImportsLoaded(const std::filesystem::path& library) {
    return [load = loading(library)](std::size_t times) {
        [[maybe_unused]] static const HMODULE s_imports[] = {
            ::LoadLibraryW(L"advapi32.dll"), ::LoadLibraryW(L"comctl32.dll"),
            ::LoadLibraryW(L"ole32.dll"),    ::LoadLibraryW(L"oleaut32.dll"),
            ::LoadLibraryW(L"shlwapi.dll"),  ::LoadLibraryW(L"user32.dll")};
        return load(times);
    };
}

}  // namespace

int main(int argc, char** argv) {
    const std::filesystem::path folder = bench::programFolder();
    return bench::run(argc, argv,
                      {{"load and free the library", "once", loading(folder / L"I18nResource.dll"),
                        "load a module without code", loading(folder / L"messages.dll")},
                       {"load and free the library", "imports are there",
                        loadingWithImportsLoaded(folder / L"I18nResource.dll"),
                        "load a module without code", loading(folder / L"messages.dll")}});
}
