#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Measures the time or memory that a function uses. In the same run, measures a reference, such as
/// a system function, and compares both results. A program creates a row for each measurement and
/// calls run(), which prints the rows as a table.
namespace bench {

/// A function that performs the measured operation `times` times. It returns the total amount of
/// output (see repeated()), or 0 if the operation fails.
using Batch = std::function<std::size_t(std::size_t times)>;

/// Returns the folder that contains the benchmark programs and the libraries that they load.
std::filesystem::path programFolder();

/// Creates a batch from a callable that performs the measured operation once. The callable returns
/// the amount of its output (characters, bytes or items), so that the compiler cannot remove the
/// operation. If the operation fails, the callable returns 0, and run() prints an error and stops.
template <class Work>
Batch repeated(Work work) {
    return [work = std::move(work)](std::size_t times) mutable {
        std::size_t total = 0;
        while (times-- > 0) {
            const std::size_t output = work();
            if (output == 0) return std::size_t{0};
            total += output;
        }
        return total;
    };
}

/// The maximum values of the "ratio" and "growth" columns of a row (see run()). A maximum of 0
/// means no limit. A maximum ratio of 0.1 means that the operation must be at least ten times as
/// fast as the reference.
struct Target {
    double ratio = 0;
    double growth = 0;  ///< Must be 0 if the row has no `tenfold` batch.
};

/// Returns the target for an operation that must be at least `times` times as fast as the
/// reference.
constexpr Target timesAsFast(double times) { return {1 / times}; }

/// A function that creates and returns an object. If it returns null, run() prints an error and
/// stops.
using ObjectFactory = std::function<std::shared_ptr<void>()>;

struct Row {
    std::string subject;        ///< Operation and input, such as "wide2UTF8, CJK".
    std::string size;           ///< The size of the input with its unit, such as "64 KB".
    Batch work;                 ///< The operation, with an input of size `size`.
    std::string referenceName;  ///< Describes the reference, for example "WideCharToMultiByte".
    Batch reference;            ///< The operation that `work` is compared with.
    Batch tenfold = nullptr;    ///< Optional. The operation, with ten times the input size.
    Target target{};            ///< Optional.

    /// Optional. Creates an object that puts additional load on the machine while the row is
    /// measured. Under this load, the system suspends threads for several milliseconds. run()
    /// therefore uses much longer batches than it does without load.
    ObjectFactory load = nullptr;
};

/// A row that measures memory. The measured value is the growth of the working set of the process
/// while `work` or `reference` creates its object.
struct MemoryRow {
    std::string subject;
    std::string size;
    ObjectFactory work;
    std::string referenceName;
    ObjectFactory reference;
    Target target{};
};

/// A row that compares the processor time of the process with a limit, for an operation that takes
/// seconds. Unlike the elapsed time, the processor time is hardly affected by other programs.
struct ProcessorRow {
    std::string subject;
    std::string size;
    ObjectFactory work;
    double limitInSeconds;
};

/// Measures the rows and prints each row as soon as it has been measured:
///
///     | subject | size | median | min..max | reference | ratio | growth | target |
///
/// Times are per call. Short batches of `work`, `reference` and `tenfold` alternate, so that a
/// change in the machine's speed affects all of them. Each measurement of `work` is paired with a
/// measurement of `reference`, and "ratio" is the median of the quotients of these pairs. A ratio
/// below 1 means that `work` is faster than `reference`. "growth" is the median time of `tenfold`
/// divided by the median time of `work`. A value of 10 means linear growth. Memory rows contain
/// sizes in megabytes instead of times. Memory rows and processor time rows follow the other rows.
/// For a row with a target, the last column ends in "met" or "not met".
///
/// Arguments: `--list` prints the names of the rows ("subject, size, reference") and measures
/// nothing. `--rows` omits the heading of the table. All other arguments are filters: only rows
/// whose names contain at least one of the filters are measured or listed.
///
/// @return The exit status for main(): 0 on success, 1 if the operation of a row failed, 2 if an
///         option is unknown.
int run(int argc, char** argv, const std::vector<Row>& rows,
        const std::vector<MemoryRow>& memoryRows = {},
        const std::vector<ProcessorRow>& processorRows = {});

}  // namespace bench
