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
// leak. A test case that leaks resources on purpose calls testsupport::ignoreLeaks() at its end.
#include <doctest/doctest.h>

#include <cstdio>
#include <sstream>
#include <string>

#include "tests/support/AllocationSpy.h"
#include "tests/support/CrashTrace.h"
#include "tests/support/ProcessCounts.h"

namespace testsupport {

inline int g_leakingTests = 0;
inline bool g_ignoreLeaks = false, g_ignoreHandles = false, g_secondRun = false;
// A doctest filter that selects the test cases that run a second time.
inline std::string g_suspects;
inline void addSuspect(const char* name) {
    if (!g_suspects.empty()) g_suspects += ',';
    for (; *name; ++name) {
        if (*name == ',') g_suspects += '\\';  // the comma is part of the name
        g_suspects += *name;
    }
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
        if (g_ignoreLeaks || !sinceStart().any()) return;
        if (g_secondRun)
            reportLeaks();
        else
            addSuspect(test->m_name);
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
    if (length > 0 && length < sizeof filter) context.addFilter("test-case", filter);
    const int rc = context.run();
    if (rc || context.shouldExit()) return rc;
    if (g_suspects.empty()) return g_leakingTests != 0;
    g_secondRun = true;
    recordStacks(true);
    std::ostringstream quiet;
    context.setCout(&quiet);
    context.clearFilters();
    context.addFilter("test-case", g_suspects.c_str());
    const int again = context.run();
    if (again) std::fprintf(stderr, "second run failed:\n%s\n", quiet.str().c_str());
    return again ? again : g_leakingTests != 0;
}

}  // namespace testsupport
