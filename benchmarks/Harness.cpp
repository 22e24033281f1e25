#include "benchmarks/Harness.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <psapi.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string_view>

namespace bench {
namespace {

// The minimum duration of a batch. It is much longer than the clock resolution of 100 ns, but so
// short that a busy system interrupts few batches. Such a system suspends a thread for several
// milliseconds at a time.
constexpr double kBatchNanoseconds = 2e5;

// The minimum duration of a batch under additional load. It is much longer than the time for which
// the system suspends a thread (several milliseconds).
constexpr double kBatchNanosecondsUnderLoad = 5e7;

// The minimum and maximum numbers of measurements for each row of the table. Both numbers are odd,
// so that the median is one of the measurements.
constexpr int kLeastRounds = 31;
constexpr int kMostRounds = 501;
// If the measurements of a row take longer than this time, kLeastRounds measurements are
// sufficient.
constexpr double kRowNanoseconds = 3e8;

double nanosecondsNow() {
    static const double perTick = [] {
        LARGE_INTEGER ticksPerSecond;
        ::QueryPerformanceFrequency(&ticksPerSecond);
        return 1e9 / static_cast<double>(ticksPerSecond.QuadPart);
    }();
    LARGE_INTEGER ticks;
    ::QueryPerformanceCounter(&ticks);
    return static_cast<double>(ticks.QuadPart) * perTick;
}

/// Measures one of the batches of a row repeatedly. Stores each measurement as a time per call.
class Runner {
public:
    /// Runs the batch once to fill the caches. Then determines how many calls the batch must make
    /// to take at least `batchNanoseconds`.
    Runner(const Batch& batch, double batchNanoseconds) : m_batch(batch) {
        nanosecondsOfBatch();
        while (shortestOfThree() < batchNanoseconds) m_callsPerBatch *= 2;
    }

    void measure() {
        m_times.push_back(nanosecondsOfBatch() / static_cast<double>(m_callsPerBatch));
    }

    const std::vector<double>& times() const { return m_times; }

private:
    // Measures a batch three times and returns the shortest time, because the system may suspend
    // the thread during one of the batches.
    double shortestOfThree() const {
        return std::min({nanosecondsOfBatch(), nanosecondsOfBatch(), nanosecondsOfBatch()});
    }

    double nanosecondsOfBatch() const {
        const double begin = nanosecondsNow();
        if (m_batch(m_callsPerBatch) == 0) throw std::runtime_error("the work failed");
        return nanosecondsNow() - begin;
    }

    const Batch& m_batch;
    std::size_t m_callsPerBatch = 1;
    std::vector<double> m_times;
};

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::string shown(double nanoseconds) {
    constexpr std::pair<double, const char*> kUnits[] = {{1e9, "s"}, {1e6, "ms"}, {1e3, "us"}};
    double value = nanoseconds;
    const char* unit = "ns";
    for (const auto& [size, name] : kUnits) {
        if (nanoseconds < size) continue;
        value = nanoseconds / size;
        unit = name;
        break;
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.*f %s", value < 10 ? 2 : value < 100 ? 1 : 0, value, unit);
    return text;
}

std::string factor(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", value < 0.1 ? 4 : value < 1 ? 3 : 2, value);
    return text;
}

/// Returns the text for the "target" column: the limits, followed by "met" or "not met". Returns an
/// empty string if the row has no target.
std::string verdict(const Target& target, double ratio, double growth) {
    std::string text;
    bool met = true;
    const auto addBound = [&](const char* name, double bound, double measured) {
        if (bound == 0) return;
        char shownBound[64];
        std::snprintf(shownBound, sizeof shownBound, "%s <= %.3g, ", name, bound);
        text += shownBound;
        met = met && measured <= bound;
    };
    addBound("ratio", target.ratio, ratio);
    addBound("growth", target.growth, growth);
    return text.empty() ? text : text + (met ? "met" : "not met");
}

void printLine(const std::string& subject, const std::string& size, const std::string& time,
               const std::string& range, const std::string& reference, const std::string& ratio,
               const std::string& growth, const std::string& target) {
    std::printf("| %-28s | %-9s | %9s | %22s | %-46s | %6s | %8s | %-24s |\n", subject.c_str(),
                size.c_str(), time.c_str(), range.c_str(), reference.c_str(), ratio.c_str(),
                growth.c_str(), target.c_str());
    std::fflush(stdout);
}

void printHeading() {
    printLine("subject", "size", "median", "min..max", "reference", "ratio", "growth", "target");
    printLine("---", "---", "---:", "---:", "---", "---:", "---:", "---");
}

void measureAndPrint(const Row& row) {
    const std::shared_ptr<void> load = row.load ? row.load() : nullptr;
    if (row.load && !load) throw std::runtime_error("the load failed");
    const double batchNanoseconds = load ? kBatchNanosecondsUnderLoad : kBatchNanoseconds;
    Runner subject(row.work, batchNanoseconds);
    Runner reference(row.reference, batchNanoseconds);
    std::vector<Runner> tenfold;
    if (row.tenfold) tenfold.emplace_back(row.tenfold, batchNanoseconds);

    std::vector<double> ratios;
    const double begin = nanosecondsNow();
    const auto isEnough = [begin](int rounds) {
        const bool isLate = nanosecondsNow() - begin > kRowNanoseconds;
        return rounds % 2 == 1 && rounds >= (isLate ? kLeastRounds : kMostRounds);
    };
    for (int round = 0; !isEnough(round); ++round) {
        const bool subjectFirst = round % 2 == 0;
        if (subjectFirst) subject.measure();
        reference.measure();
        if (!subjectFirst) subject.measure();
        for (Runner& runner : tenfold) runner.measure();
        ratios.push_back(subject.times().back() / reference.times().back());
    }

    const double time = median(subject.times());
    const double ratio = median(ratios);
    const double growth = tenfold.empty() ? 0 : median(tenfold[0].times()) / time;
    const auto [fastest, slowest] =
        std::minmax_element(subject.times().begin(), subject.times().end());
    printLine(row.subject, row.size, shown(time), shown(*fastest) + ".." + shown(*slowest),
              row.referenceName + ", " + shown(median(reference.times())), factor(ratio),
              tenfold.empty() ? "" : factor(growth), verdict(row.target, ratio, growth));
}

double workingSetBytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters);
    return static_cast<double>(counters.WorkingSetSize);
}

double workingSetGrowth(const ObjectFactory& make) {
    const double before = workingSetBytes();
    const std::shared_ptr<void> object = make();
    if (!object) throw std::runtime_error("the work failed");
    return workingSetBytes() - before;
}

std::string shownBytes(double bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f MB", bytes / (1 << 20));
    return text;
}

void measureAndPrint(const MemoryRow& row) {
    constexpr int kTimes = 5;  // odd
    std::vector<double> subject, reference;
    for (int i = 0; i < kTimes; ++i) {
        subject.push_back(workingSetGrowth(row.work));
        reference.push_back(workingSetGrowth(row.reference));
    }
    const double bytes = median(subject);
    const double ratio = bytes / median(reference);
    const auto [least, most] = std::minmax_element(subject.begin(), subject.end());
    printLine(row.subject, row.size, shownBytes(bytes),
              shownBytes(*least) + ".." + shownBytes(*most),
              row.referenceName + ", " + shownBytes(median(reference)), factor(ratio), "",
              verdict(row.target, ratio, 0));
}

double nanosecondsOfProcessor() {
    FILETIME created, ended, kernel, user;
    ::GetProcessTimes(::GetCurrentProcess(), &created, &ended, &kernel, &user);
    constexpr double kNanosecondsPerUnit = 100;
    double nanoseconds = 0;
    for (const FILETIME& part : {kernel, user}) {
        const ULARGE_INTEGER units = {{part.dwLowDateTime, part.dwHighDateTime}};
        nanoseconds += kNanosecondsPerUnit * static_cast<double>(units.QuadPart);
    }
    return nanoseconds;
}

void measureAndPrint(const ProcessorRow& row) {
    constexpr int kTimes = 5;  // odd
    std::vector<double> times;
    for (int i = 0; i < kTimes; ++i) {
        const double begin = nanosecondsOfProcessor();
        if (!row.work()) throw std::runtime_error("the work failed");
        times.push_back(nanosecondsOfProcessor() - begin);
    }
    const double time = median(times);
    const double limit = row.limitInSeconds * 1e9;
    const auto [fastest, slowest] = std::minmax_element(times.begin(), times.end());
    printLine(row.subject, row.size, shown(time), shown(*fastest) + ".." + shown(*slowest),
              "processor time of " + shown(limit), factor(time / limit), "",
              verdict({1}, time / limit, 0));
}

std::string nameOf(const ProcessorRow& row) {
    return row.subject + ", " + row.size + ", processor time";
}

template <class AnyRow>
std::string nameOf(const AnyRow& row) {
    return row.subject + ", " + row.size + ", " + row.referenceName;
}

// Prints a warning if the system's heap checks are enabled. Heap checks make allocations slower.
void warnOfHeapChecks() {
    using GetGlobalFlag = ULONG(NTAPI*)();
    const auto getGlobalFlag = reinterpret_cast<GetGlobalFlag>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "RtlGetNtGlobalFlags")));
    constexpr ULONG kHeapChecks = 0x70;  // tail checks, free checks, parameter checks
    if (getGlobalFlag && (getGlobalFlag() & kHeapChecks) != 0) {
        std::fputs(
            "The system checks its heaps, so code that allocates memory is slower than usual.\n",
            stderr);
    }
}

}  // namespace

std::filesystem::path programFolder() {
    wchar_t program[MAX_PATH];
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    return std::filesystem::path(program).parent_path();
}

int run(int argc, char** argv, const std::vector<Row>& rows,
        const std::vector<MemoryRow>& memoryRows, const std::vector<ProcessorRow>& processorRows) {
    _setmode(_fileno(stdout), _O_BINARY);  // scripts need lines without carriage returns
    bool listOnly = false;
    bool rowsOnly = false;
    std::vector<std::string_view> filters;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--list") {
            listOnly = true;
        } else if (argument == "--rows") {
            rowsOnly = true;
        } else if (argument.substr(0, 2) == "--") {
            std::fprintf(stderr, "unknown option %s\n", argv[i]);
            return 2;
        } else {
            filters.push_back(argument);
        }
    }

    struct Selected {
        std::string name;
        std::function<void()> measureAndPrint;
    };
    std::vector<Selected> selected;
    const auto select = [&](const auto& candidates) {
        for (const auto& row : candidates) {
            const bool wanted =
                filters.empty() || std::any_of(filters.begin(), filters.end(), [&](auto filter) {
                    return nameOf(row).find(filter) != std::string::npos;
                });
            if (wanted) selected.push_back({nameOf(row), [&row] { bench::measureAndPrint(row); }});
        }
    };
    select(rows);
    select(memoryRows);
    select(processorRows);
    if (listOnly) {
        for (const Selected& row : selected) std::printf("%s\n", row.name.c_str());
        return 0;
    }

    if (!rowsOnly) {
        warnOfHeapChecks();
        printHeading();
    }
    for (const Selected& row : selected) {
        try {
            row.measureAndPrint();
        } catch (const std::exception& failure) {
            std::fprintf(stderr, "%s: %s\n", row.name.c_str(), failure.what());
            return 1;
        }
    }
    return 0;
}

}  // namespace bench
