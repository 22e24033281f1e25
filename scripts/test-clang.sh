#!/usr/bin/env bash
# Builds the library and the samples with clang and lld and runs the tests against that library. The
# test programs are those that GCC built for ./test, so this also shows that both compilers' binaries
# understand each other.
set -euo pipefail
cd "$(dirname "$0")/.."
tests=build/mingw-release/bin build=build/mingw-clang

trap 'scripts/wine-session.sh stop "$build" || true' EXIT
scripts/build.sh mingw-clang -DI18NRESOURCE_TESTS=OFF
scripts/wine-session.sh start "$build"

failed=0
count=0
for program in "$tests"/*_tests.exe; do
    name=$(basename "$program" .exe)
    # The first has an environment for each case; the second drives the desktop sample of its build.
    case $name in i18nres_environment_tests | workstation_tests) continue ;; esac
    x86_64-w64-mingw32-objdump -p "$program" | grep -q 'DLL Name: I18nResource.dll' || continue
    cp "$program" "$build/bin/"
    if ! timeout 600 scripts/wine-session.sh run "$build" "$build/bin/$name.exe" -m \
        >"$build/$name.log" 2>&1 </dev/null; then
        cat "$build/$name.log" >&2
        echo "$name: failed with the library that clang built" >&2
        failed=1
    fi
    count=$((count + 1))
done
echo "$count test programs with the library that clang built: $([ $failed -eq 0 ] && echo passed || echo FAILED)"
exit $failed
