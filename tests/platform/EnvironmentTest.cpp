#include "platform/Environment.h"

#include <doctest/doctest.h>
#include <windows.h>

#include <algorithm>
#include <string>

#include "tests/support/PrintedWide.h"

namespace {

constexpr wchar_t kName[] = L"I18NRESOURCE_ENVIRONMENT_TEST";

/// Deletes a variable at the beginning and at the end of the scope.
struct Variable {
    Variable() { clear(); }
    ~Variable() { clear(); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

    void set(const std::wstring& value) { ::SetEnvironmentVariableW(kName, value.c_str()); }
    void setWithRuntimeLibrary(const std::wstring& value) {
        ::_wputenv((kName + (L"=" + value)).c_str());
    }
    void clear() {
        setWithRuntimeLibrary(L"");  // an empty value deletes the variable in the C runtime library
        ::SetEnvironmentVariableW(kName, nullptr);
    }
};

/// Reads the variable with a buffer of `size` characters and returns the contents of the buffer. A
/// NUL is shown as ".", and a character that was not written is shown as "#".
std::wstring read(std::size_t size, bool expected) {
    wchar_t value[32];
    std::fill_n(value, 32, L'#');
    CHECK(platform::readEnvironmentVariable(kName, value, size) == expected);
    std::wstring text(value, 32);
    std::replace(text.begin(), text.end(), L'\0', L'.');
    text.erase(text.find_last_not_of(L'#') + 1);
    return text;
}

}  // namespace

TEST_CASE_FIXTURE(Variable,
                  "A variable is defined once it is set and no longer when it is deleted") {
    CHECK_FALSE(platform::isEnvironmentVariableDefined(kName));
    set(L"1");
    CHECK(platform::isEnvironmentVariableDefined(kName));
    clear();
    CHECK_FALSE(platform::isEnvironmentVariableDefined(kName));
}

TEST_CASE_FIXTURE(Variable, "A variable is defined with any value") {
    for (const wchar_t* value : {L"0", L"FALSE", L" ", L""}) {
        set(value);
        CHECK(platform::isEnvironmentVariableDefined(kName));
    }
    set(std::wstring(32000, L'x'));
    CHECK(platform::isEnvironmentVariableDefined(kName));
}

TEST_CASE_FIXTURE(Variable, "A variable that the runtime library sets is defined too") {
    setWithRuntimeLibrary(L"1");
    CHECK(platform::isEnvironmentVariableDefined(kName));
    setWithRuntimeLibrary(L"");
    CHECK_FALSE(platform::isEnvironmentVariableDefined(kName));
}

TEST_CASE_FIXTURE(Variable, "The current value of a variable is read") {
    set(L"TRUE");
    CHECK(read(16, true) == L"TRUE.");
    setWithRuntimeLibrary(L"FALSE");
    CHECK(read(16, true) == L"FALSE.");
    set(L"true");
    CHECK(read(16, true) == L"true.");
}

TEST_CASE_FIXTURE(Variable,
                  "An undefined variable and one without a value are read as the empty text") {
    CHECK(read(16, true) == L".");
    CHECK(read(1, true) == L".");
    set(L"");
    CHECK(read(16, true) == L".");
    CHECK(read(1, true) == L".");
}

TEST_CASE_FIXTURE(Variable,
                  "A value that fits with its terminator is read and a longer one fails") {
    set(std::wstring(15, L'x'));
    CHECK(read(16, true) == std::wstring(15, L'x') + L".");

    set(std::wstring(16, L'x'));
    CHECK(read(16, false).front() == L'.');
    set(std::wstring(17, L'x'));
    CHECK(read(16, false).front() == L'.');
    set(std::wstring(32000, L'x'));
    CHECK(read(16, false).front() == L'.');
    CHECK(read(1, false) == L".");
}

TEST_CASE_FIXTURE(Variable, "A value longer than the buffer is not written past the buffer") {
    set(std::wstring(32000, L'x'));
    wchar_t value[18];
    std::fill_n(value, 18, L'#');
    platform::readEnvironmentVariable(kName, value, 16);

    CHECK(std::wstring(value + 16, 2) == L"##");
}

TEST_CASE_FIXTURE(Variable, "A value is not read into a buffer without room") {
    set(L"x");
    CHECK(read(0, false) == L"");
    CHECK_FALSE(platform::readEnvironmentVariable(kName, nullptr, 0));
    CHECK_FALSE(platform::readEnvironmentVariable(kName, nullptr, 16));
}
