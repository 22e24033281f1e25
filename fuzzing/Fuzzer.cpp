// A coverage-guided fuzzer. It makes random changes to the inputs of a corpus and passes each
// changed input to a target, which usually calls a parser of the library. The fuzzer counts how
// often the input takes each transition between two basic blocks, and rounds these counts. The
// input is added to the corpus if the rounded count of a transition is new for this transition.
//
//   fuzzer.exe --list
//   fuzzer.exe TARGET [--corpus FOLDER] [--seconds N | --runs N] [--seed N] [--keep FOLDER]
//              [--crash FILE]
//
// Prints one row: target, executions, executions per second, number of inputs, outcome. If the
// target crashes, aborts or takes 20 seconds or more for an input, the fuzzer writes the input to
// the --crash file. In this case, the exit status is not 0. If the target leaks memory, the exit
// status is 5. At the end, the inputs that were added to the corpus are written to the --keep
// folder.
#include "fuzzing/Fuzzer.h"

#include <windows.h>

#include <objbase.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "tests/support/CrashTrace.h"
#include "tests/support/ProcessCounts.h"

#if defined(_MSC_VER)
#include <intrin.h>
#define RETURN_ADDRESS() _ReturnAddress()
#else
#define RETURN_ADDRESS() __builtin_return_address(0)
#endif

namespace {

constexpr std::size_t kTransitionCounters = 1 << 13;
// The number of times that the current run took each transition between two basic blocks.
std::uint8_t g_hits[kTransitionCounters];
// The rounded counts of all runs, combined with a bitwise OR.
std::uint8_t g_seen[kTransitionCounters];
std::uintptr_t g_last;

std::string g_input;
std::wstring g_crashFile = L"crash-input";
const fuzz::Target* g_target;
unsigned long long g_runs;
volatile LONG g_busySince;  // GetTickCount at the start of the current run; 0 between runs

void saveInput() {
    const HANDLE file =
        ::CreateFileW(g_crashFile.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written;
    ::WriteFile(file, g_input.data(), static_cast<DWORD>(g_input.size()), &written, nullptr);
    ::CloseHandle(file);
}

void printRow(double perSecond, std::size_t inputs, const char* outcome) {
    std::printf("%-14s %12llu %10.0f %7u  %s\n", g_target->name, g_runs, perSecond,
                static_cast<unsigned>(inputs), outcome);
    std::fflush(stdout);
}

LONG CALLBACK onException(EXCEPTION_POINTERS* info) {
    const DWORD code = info->ExceptionRecord->ExceptionCode;
    if (g_busySince != 0 &&
        (code == EXCEPTION_ACCESS_VIOLATION || code == EXCEPTION_ILLEGAL_INSTRUCTION ||
         code == EXCEPTION_STACK_OVERFLOW || code == EXCEPTION_INT_DIVIDE_BY_ZERO)) {
        saveInput();
        printRow(0, 0, "CRASH");
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

// The handler for SIGABRT, which is raised if a check in the standard library fails or if an
// exception is not caught.
void onAbort(int) {
    saveInput();
    printRow(0, 0, "ABORTS");
}

DWORD WINAPI watch(void*) {
    constexpr LONG kLongest = 20000;
    for (;;) {
        ::Sleep(1000);
        const LONG since = g_busySince;
        const auto busy = static_cast<LONG>(::GetTickCount() - static_cast<DWORD>(since));
        if (since == 0 || busy < kLongest) continue;
        saveInput();
        printRow(0, 0, "HANGS");
        ::TerminateProcess(::GetCurrentProcess(), 4);
    }
}

// Returns counts up to 3 unchanged, and replaces larger counts with 4, 8, 16, 64 or 128, so that
// similar counts become equal.
std::uint8_t roundedCount(std::uint8_t n) {
    for (const int limit : {4, 8, 16, 32, 128}) {
        if (n < limit) return static_cast<std::uint8_t>(n < 4 ? n : limit / 2);
    }
    return 128;
}

void execute(const std::string& input) {
    g_input = input;
    ::InterlockedExchange(&g_busySince, static_cast<LONG>(::GetTickCount() | 1));
    g_target->run(fuzz::Input(g_input));
    ::InterlockedExchange(&g_busySince, 0);
}

// Passes the input to the target. Returns true if the rounded count of a transition is new for this
// transition.
bool isNew(const std::string& input) {
    std::memset(g_hits, 0, kTransitionCounters);
    g_last = 0;
    execute(input);
    bool foundNewCount = false;
    for (std::size_t i = 0; i < kTransitionCounters; i += 8) {
        std::uint64_t eight;
        std::memcpy(&eight, g_hits + i, 8);
        if (eight == 0) continue;
        for (std::size_t k = i; k < i + 8; ++k) {
            const std::uint8_t rounded = roundedCount(g_hits[k]);
            if (!(rounded & ~g_seen[k])) continue;
            g_seen[k] = static_cast<std::uint8_t>(g_seen[k] | rounded);
            foundNewCount = true;
        }
    }
    return foundNewCount;
}

class Mutator {
public:
    Mutator(unsigned seed, const char* alphabet) : m_random(seed) {
        for (const char* word = alphabet; *word;) {
            const std::size_t length = std::strcspn(word, " ");
            m_words.emplace_back(word, length);
            word += length + (word[length] == ' ');
        }
    }

    std::string change(const std::vector<std::string>& corpus, std::size_t longest) {
        std::string input = corpus[below(corpus.size())];
        for (std::size_t changes = 1 + below(4); changes > 0; --changes) {
            const std::size_t at = below(input.size() + 1);
            switch (below(9)) {
                case 0:
                    if (at < input.size()) input[at] = static_cast<char>(input[at] ^ 1 << below(8));
                    break;
                case 1:
                    if (at < input.size()) input[at] = anyByte();
                    break;
                case 2:
                    input.insert(at, 1, anyByte());
                    break;
                case 3:
                    input.insert(at, 1 + below(12),
                                 input.empty() ? '0' : input[below(input.size())]);
                    break;
                case 4:
                    input.erase(at, 1 + below(8));
                    break;
                case 5:
                    input.insert(at, input.substr(below(input.size() + 1), 1 + below(16)));
                    break;
                case 6:
                case 7:
                    if (!m_words.empty()) input.insert(at, m_words[below(m_words.size())]);
                    break;
                default: {
                    const std::string& other = corpus[below(corpus.size())];
                    input = input.substr(0, at) + other.substr(below(other.size() + 1));
                }
            }
        }
        if (input.size() > longest) input.resize(longest);
        return input;
    }

private:
    std::size_t below(std::size_t limit) { return m_random() % (limit ? limit : 1); }
    char anyByte() { return static_cast<char>(m_random()); }

    std::mt19937 m_random;  // produces the same numbers with every standard library
    std::vector<std::string> m_words;
};

std::vector<std::string> contentsOfFiles(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.is_regular_file()) paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());  // the order of directory_iterator is unspecified
    std::vector<std::string> files;
    for (const auto& path : paths) {
        std::ifstream stream(path, std::ios::binary);
        files.emplace_back(std::istreambuf_iterator<char>(stream),
                           std::istreambuf_iterator<char>());
    }
    return files;
}

double now() {
    LARGE_INTEGER frequency, count;
    ::QueryPerformanceFrequency(&frequency);
    ::QueryPerformanceCounter(&count);
    return static_cast<double>(count.QuadPart) / static_cast<double>(frequency.QuadPart);
}

// Runs the first inputs of the corpus repeatedly. Returns the number of memory blocks that each
// pass leaks.
long countLeakedBlocks(const std::vector<std::string>& corpus) {
    constexpr std::size_t kInputs = 100;
    const auto runThem = [&] {
        for (std::size_t i = 0; i < (std::min)(corpus.size(), kInputs); ++i) execute(corpus[i]);
    };
    runThem();  // the first pass fills caches
    const auto leftByOnePass = [&] {
        const long before = testsupport::heapBlocks();
        runThem();
        return testsupport::heapBlocks() - before;
    };
    return testsupport::blocksLeftByEachRun(leftByOnePass, 0);
}

// The command-line options. See the comment at the top of this file.
struct Options {
    bool list = false;
    std::filesystem::path corpus, keep;
    double seconds = 10;
    unsigned long long runs = 0;
    unsigned seed = 1;
};

int run(const Options& options) {
    std::vector<std::string> corpus;
    if (!options.corpus.empty()) corpus = contentsOfFiles(options.corpus);
    const std::size_t corpusFiles = corpus.size();
    for (const std::string& input : corpus) isNew(input);
    if (corpus.empty()) corpus.emplace_back();

    Mutator mutator(options.seed, g_target->alphabet);
    const double start = now();
    double elapsed = 0;
    for (bool more = true; more;) {
        const std::string input = mutator.change(corpus, g_target->longest);
        ++g_runs;
        if (isNew(input)) corpus.push_back(input);
        if (g_runs % 64 == 0) elapsed = now() - start;
        more = options.runs > 0 ? g_runs < options.runs : elapsed < options.seconds;
    }
    elapsed = now() - start;
    const long leakedBlocks = countLeakedBlocks(corpus);
    printRow(static_cast<double>(g_runs) / elapsed, corpus.size(),
             leakedBlocks > 0 ? "LEAKS" : "no crash");
    if (leakedBlocks > 0) std::printf("%ld blocks\n", leakedBlocks);

    if (!options.keep.empty()) {
        for (std::size_t i = corpusFiles; i < corpus.size(); ++i) {
            const std::string name = std::to_string(options.seed) + "-" + std::to_string(i);
            std::ofstream(options.keep / name, std::ios::binary) << corpus[i];
        }
    }
    return leakedBlocks > 0 ? 5 : 0;
}

std::vector<fuzz::Target> allTargets() {
    std::vector<fuzz::Target> targets;
    for (const fuzz::Target* target :
         {fuzz::kTextTargets, fuzz::kResourceTargets, fuzz::kExchangeTargets,
          fuzz::kDocumentTargets, fuzz::kSatelliteToolTargets}) {
        for (; target->name; ++target) targets.push_back(*target);
    }
    return targets;
}

// The arguments are wide strings, because folder names may contain characters outside the ANSI code
// page.
bool readOptions(int argc, wchar_t** argv, const std::vector<fuzz::Target>& targets,
                 Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::wstring argument = argv[i];
        if (argument == L"--list") {
            options.list = true;
            continue;
        }
        if (argument.rfind(L"--", 0) != 0) {
            for (const fuzz::Target& target : targets)
                if (argument == std::wstring(target.name, target.name + std::strlen(target.name)))
                    g_target = &target;
            if (!g_target) return false;
            continue;
        }
        if (++i == argc) return false;
        const wchar_t* const value = argv[i];
        if (argument == L"--corpus") {
            options.corpus = value;
        } else if (argument == L"--keep") {
            options.keep = value;
        } else if (argument == L"--crash") {
            g_crashFile = value;
        } else if (argument == L"--seconds") {
            options.seconds = std::wcstod(value, nullptr);
        } else if (argument == L"--runs") {
            options.runs = std::wcstoull(value, nullptr, 10);
        } else if (argument == L"--seed") {
            options.seed = static_cast<unsigned>(std::wcstoul(value, nullptr, 10));
        } else {
            return false;
        }
    }
    return options.list || g_target;
}

}  // namespace

// The instrumented code of the library calls this function in each basic block.
extern "C" void __sanitizer_cov_trace_pc();
extern "C" void __sanitizer_cov_trace_pc() {
    const auto place = reinterpret_cast<std::uintptr_t>(RETURN_ADDRESS());
    std::uint8_t& hits = g_hits[(place ^ g_last) & (kTransitionCounters - 1)];
    if (hits != 255) ++hits;
    g_last = place >> 1;
}

int wmain(int argc, wchar_t** argv) {
    const auto targets = allTargets();
    Options options;
    if (!readOptions(argc, argv, targets, options)) {
        std::fprintf(stderr,
                     "usage: fuzzer TARGET [--corpus FOLDER] [--seconds N | --runs N] [--seed N] "
                     "[--keep FOLDER] [--crash FILE]\nThe targets are:\n");
        for (const fuzz::Target& target : targets) std::fprintf(stderr, "  %s\n", target.name);
        return 64;
    }
    if (options.list) {
        for (const fuzz::Target& target : targets) std::printf("%s\n", target.name);
        return 0;
    }
    testsupport::installCrashTrace();
    ::AddVectoredExceptionHandler(1, onException);
    std::signal(SIGABRT, onAbort);
    ::CloseHandle(::CreateThread(nullptr, 0, watch, nullptr, 0, nullptr));
    if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 1;
    const int status = run(options);
    ::CoUninitialize();
    return status;
}
