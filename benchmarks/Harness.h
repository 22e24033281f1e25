#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Measures work, compares it with a reference in the same run, and prints a table with a row for
/// each measurement. A program creates the rows and calls run().
namespace bench {

/// Does the work `times` times and returns the sum of the results, or 0 if the work fails.
using Batch = std::function<std::size_t(std::size_t times)>;

/// Returns the folder that contains the benchmark programs and the libraries that they load.
std::filesystem::path programFolder();

/// Creates a batch from a callable that does the work once. The callable returns the amount of its
/// output (characters, bytes or items), so that the compiler cannot remove the work. If the work
/// fails, the callable returns 0 and the program ends.
template <class Work>
Batch repeated(Work work) {
    return [work = std::move(work)](std::size_t times) mutable {
        std::size_t made = 0;
        while (times-- > 0) {
            const std::size_t now = work();
            if (now == 0) return std::size_t{0};
            made += now;
        }
        return made;
    };
}

/// The target of a row. A value of 0 means no limit. A ratio of 0.1 means that the work must be at
/// least ten times as fast as the reference.
struct Target {
    double ratio = 0;   ///< The maximum ratio.
    double growth = 0;  ///< The maximum growth from n to 10n, for a row with `tenfold`.
};

/// Returns the target for work that must be at least `times` times as fast as the reference.
constexpr Target timesAsFast(double times) { return {1 / times}; }

/// Creates and returns an object. If the result is null, the program ends.
using Making = std::function<std::shared_ptr<void>()>;

struct Row {
    std::string subject;        ///< The work and its input, such as "wide2UTF8, CJK".
    std::string size;           ///< The size of the input with its unit, such as "64 KB".
    Batch work;                 ///< The work, with an input of this size.
    std::string referenceName;  ///< The calls of the reference, such as "WideCharToMultiByte".
    Batch reference;            ///< The same work, done in the simplest way.
    Batch tenfold = nullptr;    ///< Optional. The work, with an input of ten times the size.
    Target target{};            ///< Optional.

    /// Optional. Creates an object that puts additional load on the machine while the row is
    /// measured. Under this load, the system suspends threads for several milliseconds, so the
    /// program uses batches that are much longer than such a suspension.
    Making load = nullptr;
};

/// A row that measures memory. The measured value is the growth of the working set of the process
/// while the object is created.
struct MemoryRow {
    std::string subject;
    std::string size;
    Making work;
    std::string referenceName;
    Making reference;
    Target target{};
};

/// A row for work that takes seconds. The processor time of the process is compared with a limit,
/// because other programs hardly affect the processor time.
struct ProcessorRow {
    std::string subject;
    std::string size;
    Making work;
    double limitInSeconds;
};

/// Measures the rows and prints each row as soon as it has been measured:
///
///     | subject | size | median | min..max | reference | ratio | growth | target |
///
/// Times are per call. Short batches of the subject, the reference and `tenfold` alternate, so that
/// a change in the machine's speed affects all of them. The ratio is the median of the ratios of
/// adjacent batches. A ratio below 1 means that the subject is faster. "growth" is the time for
/// ten times the size divided by the time for the size; 10 means linear growth. Memory rows show
/// megabytes. Memory rows and processor time rows follow the other rows. For a row with a target,
/// the last column ends in "met" or "not met".
///
/// Arguments: `--list` prints the names of the rows ("subject, size, reference") and measures
/// nothing. `--rows` omits the heading. If there are other arguments, only rows whose names contain
/// at least one of these arguments are measured.
///
/// @return The exit status for main(): 0 on success, 1 if the work of a row failed, 2 if an option
///         is unknown.
int run(int argc, char** argv, const std::vector<Row>& rows,
        const std::vector<MemoryRow>& memoryRows = {},
        const std::vector<ProcessorRow>& processorRows = {});

}  // namespace bench
