#include <windows.h>

#include <ole2.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "benchmarks/Harness.h"
#include "i18nres/i18nres.h"

namespace {

// The libraries that CMakeLists.txt in this folder builds. The module contains all strings, and its
// satellites contain the first half of the strings.
constexpr unsigned kStrings = 640;
constexpr unsigned kTranslatedStrings = 320;
constexpr wchar_t kModule[] = L"messages.dll";
constexpr wchar_t kCurrentSatellite[] = L"messages_fr-FR.dll";
constexpr wchar_t kDefaultSatellite[] = L"messages_en-US.dll";
constexpr wchar_t kModuleWithoutSatellites[] = L"neutral1.dll";

// Length in characters, sufficient for every string.
constexpr int kBufferSize = 128;

constexpr std::size_t kPathLength = 44;

// Copies the libraries to a folder that contains no other files. A LoadLibraryW call that fails
// takes longer if the folder contains many files. The path of the module in this folder has
// `kPathLength` characters, unless the path of the temporary folder is too long.
class ModuleFolder {
public:
    ModuleFolder()
        : m_path((std::filesystem::temp_directory_path() /
                  (L"lookup" + std::to_wstring(::GetCurrentProcessId())))
                     .wstring()) {
        m_path.resize(std::max(m_path.size(), kPathLength - std::size(kModule)), L'-');
        std::filesystem::create_directories(m_path);
        for (const wchar_t* file : {kModule, kCurrentSatellite, kDefaultSatellite}) {
            std::filesystem::copy_file(bench::programFolder() / file, pathOf(file));
        }
        std::filesystem::copy_file(bench::programFolder() / kModule,
                                   pathOf(kModuleWithoutSatellites));
    }
    ModuleFolder(const ModuleFolder&) = delete;
    ModuleFolder& operator=(const ModuleFolder&) = delete;
    ~ModuleFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    std::wstring pathOf(const wchar_t* file) const { return m_path + L"\\" + file; }

private:
    std::wstring m_path;
};

class LoadedModule {
public:
    explicit LoadedModule(const std::wstring& path) : m_module(::LoadLibraryW(path.c_str())) {
        if (!m_module) throw std::runtime_error("a module does not load");
    }
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;
    ~LoadedModule() { ::FreeLibrary(m_module); }
    HINSTANCE get() const { return m_module; }

private:
    HINSTANCE m_module;
};

class ManagerSession {
public:
    ManagerSession() { i18nres::Manager::Init(); }
    ManagerSession(const ManagerSession&) = delete;
    ManagerSession& operator=(const ManagerSession&) = delete;
    ~ManagerSession() { i18nres::Manager::Term(); }
    i18nres::Manager* operator->() const { return i18nres::Manager::Instance(); }
};

// A repeating sequence of 4096 random string ids. The batches in one row of the results table use
// the same sequence.
class RandomIds {
public:
    RandomIds(unsigned first, unsigned end) : m_ids(4096) {
        std::mt19937 random(1);
        for (unsigned& id : m_ids) id = first + static_cast<unsigned>(random()) % (end - first);
    }
    unsigned next() { return m_ids[m_next++ % m_ids.size()]; }

private:
    std::vector<unsigned> m_ids;
    std::size_t m_next = 0;
};
const RandomIds kTranslated(1, kTranslatedStrings);
const RandomIds kUntranslated(kTranslatedStrings, kStrings);

std::size_t counted(int length) { return static_cast<std::size_t>(length); }

bench::Batch systemLookup(HINSTANCE library, RandomIds ids) {
    return bench::repeated([library, ids]() mutable {
        wchar_t buffer[kBufferSize];
        return counted(::LoadStringW(library, ids.next(), buffer, kBufferSize));
    });
}

bench::Batch systemBstrLookup(HINSTANCE library, RandomIds ids) {
    return bench::repeated([library, ids]() mutable {
        wchar_t buffer[kBufferSize];
        const int count = ::LoadStringW(library, ids.next(), buffer, kBufferSize);
        const BSTR text = ::SysAllocStringLen(buffer, static_cast<UINT>(count));
        const std::size_t length = ::SysStringLen(text);
        ::SysFreeString(text);
        return length;
    });
}

bench::Batch lookup(std::wstring module, RandomIds ids) {
    return bench::repeated([module = std::move(module), ids]() mutable {
        wchar_t buffer[kBufferSize];
        return counted(i18nres::loadStringW(module.c_str(), ids.next(), buffer, kBufferSize));
    });
}

// Measures lookups that reuse the same output string, which keeps its capacity.
bench::Batch stringLookup(std::wstring module, RandomIds ids) {
    return bench::repeated([module = std::move(module), ids, text = std::wstring()]() mutable {
        return counted(i18nres::loadStdStringW(module.c_str(), ids.next(), text));
    });
}

bench::Batch newStringLookup(std::wstring module, RandomIds ids) {
    return bench::repeated([module = std::move(module), ids]() mutable {
        return i18nres::loadStdStringW(module.c_str(), ids.next()).size();
    });
}

bench::Batch bstrLookup(std::wstring module, RandomIds ids) {
    return bench::repeated([module = std::move(module), ids]() mutable {
        BSTR text = nullptr;
        i18nres::loadBString(module.c_str(), ids.next(), &text);
        const std::size_t length = ::SysStringLen(text);
        ::SysFreeString(text);
        return length;
    });
}

// Measures calls to LoadLibraryW that fail. If the resource manager did not cache failed searches,
// each string lookup in a module without satellites would make these calls.
bench::Batch failingLoads(std::vector<std::wstring> files) {
    return bench::repeated([files = std::move(files)] {
        std::size_t failures = 0;
        for (const std::wstring& file : files) failures += !::LoadLibraryW(file.c_str());
        return failures == files.size() ? failures : 0;
    });
}

// Returns, in search order, the names of the files that the manager tries to load as satellites of
// a module. The names are the paths of the satellites for en-US, en, fr-FR and fr. If
// `resourcePathOnly` is false, each path is followed by the same file name without a folder.
std::vector<std::wstring> satelliteFiles(const std::wstring& modulePath, bool resourcePathOnly) {
    const std::filesystem::path path(modulePath);
    std::vector<std::wstring> files;
    for (const wchar_t* tag : {L"en-US", L"en", L"fr-FR", L"fr"}) {
        const std::wstring name = path.stem().wstring() + L"_" + tag + L".dll";
        files.push_back((path.parent_path() / name).wstring());
        if (!resourcePathOnly) files.push_back(name);
    }
    return files;
}

// Runs batches on a persistent thread, so that the measurements do not include thread startup.
class SecondThread {
public:
    explicit SecondThread(bench::Batch work)
        : m_work(std::move(work)), m_thread([this] { serve(); }) {}
    SecondThread(const SecondThread&) = delete;
    SecondThread& operator=(const SecondThread&) = delete;
    ~SecondThread() {
        startBatch(0);
        m_thread.join();
    }

    /// @param times  Number of calls in the batch; 0 ends the thread.
    void startBatch(std::size_t times) {
        m_times = times;
        m_started.set();
    }
    /// Waits until the batch has ended, and returns the amount of its output.
    std::size_t waitForOutput() {
        m_finished.wait();
        return m_output;
    }

private:
    // A std::binary_semaphore is not used, because with MinGW-w64 and GCC 12, a waiting thread is
    // sometimes not woken.
    class Signal {
    public:
        void set() {
            ::AcquireSRWLockExclusive(&m_lock);
            m_isSet = true;
            ::ReleaseSRWLockExclusive(&m_lock);
            ::WakeConditionVariable(&m_changed);
        }
        void wait() {
            ::AcquireSRWLockExclusive(&m_lock);
            while (!m_isSet) ::SleepConditionVariableSRW(&m_changed, &m_lock, INFINITE, 0);
            m_isSet = false;
            ::ReleaseSRWLockExclusive(&m_lock);
        }

    private:
        SRWLOCK m_lock = SRWLOCK_INIT;
        CONDITION_VARIABLE m_changed = CONDITION_VARIABLE_INIT;
        bool m_isSet = false;
    };

    void serve() {
        for (;;) {
            m_started.wait();
            if (m_times == 0) return;
            m_output = m_work(m_times);
            m_finished.set();
        }
    }

    bench::Batch m_work;
    std::size_t m_times = 0;
    std::size_t m_output = 0;
    Signal m_started, m_finished;
    std::thread m_thread;  // the last member, because the thread uses the other members
};

// Creates a batch that two threads run at the same time. Each thread makes all calls of the batch,
// so the time per call is the duration of a call on one thread.
bench::Batch inTwoThreads(bench::Batch work) {
    return [second = std::make_shared<SecondThread>(work), work](std::size_t times) {
        second->startBatch(times);
        const std::size_t output = work(times);
        const std::size_t outputOfSecond = second->waitForOutput();
        return output > 0 && outputOfSecond > 0 ? output + outputOfSecond : 0;
    };
}

// Runs two threads that never wait, like two busy programs.
class BusyThreads {
public:
    BusyThreads() {
        for (std::thread& thread : m_threads) {
            thread = std::thread([this] {
                while (!m_ends) ::YieldProcessor();
            });
        }
    }
    BusyThreads(const BusyThreads&) = delete;
    BusyThreads& operator=(const BusyThreads&) = delete;
    ~BusyThreads() {
        m_ends = true;
        for (std::thread& thread : m_threads) thread.join();
    }

private:
    std::atomic<bool> m_ends = false;
    std::array<std::thread, 2> m_threads;
};

std::string sizeOf(const std::wstring& moduleName) {
    return std::to_string(moduleName.size()) + " chars";
}

// Adds the rows for string lookups in a module. `name` is the file name or path of the module.
void addLookups(std::vector<bench::Row>& rows, const std::wstring& name, HINSTANCE satellite,
                HINSTANCE module) {
    const bool isPath = name.find(L'\\') != std::wstring::npos;
    const std::string size = sizeOf(name);
    const bench::Batch reference = systemLookup(satellite, kTranslated);
    rows.push_back({"loadStringW, satellite",
                    size,
                    lookup(name, kTranslated),
                    "LoadStringW",
                    reference,
                    nullptr,
                    {isPath ? 0.7 : 0.4}});
    rows.push_back({"loadStdStringW, satellite",
                    size,
                    stringLookup(name, kTranslated),
                    "LoadStringW",
                    reference,
                    nullptr,
                    {isPath ? 0.0 : 0.45}});
    rows.push_back({"loadStdStringW by value, satellite", size, newStringLookup(name, kTranslated),
                    "LoadStringW", reference});
    rows.push_back({"loadBString, satellite",
                    size,
                    bstrLookup(name, kTranslated),
                    "LoadStringW, SysAllocStringLen",
                    systemBstrLookup(satellite, kTranslated),
                    nullptr,
                    {isPath ? 0.0 : 0.65}});
    rows.push_back({"loadStringW, module only",
                    size,
                    lookup(name, kUntranslated),
                    "LoadStringW",
                    systemLookup(module, kUntranslated),
                    nullptr,
                    {isPath ? 4.2 : 2.1}});
    rows.push_back({"loadStringW, two threads",
                    size,
                    inTwoThreads(lookup(name, kTranslated)),
                    "one thread",
                    lookup(name, kTranslated),
                    nullptr,
                    {2.5}});
    rows.push_back({"loadStringW, two threads, busy",
                    size,
                    inTwoThreads(lookup(name, kTranslated)),
                    "one thread beside two busy ones",
                    lookup(name, kTranslated),
                    nullptr,
                    {10},
                    [] { return std::make_shared<BusyThreads>(); }});
}

// Adds the rows for a module without satellites. Each batch first calls useResourcePathOnly(),
// which takes little time compared with a LoadLibraryW call that fails.
void addUnsuccessfulSearches(std::vector<bench::Row>& rows, const std::wstring& name,
                             const std::wstring& path) {
    for (const bool resourcePathOnly : {false, true}) {
        rows.push_back({resourcePathOnly ? "no satellites, path only" : "no satellites",
                        sizeOf(name),
                        [resourcePathOnly, work = lookup(name, kTranslated)](std::size_t times) {
                            i18nres::Manager::Instance()->useResourcePathOnly(resourcePathOnly);
                            return work(times);
                        },
                        "failing LoadLibraryW",
                        failingLoads(satelliteFiles(path, resourcePathOnly)),
                        nullptr,
                        {resourcePathOnly ? 1.0 / 10 : 1.0 / 20}});
    }
}

}  // namespace

int main(int argc, char** argv) {
    const ModuleFolder folder;
    const std::wstring path = folder.pathOf(kModule);
    const std::wstring pathWithoutSatellites = folder.pathOf(kModuleWithoutSatellites);
    const LoadedModule module(path);
    const LoadedModule moduleWithoutSatellites(pathWithoutSatellites);
    const LoadedModule satellite(folder.pathOf(kCurrentSatellite));
    const ManagerSession manager;
    manager->setCulture(L"fr-FR");
    // The resource manager does not cache a failed search if a folder that it searched has changed
    // in the last few seconds.
    ::Sleep(4000);

    std::vector<bench::Row> rows;
    addLookups(rows, kModule, satellite.get(), module.get());
    addLookups(rows, path, satellite.get(), module.get());
    addUnsuccessfulSearches(rows, kModuleWithoutSatellites, pathWithoutSatellites);
    return bench::run(argc, argv, rows);
}
