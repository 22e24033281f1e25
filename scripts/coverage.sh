#!/usr/bin/env bash
# Line and branch coverage of the library by its tests: builds the preset mingw-coverage, runs every
# test program as a whole, prints the table and writes build/mingw-coverage/coverage/index.html.
#
#   coverage.sh [GCOVR-OPTION...]       for example --fail-under-line 95
#
# Whole programs one after the other, unlike ./test: two processes at once would write the same
# counters, and Windows' C runtime has no lock for that. A test that fails only because others ran
# before it in its process is ./test's affair, so failures are counted here and not fatal.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/mingw-coverage

trap 'scripts/wine-session.sh stop "$build" || true' EXIT
scripts/build.sh mingw-coverage -DI18NRESOURCE_TESTS=ON
scripts/wine-session.sh start "$build"
find "$build" -name '*.gcda' -delete

for program in "$build"/bin/*_tests.exe; do
    name=$(basename "$program" .exe)
    timeout 900 scripts/wine-session.sh run "$build" "$program" -m \
        >"$build/$name.log" 2>&1 </dev/null || echo "$name: failures, see $build/$name.log"
done

rooms=(platform i18nstr i18nsys i18nres clipboard formats dll)
mkdir -p "$build/coverage"
# Left out: edges of exceptions, which every call has, and what the compiler says cannot be reached.
gcovr --root . --gcov-executable x86_64-w64-mingw32-gcov-posix "${rooms[@]/#/--filter=}" \
    --exclude-throw-branches --exclude-unreachable-branches \
    --html-details "$build/coverage/index.html" --txt - --print-summary "$@" "$build"
