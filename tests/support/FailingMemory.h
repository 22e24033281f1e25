#pragma once
// Runs a call with each of its allocations failing once, and compares how it says that memory ran
// out with what docs/failures.md says of it.
//
// What fails are the allocations of I18nResource.dll, and the calls with which it lets the system
// allocate for it (testsupport::failNth): those that the system makes for itself are left alone.
#include <doctest/doctest.h>
#include <windows.h>

#include <comdef.h>

#include <functional>
#include <initializer_list>
#include <new>
#include <string>
#include <utility>

#include "tests/support/AllocationSpy.h"
#include "tests/support/OtherThread.h"
#include "tests/support/ProcessCounts.h"

namespace testsupport {

// How a call says that memory ran out.
enum Way : unsigned {
    kWhole = 1,            // not at all: it did without what it could not get
    kThrowsBadAlloc = 2,   // std::bad_alloc
    kThrowsComError = 4,   // _com_error with E_OUTOFMEMORY
    kAnswersNoMemory = 8,  // the result E_OUTOFMEMORY
    kAnswersFailure = 16,  // another result for failure: E_FAIL, false, 0, null
};

// A way that a call knows on some platforms only.
constexpr unsigned maybe(unsigned way) { return way << 8; }

struct Exhausted {
    const char* name;
    unsigned ways;  // all the ways in which memory may run out; each is seen, but for maybe() ones
    // Makes the call and gives back whatever it handed out.
    // @return S_OK when the call gave all that it was asked for.
    std::function<HRESULT()> call;
    // Before each call and after each call that failed, while nothing fails.
    std::function<void()> prepare = nullptr;
    std::function<void(unsigned way)> examine = nullptr;
};

// A call that answers whether it succeeded.
inline HRESULT failureUnless(bool succeeded) { return succeeded ? S_OK : E_FAIL; }

// Returns the result of `call`, or E_OUTOFMEMORY for an exception that reports exhausted memory.
template <class Call>
HRESULT resultOf(Call&& call) {
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const _com_error& error) {
        return error.Error();
    }
}

inline unsigned wayOf(const Exhausted& row) {
    try {
        switch (row.call()) {
            case S_OK:
                return kWhole;
            case E_OUTOFMEMORY:
                return kAnswersNoMemory;
            default:
                return kAnswersFailure;
        }
    } catch (const std::bad_alloc&) {
        return kThrowsBadAlloc;
    } catch (const _com_error& error) {
        CHECK(error.Error() == E_OUTOFMEMORY);
        return kThrowsComError;
    }
}

// How many more blocks live behind `body`. More than `awaited` are looked at again for a second: a
// thread that has just been waited for gives back its last ones a little later.
template <class Body>
long blocksLeft(Body&& body, long awaited) {
    const long before = heapBlocks();
    body();
    long left = heapBlocks() - before;
    for (int tries = 0; left > awaited && tries < 50; ++tries) {
        Sleep(20);
        left = heapBlocks() - before;
    }
    return left;
}

// Makes the 1st, 2nd, ... allocation of each call fail until the call gets through. After each
// failed call other threads can still do what `enter` does, and the next call succeeds. All of them
// together leave no block behind.
inline void everyAllocationFails(std::initializer_list<Exhausted> rows,
                                 const std::function<void()>& enter = nullptr) {
    for (const Exhausted& row : rows) {
        INFO(std::string(row.name));
        const unsigned certain = row.ways & 0xFF, possible = certain | row.ways >> 8;
        const auto callWithFailure = [&row](long n) {
            if (row.prepare) row.prepare();
            failNth(n);
            const unsigned way = wayOf(row);
            const bool failed = failureFired();
            failNth(0);
            return std::pair(failed, way);
        };
        long failures = 0;
        const auto sweep = [&] {
            unsigned seen = 0;
            for (long n = 1;; ++n) {
                failures = n - 1;
                const auto result = callWithFailure(n);
                const bool failed = result.first;
                const unsigned way = result.second;
                CAPTURE(n);
                CAPTURE(way);
                if (!failed) {
                    CHECK(way == kWhole);
                    return seen;
                }
                CHECK((way & possible) == way);
                seen |= way;
                if (row.examine) row.examine(way);
                if (enter) CHECK(otherThreadFinishes(enter));
                CHECK(callWithFailure(0).second == kWhole);
            }
        };
        const SystemCallsFail too;
        callWithFailure(0);  // fills caches that live until the end of the process
        callWithFailure(1);  // the first throw of a thread makes its exception state
        CHECK((sweep() & certain) == certain);

        // Wine's documents keep some blocks for each declaration of XML: a call that fails may
        // leave no more than calls that succeed.
        const long before = heapBlocks();
        callWithFailure(0);
        callWithFailure(0);
        const long leftWithout = heapBlocks() - before;
        const long allowed = leftWithout > 0 ? leftWithout * (failures + 1) : 0;
        CHECK(blocksLeft(sweep, allowed) <= allowed);
    }
}

}  // namespace testsupport
