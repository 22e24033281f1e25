#define DOCTEST_CONFIG_IMPLEMENT
#include <fcntl.h>
#include <io.h>

#include <cstdio>

#include "tests/support/LeakListener.h"
#include "tests/support/RunningCase.h"

int main(int argc, char** argv) {
    // ./test reads the names of the test cases from standard output, which must not contain
    // carriage returns.
    _setmode(_fileno(stdout), _O_BINARY);
    return testsupport::runTests(argc, argv, L"I18nResource.dll");
}
