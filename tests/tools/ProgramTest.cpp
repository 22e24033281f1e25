#include "tools/satellites/Program.h"

#include <windows.h>

#include <comdef.h>
#include <doctest/doctest.h>

#include <new>
#include <string>

#include "tests/support/SatelliteFolder.h"
#include "tools/satellites/Failure.h"
#include "tools/satellites/Files.h"
#include "tools/satellites/Options.h"

namespace {

using namespace satellites;
using testsupport::SatelliteFolder;

// Redirects standard error to a file until the end of the scope.
class ErrorsToFile {
public:
    explicit ErrorsToFile(const std::wstring& path)
        : m_before(::GetStdHandle(STD_ERROR_HANDLE)),
          m_file(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                               FILE_ATTRIBUTE_NORMAL, nullptr)) {
        REQUIRE(m_file != INVALID_HANDLE_VALUE);
        ::SetStdHandle(STD_ERROR_HANDLE, m_file);
    }
    ErrorsToFile(const ErrorsToFile&) = delete;
    ErrorsToFile& operator=(const ErrorsToFile&) = delete;
    ~ErrorsToFile() {
        ::SetStdHandle(STD_ERROR_HANDLE, m_before);
        ::CloseHandle(m_file);
    }

private:
    HANDLE m_before;
    HANDLE m_file;
};

struct Result {
    ExitStatus status;
    std::string errors;
};

// Calls runProgram() with a function that throws `exception`. Returns the exit status and the text
// on standard error.
template <class Exception>
Result resultOf(const Exception& exception) {
    SatelliteFolder folder;
    Result result{};
    {
        const ErrorsToFile errors(folder.file(L"errors"));
        result.status = runProgram([&]() -> ExitStatus { throw exception; });
    }
    for (const std::byte each : readFile(folder.file(L"errors"))) {
        result.errors += static_cast<char>(each);
    }
    return result;
}

TEST_CASE("runProgram reports both exceptions that mean that memory ran out") {
    const Result standard = resultOf(std::bad_alloc());
    CHECK(standard.status == kBadFile);
    CHECK(standard.errors == "i18nres-satellites: out of memory\n");

    const Result com = resultOf(_com_error(E_OUTOFMEMORY));
    CHECK(com.status == kBadFile);
    CHECK(com.errors == "i18nres-satellites: out of memory\n");
}

TEST_CASE("runProgram reports errors and wrong usage") {
    const Result failure = resultOf(Failure{L"fr.po: caf\u00E9"});
    CHECK(failure.status == kBadFile);
    CHECK(failure.errors == "i18nres-satellites: fr.po: caf\xC3\xA9\n");

    const Result usage = resultOf(UsageError{L"unknown option --x", L"check"});
    CHECK(usage.status == kWrongUsage);
    CHECK(usage.errors ==
          "i18nres-satellites: unknown option --x; see \"i18nres-satellites help check\"\n");
}

TEST_CASE("runProgram returns the exit status of the program") {
    CHECK(runProgram([] { return kFound; }) == kFound);
}

}  // namespace
