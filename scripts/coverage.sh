#!/usr/bin/env bash
# Measures which lines and branches of the library are executed by the test programs. Builds the
# mingw-coverage preset (unoptimized, with assertions), runs the test programs, prints a table and
# writes build/mingw-coverage/coverage/index.html. Fails if a test fails.
#
#   coverage.sh [GCOVR-OPTION...]
#
# Example: coverage.sh --fail-under-line 95
#
# The test programs run one after another, unlike in ./test. Otherwise, two processes would update
# the same counter files at the same time, and the C runtime on Windows does not lock these files.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/command.sh
. scripts/command.sh
build=build/mingw-coverage

run_tests() {
    ctest --test-dir "$build" -R '_tests$' --output-on-failure --no-tests=error |
        python3 scripts/symbolize.py "$build/bin" | with_clock
}

begin scripts/coverage.sh "$build"
run_job scripts/build.sh mingw-coverage -DI18NRESOURCE_TESTS=ON
run_job scripts/wine-session.sh start "$build"
find "$build" -name '*.gcda' -delete
failed=0
run_job run_tests || failed=1

rooms=(platform i18nstr i18nsys i18nres clipboard formats dll)
mkdir -p "$build/coverage"
# The following branches are not counted: the exception branch of each call, unreachable code, the
# null check of `delete this`, and the type check of a `catch`. The type check is not counted,
# because the code in the library's `try` blocks throws no exceptions of other types. The Wine
# prefix is not searched, because its drive z: contains the whole file system and therefore also
# other builds.
gcovr --root . --gcov-executable x86_64-w64-mingw32-gcov-posix "${rooms[@]/#/--filter=}" \
    --exclude-directories '.*/wine$' --exclude-throw-branches --exclude-unreachable-branches \
    --exclude-branches-by-pattern '.* delete this;$|.*} catch \(const .*' \
    --html-details "$build/coverage/index.html" --txt - --print-summary "$@" "$build"
exit $failed
