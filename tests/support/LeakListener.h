#pragma once
// A doctest listener that reports each test case that damages a heap, or that leaks memory blocks,
// kernel handles or library references. Such a test case also makes the program fail. Include this
// header only in the file that defines main():
//
//   int main(int argc, char** argv) { return testsupport::runTests(argc, argv, L"the.dll"); }
//
// After each test case, the listener checks the heaps and counts the resources. If a test case
// increases the number of resources, it runs a second time. The first run may have filled caches
// that remain until the end of the process, such as function statics and the thread state of the
// runtime library. If the second run also increases the number of resources, the listener reports a
// leak. The test cases directly before and after it run again, too. The leak may depend on the
// state that the previous case leaves, and resources that the case releases late may hide a leak of
// the next case. A leak that occurs only when a test case runs for the second time is not found. A
// test case that leaks resources on purpose calls testsupport::ignoreLeaks() at its end.
#include <doctest/doctest.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/AllocationSpy.h"
#include "tests/support/CrashTrace.h"
#include "tests/support/ProcessCounts.h"

namespace testsupport {

inline int g_leakingTests = 0;
inline bool g_ignoreLeaks = false, g_ignoreHandles = false, g_secondRun = false;

struct Executed {
    const char* name;
    bool hasGrowth;
};
inline std::vector<Executed> g_executed;  // the test cases of the current run

// Returns a doctest filter that selects the test cases that run a second time, and their number.
inline std::pair<std::string, std::size_t> suspects() {
    std::string filter;
    std::size_t count = 0;
    for (std::size_t i = 0; i < g_executed.size(); ++i) {
        if (!(g_executed[i].hasGrowth || (i > 0 && g_executed[i - 1].hasGrowth) ||
              (i + 1 < g_executed.size() && g_executed[i + 1].hasGrowth)))
            continue;
        if (count++ > 0) filter += ',';
        for (const char* c = g_executed[i].name; *c; ++c) {
            if (*c == ',' || *c == '\\') filter += '\\';
            filter += *c;
        }
    }
    return {filter, count};
}

inline void ignoreLeaks() { g_ignoreLeaks = true; }
// Call this function in a test case whose threads wait for locks. The system creates an event for a
// lock when threads first compete for it, and keeps the event until the lock is deleted. If the
// lock outlives the test case, the event would otherwise be reported as a leak.
inline void ignoreHandles() { g_ignoreHandles = true; }

struct LeakListener : doctest::IReporter {
    struct Growth {
        long blocks, libraries, handles;
        bool any() const { return blocks > 0 || libraries > 0 || handles > 0; }
    };
    AllocCount before;
    long handles = 0;
    const doctest::TestCaseData* test = nullptr;
    explicit LeakListener(const doctest::ContextOptions&) {}
    void test_case_start(const doctest::TestCaseData& t) override {
        test = &t;
        g_ignoreLeaks = g_ignoreHandles = false;
        handles = kernelHandles();
        markLeaks();
        before = allocCount();
    }
    Growth sinceStart() const {
        const AllocCount now = allocCount();
        return {now.blocks - before.blocks, now.libraries - before.libraries,
                g_ignoreHandles ? 0 : kernelHandles() - handles};
    }
    void test_case_reenter(const doctest::TestCaseData&) override {}
    void test_case_end(const doctest::CurrentTestCaseStats&) override {
        if (!heapsIntact()) report("damages a heap");
        const bool hasGrowth = !g_ignoreLeaks && sinceStart().any();
        if (g_secondRun && hasGrowth) reportLeaks();
        g_executed.push_back({test->m_name, hasGrowth});
    }
    void reportLeaks() {
        Growth growth = sinceStart();
        // A thread may not release its last handles and blocks until shortly after the handle to
        // the thread is signaled. Only resources that still exist after a second are leaks.
        for (int tries = 0; growth.any() && tries < 50; ++tries) {
            Sleep(20);
            growth = sinceStart();
        }
        if (!growth.any()) return;
        char problem[100];
        std::snprintf(problem, sizeof problem,
                      "leaks: %ld blocks, %ld library references, %ld handles", growth.blocks,
                      growth.libraries, growth.handles);
        report(problem);
        dumpLeaks();
    }
    void report(const char* problem) {
        ++g_leakingTests;
        std::fprintf(stderr, "%s(%u): test case \"%s\" %s\n", test->m_file.c_str(), test->m_line,
                     test->m_name, problem);
        std::fflush(stderr);
    }
    void report_query(const doctest::QueryData&) override {}
    void test_run_start() override {}
    void test_run_end(const doctest::TestRunStats&) override {}
    void test_case_exception(const doctest::TestCaseException&) override {}
    void subcase_start(const doctest::SubcaseSignature&) override {}
    void subcase_end() override {}
    void log_assert(const doctest::AssertData&) override {}
    void log_message(const doctest::MessageData&) override {}
    void test_case_skipped(const doctest::TestCaseData&) override {}
};
REGISTER_LISTENER("leaks", 1, LeakListener);

inline int runTests(int argc, char** argv, const wchar_t* dll) {
    installCrashTrace();
    installAllocSpy(GetModuleHandleW(dll));
    doctest::Context context(argc, argv);
    char filter[32768];
    const DWORD length =
        ::GetEnvironmentVariableA("I18NRESOURCE_TEST_CASES", filter, sizeof filter);
    const bool isFiltered = length > 0 && length < sizeof filter;
    if (isFiltered) context.addFilter("test-case", filter);
    const int rc = context.run();
    if (rc || context.shouldExit()) return rc;
    if (isFiltered && g_executed.empty()) {
        std::fprintf(stderr, "no test case matches %s\n", filter);
        return 1;
    }
    const auto [names, count] = suspects();
    if (count == 0) return g_leakingTests != 0;
    g_executed.clear();
    g_secondRun = true;
    recordStacks(true);
    std::ostringstream quiet;
    context.setCout(&quiet);
    context.clearFilters();
    context.addFilter("test-case", names.c_str());
    const int again = context.run();
    if (again || g_executed.size() < count)
        std::fprintf(stderr, "second run failed:\n%s\n", quiet.str().c_str());
    return again ? again : g_leakingTests != 0 || g_executed.size() < count;
}

}  // namespace testsupport
