#!/usr/bin/env bash
# Line and branch coverage of the library by its tests: builds the preset mingw-coverage (unoptimised,
# with assertions), runs the tests, prints the table and writes build/mingw-coverage/coverage/index.html. A test that fails, fails this script.
#
#   coverage.sh [GCOVR-OPTION...]       for example --fail-under-line 95
#
# Each test program runs as a whole, one after the other, unlike in ./test: two processes at once would
# write the same counters, and Windows' C runtime has no lock for that.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/mingw-coverage

trap 'scripts/wine-session.sh stop "$build" || true' EXIT
scripts/build.sh mingw-coverage -DI18NRESOURCE_TESTS=ON
scripts/wine-session.sh start "$build"
find "$build" -name '*.gcda' -delete

failed=0
for program in "$build"/bin/*_tests.exe; do
    name=$(basename "$program" .exe)
    log=$build/$name.log
    if [ "$name" = i18nres_environment_tests ]; then  # its cases want an environment each
        run=(ctest --test-dir "$build" -R "^$name:" --output-on-failure)
    else
        run=(scripts/wine-session.sh run "$build" "$program" -m)
    fi
    # A second time where it failed, as in ./test.
    if ! timeout 900 "${run[@]}" >"$log" 2>&1 </dev/null &&
        ! timeout 900 "${run[@]}" >"$log" 2>&1 </dev/null; then
        python3 scripts/symbolize.py "$build/bin" <"$log" >&2
        echo "$name: failed, see $log" >&2
        failed=1
    fi
done

rooms=(platform i18nstr i18nsys i18nres clipboard formats dll)
mkdir -p "$build/coverage"
# Left out: edges of exceptions, which every call has, and what the compiler says cannot be reached;
# the test of `delete this` for null; and of a `catch` whether the exception is of its one type, as
# nothing in these blocks throws another.
# Not looked through: the Wine prefix, whose drive z: is the whole machine with its other builds.
gcovr --root . --gcov-executable x86_64-w64-mingw32-gcov-posix "${rooms[@]/#/--filter=}" \
    --exclude-directories '.*/wine$' --exclude-throw-branches --exclude-unreachable-branches \
    --exclude-branches-by-pattern '.* delete this;$|.*} catch \(const .*' \
    --html-details "$build/coverage/index.html" --txt - --print-summary "$@" "$build"
exit $failed
