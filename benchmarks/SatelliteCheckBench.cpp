// Measures the time to compare satellites with their module. The reference reads all strings of the
// same files with LoadStringW.
#include <windows.h>

#include <objbase.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

#include "benchmarks/Harness.h"
#include "tools/satellites/Catalogue.h"
#include "tools/satellites/Check.h"
#include "tools/satellites/SatelliteWriter.h"
#include "tools/satellites/StringTable.h"

namespace {

constexpr int kSatellites = 20;

/// Writes a module and its satellites to a folder. The destructor deletes the folder.
class Satellites {
public:
    explicit Satellites(unsigned strings)
        : m_folder(std::filesystem::temp_directory_path() /
                   (L"satellite-check-" + std::to_wstring(strings))),
          m_strings(strings) {
        std::filesystem::create_directories(m_folder);
        write(L"module.dll", L"The message with the number ");
        for (int i = 0; i < kSatellites; ++i) write(satellite(i), L"Le message avec le numero ");
    }
    Satellites(const Satellites&) = delete;
    Satellites& operator=(const Satellites&) = delete;
    ~Satellites() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    /// Checks all satellites. Returns the number of strings that were compared, or 0 if the check
    /// reports a finding.
    std::size_t check() const {
        const satellites::ResourceFile file = satellites::readModule(path(L"module.dll"));
        const satellites::CheckedModule module(file);
        std::size_t compared = 0;
        for (int i = 0; i < kSatellites; ++i) {
            const auto report = module.check(path(satellite(i)), L"fr", {});
            if (!report.findings.empty()) return 0;
            compared += report.strings.translated;
        }
        return compared;
    }

    /// Reads all strings of the module and the satellites, and returns their number.
    std::size_t load() const {
        std::size_t loaded = loadAll(L"module.dll");
        for (int i = 0; i < kSatellites; ++i) loaded += loadAll(satellite(i));
        return loaded;
    }

private:
    static std::wstring satellite(int number) {
        return L"module_" + std::to_wstring(number) + L".dll";
    }
    std::wstring path(const std::wstring& name) const { return m_folder / name; }

    void write(const std::wstring& name, const std::wstring& text) const {
        satellites::Strings strings;
        for (unsigned id = 1; id <= m_strings; ++id) {
            strings.emplace_back(id, text + std::to_wstring(id));
        }
        std::vector<satellites::NewResource> blocks;
        for (unsigned block = 1; block <= satellites::blockOf(m_strings); ++block) {
            blocks.push_back({RT_STRING, satellites::ResourceId(block),
                              satellites::makeStringBlock(block, strings)});
        }
        satellites::writeSatellite(path(name), IMAGE_FILE_MACHINE_AMD64, 0, blocks);
    }

    std::size_t loadAll(const std::wstring& name) const {
        const HMODULE library = ::LoadLibraryExW(
            path(name).c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
        std::size_t loaded = 0;
        wchar_t text[256];
        for (unsigned id = 1; id <= m_strings; ++id) {
            loaded += ::LoadStringW(library, id, text, static_cast<int>(std::size(text))) > 0;
        }
        ::FreeLibrary(library);
        return loaded;
    }

    std::filesystem::path m_folder;
    unsigned m_strings;
};

}  // namespace

int main(int argc, char** argv) {
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const Satellites fewStrings(2'000), manyStrings(20'000);
    const auto checking = [](const Satellites& files) {
        return bench::repeated([&files] { return files.check(); });
    };
    return bench::run(argc, argv,
                      {{"check 20 satellites",
                        "20,000 strings",
                        checking(manyStrings),
                        "LoadStringW",
                        bench::repeated([&manyStrings] { return manyStrings.load(); }),
                        nullptr,
                        {1.5}},
                       {"check 20 satellites",
                        "2,000 strings",
                        checking(fewStrings),
                        "LoadStringW",
                        bench::repeated([&fewStrings] { return fewStrings.load(); }),
                        checking(manyStrings),
                        {1.5, 12}}});
}
