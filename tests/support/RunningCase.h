#pragma once
// A doctest listener that stores the name of the running test case, so that a crash report contains
// it. If a test case exceeds the time limit, the program prints the name and ends.
#include <doctest/doctest.h>
#include <windows.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "tests/support/CrashTrace.h"

namespace testsupport {

/// Ends the program if a test case exceeds the time limit. A separate thread waits for the start of
/// the next test case, and ends the program if the wait times out.
class CaseTimeLimit {
public:
    static void caseStarts(const char* name) {
        s_case = name;
        if (s_started) {
            ::SetEvent(s_started);
            return;
        }
        s_started = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
        ::CloseHandle(::CreateThread(nullptr, 0, &CaseTimeLimit::watch, nullptr, 0, nullptr));
    }

private:
    /// Returns the time limit in seconds. The limit is the value of the I18NRESOURCE_CASE_SECONDS
    /// environment variable, or 300 if the variable is not set. A test case usually takes at most a
    /// few seconds, but it can take much longer on a busy machine.
    static DWORD seconds() {
        char value[16] = "";
        ::GetEnvironmentVariableA("I18NRESOURCE_CASE_SECONDS", value, sizeof value);
        const int given = std::atoi(value);
        return given > 0 ? static_cast<DWORD>(given) : 300;
    }

    static DWORD WINAPI watch(void*) {
        const DWORD limit = seconds();
        while (::WaitForSingleObject(s_started, limit * 1000) == WAIT_OBJECT_0) {
        }
        std::fprintf(stderr, "test case \"%s\" takes longer than %lu s\n", s_case.load(), limit);
        std::fflush(stderr);
        ::TerminateProcess(::GetCurrentProcess(), 1);
        return 0;
    }

    static inline std::atomic<const char*> s_case = nullptr;
    static inline HANDLE s_started = nullptr;
};

struct RunningCaseListener : doctest::IReporter {
    explicit RunningCaseListener(const doctest::ContextOptions&) {}
    void test_case_start(const doctest::TestCaseData& test) override {
        setCrashedCase(test.m_name);
        CaseTimeLimit::caseStarts(test.m_name);
    }
    void report_query(const doctest::QueryData&) override {}
    void test_run_start() override {}
    void test_run_end(const doctest::TestRunStats&) override {}
    void test_case_reenter(const doctest::TestCaseData&) override {}
    void test_case_end(const doctest::CurrentTestCaseStats&) override {}
    void test_case_exception(const doctest::TestCaseException&) override {}
    void subcase_start(const doctest::SubcaseSignature&) override {}
    void subcase_end() override {}
    void log_assert(const doctest::AssertData&) override {}
    void log_message(const doctest::MessageData&) override {}
    void test_case_skipped(const doctest::TestCaseData&) override {}
};
REGISTER_LISTENER("running case", 0, RunningCaseListener);

}  // namespace testsupport
