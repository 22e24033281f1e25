#!/usr/bin/env bash
# Line and branch coverage of the library by its test programs: builds the preset mingw-coverage
# (unoptimised, with assertions), runs the programs, prints a table and writes
# build/mingw-coverage/coverage/index.html. Fails when a test fails.
#
#   coverage.sh [GCOVR-OPTION...]       for example --fail-under-line 95
#
# The programs run one after the other, unlike in ./test: two processes at once would write the same
# counters, and Windows' C runtime has no lock for that.
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
# Not counted: the branches of exceptions, which every call has; code that the compiler reports as
# unreachable; the check of `delete this` for null; and the check of a `catch` for its one type, because
# nothing in these blocks throws another one.
# Not searched: the Wine prefix, whose drive z: is the whole machine with its other builds.
gcovr --root . --gcov-executable x86_64-w64-mingw32-gcov-posix "${rooms[@]/#/--filter=}" \
    --exclude-directories '.*/wine$' --exclude-throw-branches --exclude-unreachable-branches \
    --exclude-branches-by-pattern '.* delete this;$|.*} catch \(const .*' \
    --html-details "$build/coverage/index.html" --txt - --print-summary "$@" "$build"
exit $failed
