#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Measures work and compares it with a reference in the same run. Prints a table with a row for
/// each measurement. A program makes the rows and calls run().
namespace bench {

/// Does the work `times` times and returns the sum of the results, or 0 if the work fails.
using Batch = std::function<std::size_t(std::size_t times)>;

/// Returns the folder that contains the benchmark programs and the libraries that they load.
std::filesystem::path programFolder();

/// Makes a batch from a callable that does the work once. The callable returns the amount of its
/// output (characters, bytes or items), so that the compiler cannot remove the work. It returns 0
/// if the work fails; then the program ends.
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

/// Makes an object and returns it. Returns null on failure; then the program ends.
using Making = std::function<std::shared_ptr<void>()>;

struct Row {
    std::string subject;        ///< The measured work and its input, such as "wide2UTF8, CJK".
    std::string size;           ///< The size of the input with its unit, such as "64 KB".
    Batch work;                 ///< The measured work with an input of that size.
    std::string referenceName;  ///< The calls of the reference, such as "WideCharToMultiByte".
    Batch reference;            ///< The same work, done in the simplest way.
    Batch tenfold = nullptr;    ///< Optional. The work with an input of ten times the size.
    Target target{};            ///< Optional.

    /// Optional. Makes an object that puts other load on the machine while the row is measured. The
    /// system then suspends threads for several milliseconds, so a batch takes much longer than
    /// that.
    Making load = nullptr;
};

/// A row that measures memory: by how much the working set of the process grows while the object is
/// made.
struct MemoryRow {
    std::string subject;
    std::string size;
    Making work;
    std::string referenceName;
    Making reference;
    Target target{};
};

/// A row for work that takes seconds. It compares the processor time of the process with a limit.
/// Other programs hardly affect the processor time.
struct ProcessorRow {
    std::string subject;
    std::string size;
    Making work;
    double limitInSeconds;
};

/// Measures the rows and prints each row as soon as it has been measured:
///
///     | subject | size | median | min..max | reference | ratio | n to 10n | target |
///
/// Times are per call. Short batches of the subject, the reference and `tenfold` alternate, so that
/// a change of the machine's speed affects all of them. The ratio is the median of the ratios of
/// neighbouring batches. A ratio below 1 means that the subject is faster. "n to 10n" is the time
/// for ten times the size divided by the time for the size; 10 means linear growth. Memory rows
/// show megabytes. Memory rows and processor time rows follow the other rows. For a row with a
/// target, the last column ends in "met" or "not met".
///
/// Arguments: `--list` prints the names of the rows ("subject, size, reference") and measures
/// nothing. `--rows` omits the heading. All other arguments select the rows whose names contain one
/// of them.
///
/// @return The exit status for main(): 0 on success, 1 if the work of a row failed, 2 if an option
///         is unknown.
int run(int argc, char** argv, const std::vector<Row>& rows,
        const std::vector<MemoryRow>& memoryRows = {},
        const std::vector<ProcessorRow>& processorRows = {});

}  // namespace bench
