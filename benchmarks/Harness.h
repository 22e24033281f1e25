#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Measures pieces of work against references, in the same run, and prints one row of a table for
/// each. A program makes the rows and calls run().
namespace bench {

/// Does a piece of work `times` times and returns the sum of the results.
using Batch = std::function<std::size_t(std::size_t times)>;

/// Returns the folder of the benchmark programs and of the libraries that they load.
std::filesystem::path programFolder();

/// Makes a batch from a callable. The callable returns how much it made (characters, bytes, items),
/// so that the compiler cannot remove the work, and 0 for a failure, which ends the program.
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

/// The target of a row; 0 means no limit. "At least ten times as fast as the reference" is a ratio
/// of 0.1.
struct Target {
    double ratio = 0;   ///< The greatest accepted ratio.
    double growth = 0;  ///< The greatest accepted growth from n to 10n, for a row with `tenfold`.
};

/// Returns the target for work that is at least so many times as fast as the reference.
constexpr Target timesAsFast(double times) { return {1 / times}; }

/// Makes an object and returns it; null for a failure, which ends the program.
using Making = std::function<std::shared_ptr<void>()>;

struct Row {
    std::string subject;        ///< The measured work and its input: "wide2UTF8, CJK".
    std::string size;           ///< Size of the input, with its unit: "64 KB".
    Batch work;                 ///< The measured work at that size.
    std::string referenceName;  ///< The calls of the reference: "WideCharToMultiByte".
    Batch reference;            ///< The same work, done in the plainest way.
    Batch tenfold = nullptr;    ///< Optional: the measured work at ten times the size.
    Target target{};            ///< Optional.

    /// Optional: other load on the machine, which exists while the row is measured. The system then
    /// suspends every thread for milliseconds, so the batches take longer than that.
    Making load = nullptr;
};

/// A row that measures memory instead of time: the pages that the process has touched and keeps as
/// long as the object exists.
struct MemoryRow {
    std::string subject;
    std::string size;
    Making work;
    std::string referenceName;
    Making reference;
    Target target{};
};

/// A row for work of seconds: the processor time of the process, which other programs hardly
/// affect, against a limit.
struct ProcessorRow {
    std::string subject;
    std::string size;
    Making work;
    double limitInSeconds;
};

/// Measures the rows and prints each one as soon as it is done:
///
///     | subject | size | median | min..max | reference | ratio | n to 10n | target |
///
/// Times are per call. Subject, reference and tenfold take turns in short batches, so that a change
/// of the machine's speed affects all of them. The ratio is the median of the ratios of
/// neighbouring batches (below 1: the subject is faster). "n to 10n" is the factor from the size to
/// ten times the size (10: linear). Rows of memory show bytes. They and the rows of processor time
/// come last. The last column ends in "met" or "not met" for a row with a target.
///
/// Arguments: `--list` prints the names of the rows ("subject, size, reference"), `--rows` omits
/// the heading, and every other argument selects the rows whose names contain it.
///
/// @return for main(): 0; 1 when a piece of work failed; 2 for an unknown option.
int run(int argc, char** argv, const std::vector<Row>& rows,
        const std::vector<MemoryRow>& memoryRows = {},
        const std::vector<ProcessorRow>& processorRows = {});

}  // namespace bench
