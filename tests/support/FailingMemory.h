#pragma once
// Makes each allocation in a call fail once, and checks that the call reports the failure as
// described in docs/failures.md.
//
// Only allocations by I18nResource.dll fail. Calls from the DLL to some system functions count as
// allocations (see SystemCallsFail). Allocations that the system makes for its own use do not fail.
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

// The possible outcomes of a call in which an allocation failed.
enum Outcome : unsigned {
    kSucceeds = 1,         // the call does not need the memory and succeeds
    kThrowsBadAlloc = 2,   // std::bad_alloc
    kThrowsComError = 4,   // _com_error with E_OUTOFMEMORY
    kReturnsNoMemory = 8,  // the result E_OUTOFMEMORY
    kReturnsFailure = 16,  // another result that reports a failure: E_FAIL, false, 0 or null
};

// Makes `outcome` optional in FailingCall::outcomes. Use this function for an outcome that occurs
// only on some platforms.
constexpr unsigned optionalOutcome(unsigned outcome) { return outcome << 8; }

struct FailingCall {
    const char* name;
    // The expected outcomes of this call when an allocation fails. Each outcome must occur at least
    // once, unless it is optional (see optionalOutcome()).
    unsigned outcomes;
    // Makes the call and frees its results.
    // @return S_OK if the call returned all results; otherwise an error code.
    std::function<HRESULT()> call;
    // `prepare` is called before each call, and `examine` after each call with a failed allocation.
    // No allocation fails during `prepare` or `examine`.
    std::function<void()> prepare = nullptr;
    std::function<void(unsigned outcome)> examine = nullptr;
};

inline HRESULT failureUnless(bool succeeded) { return succeeded ? S_OK : E_FAIL; }

// Returns the result of `call`, E_OUTOFMEMORY if `call` throws std::bad_alloc, or the error code of
// a _com_error that `call` throws.
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

inline unsigned outcomeOf(const FailingCall& failingCall) {
    try {
        switch (failingCall.call()) {
            case S_OK:
                return kSucceeds;
            case E_OUTOFMEMORY:
                return kReturnsNoMemory;
            default:
                return kReturnsFailure;
        }
    } catch (const std::bad_alloc&) {
        return kThrowsBadAlloc;
    } catch (const _com_error& error) {
        CHECK(error.Error() == E_OUTOFMEMORY);
        return kThrowsComError;
    }
}

// Returns the number of heap blocks that a run of `body` allocates and does not free. If the result
// exceeds `allowedBlocks`, the function repeats the count for up to a second. A thread may not free
// its last blocks until shortly after the handle to the thread is signaled.
template <class Body>
long blocksLeftByOneRun(Body&& body, long allowedBlocks) {
    const long before = heapBlocks();
    body();
    long left = heapBlocks() - before;
    for (int tries = 0; left > allowedBlocks && tries < 50; ++tries) {
        Sleep(20);
        left = heapBlocks() - before;
    }
    return left;
}

// Makes each call repeatedly. In the n-th attempt, the n-th allocation fails. The attempts end with
// the first attempt in which no allocation fails. After each failure, calls `useLocks`, if it is
// not null, on another thread. `useLocks` must return, because the failed call must have released
// all locks. Then makes the call without a failure, and this call must succeed. The calls must not
// leak blocks.
inline void everyAllocationFails(std::initializer_list<FailingCall> failingCalls,
                                 const std::function<void()>& useLocks = nullptr) {
    for (const FailingCall& failingCall : failingCalls) {
        INFO(std::string(failingCall.name));
        const unsigned requiredOutcomes = failingCall.outcomes & 0xFF;
        const unsigned allowedOutcomes = requiredOutcomes | failingCall.outcomes >> 8;
        const auto callWithFailure = [&failingCall](long n) {
            if (failingCall.prepare) failingCall.prepare();
            failNth(n);
            const unsigned outcome = outcomeOf(failingCall);
            const bool failed = failureFired();
            failNth(0);
            return std::pair(failed, outcome);
        };
        long failures = 0;
        const auto sweep = [&] {
            unsigned seenOutcomes = 0;
            for (long n = 1;; ++n) {
                failures = n - 1;
                const auto result = callWithFailure(n);
                const bool failed = result.first;
                const unsigned outcome = result.second;
                CAPTURE(n);
                CAPTURE(outcome);
                if (!failed) {
                    CHECK(outcome == kSucceeds);
                    return seenOutcomes;
                }
                CHECK((outcome & allowedOutcomes) == outcome);
                seenOutcomes |= outcome;
                if (failingCall.examine) failingCall.examine(outcome);
                if (useLocks) CHECK(otherThreadFinishes(useLocks));
                CHECK(callWithFailure(0).second == kSucceeds);
            }
        };
        const SystemCallsFail systemCallsFail;
        callWithFailure(0);  // fills caches that remain until the end of the process
        callWithFailure(1);  // a thread's first throw allocates the thread's exception state
        CHECK((sweep() & requiredOutcomes) == requiredOutcomes);

        // Wine's MSXML documents do not free some of the blocks that they allocate for an XML
        // declaration. Calls with failed allocations must not leak more blocks than the same number
        // of successful calls.
        const auto leftBySuccesses = [&](long calls) {
            const long before = heapBlocks();
            for (long call = 0; call < calls; ++call) callWithFailure(0);
            return heapBlocks() - before;
        };
        const long allowedBlocks = leftBySuccesses(2) > 0 ? leftBySuccesses(2 * (failures + 1)) : 0;
        const auto leftBySweep = [&] { return blocksLeftByOneRun(sweep, allowedBlocks); };
        CHECK(blocksLeftByEachRun(leftBySweep, allowedBlocks) <= allowedBlocks);
    }
}

}  // namespace testsupport
