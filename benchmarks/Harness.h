#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Measures pieces of work against references, in the same run, and prints a row of a table for
/// each. A program of ours makes its rows and leaves the rest to run().
namespace bench {

/// Does a piece of work so many times in a row and adds up what each time returned.
using Batch = std::function<std::size_t(std::size_t times)>;

/// Where the benchmark programs and the libraries that they load stand.
std::filesystem::path programFolder();

/// Makes a batch of a callable. It returns how much it made (characters, bytes, items), so that
/// the compiler keeps the work, and 0 when it failed, which ends the program.
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

/// What a row is meant to reach; 0 leaves a bound out. "At least ten times as fast as the
/// reference" is a ratio of 0.1.
struct Target {
    double ratio = 0;   ///< The greatest that meets the target.
    double growth = 0;  ///< Likewise, from n to 10n, for a row with `tenfold`.
};

/// The target of being at least so many times as fast as the reference.
constexpr Target timesAsFast(double times) { return {1 / times}; }

/// Makes something and hands it over; null when it failed, which ends the program.
using Making = std::function<std::shared_ptr<void>()>;

struct Row {
    std::string subject;        ///< What is measured, with the kind of input: "wide2UTF8, CJK".
    std::string size;           ///< Of the input, with its unit: "64 KB".
    Batch work;                 ///< The subject at that size.
    std::string referenceName;  ///< What the reference calls: "WideCharToMultiByte".
    Batch reference;            ///< The same work done the plainest way there is.
    Batch tenfold = nullptr;    ///< Optional: the subject at ten times the size.
    Target target{};            ///< Optional.

    /// Optional: other load on the machine, which lives while the row is measured. The system then
    /// suspends every thread for milliseconds, so the batches last longer than that.
    Making load = nullptr;
};

/// A row of memory instead of time: what the process takes on, in pages that were touched, as long
/// as what was made lives.
struct MemoryRow {
    std::string subject;
    std::string size;
    Making work;
    std::string referenceName;
    Making reference;
    Target target{};
};

/// Measures the rows and prints them, one line each, as soon as each is done:
///
///     | subject | size | median | min..max | reference | ratio | n to 10n | target |
///
/// Times are per call. Subject, reference and tenfold take turns in short batches, so that a
/// change of the machine's pace meets all of them; the ratio is the median of the ratios of
/// neighbouring batches (below 1: the subject is faster), "n to 10n" the factor from the size to
/// ten times the size (10: linear). Rows of memory, which come last, show bytes instead. The last
/// column ends in "met" or "not met" for a row that has a target.
///
/// Arguments: `--list` prints the names of the rows ("subject, size, reference"), `--rows` leaves
/// out the heading, and every other argument selects the rows whose name contains it.
///
/// @return for main(): 0; 1 when a piece of work failed; 2 for an unknown option.
int run(int argc, char** argv, const std::vector<Row>& rows,
        const std::vector<MemoryRow>& memoryRows = {});

}  // namespace bench
