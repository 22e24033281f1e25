#!/usr/bin/env bash
# Runs clang-tidy, with the checks in .clang-tidy, and cppcheck on the library, its tools and the
# samples. Fails if either program reports anything.
#
#   lint.sh [FILE...]
#
# If FILEs are specified, only these sources are checked.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/lint
# Configure a build with clang to get its compile commands. The commands do not use precompiled
# headers, because only the compiler that creates such headers can read them.
cmake --preset mingw-clang -B "$build" -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null
sources=("$@")
[ ${#sources[@]} -gt 0 ] || mapfile -t sources < <(git ls-files '*.cpp' | grep -vE '^(tests|fuzzing|benchmarks)/')

gcc=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name=libstdc++.a)")
cross=(--target=x86_64-w64-mingw32 -femulated-tls -nostdinc++
    "-isystem$gcc/include/c++" "-isystem$gcc/include/c++/x86_64-w64-mingw32")
status=0

# grep removes the lines of standard error that contain only a number of warnings.
printf '%s\n' "${sources[@]}" | xargs -P "$(nproc)" -n 4 \
    "clang-tidy-$(scripts/clang-version.sh)" -p "$build" --quiet "${cross[@]/#/--extra-arg-before=}" 2> >(grep -v 'warnings generated' >&2) || status=1

# cppcheck has its own model of the Windows API and needs no headers. It cannot parse
# i18nstr/PercentEncoding.cpp, because the initializer of a constant in this file calls a lambda.
cppcheck --platform=win64 --library=windows --std=c++20 --language=c++ -DUNICODE -D_WIN32 -I. \
    --enable=warning,performance,portability --inline-suppr --suppress=missingIncludeSystem \
    --suppress=unknownMacro --suppress=syntaxError:i18nstr/PercentEncoding.cpp --error-exitcode=1 -q -j "$(nproc)" \
    --template='{file}:{line}: {severity}: {id}: {message}' "${sources[@]}" || status=1

echo "clang-tidy and cppcheck, ${#sources[@]} sources: $([ $status -eq 0 ] && echo clean || echo FAILED)"
exit $status
