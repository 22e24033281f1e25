#!/usr/bin/env bash
# Compiles each public header as C++17, with GCC and with clang, and treats warnings as errors. For
# each header, compiles a source file that contains only two includes of this header. The file is
# compiled once without macros and once with macros that clients commonly define.
#
#   check-headers.sh [INCLUDE-FOLDER]
#
# INCLUDE-FOLDER is the include folder of an installed package. If it is omitted, the library is
# built and installed first.
set -euo pipefail
include=$("$(dirname "$0")/public-headers.sh" "${1:-}")
version=$("$(dirname "$0")/clang-version.sh")
# The compilers search the current folder first. Change to the include folder of the package, so
# that they find only the headers of the package.
cd "$include"

gcc_lib=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name=libstdc++.a)")
warnings=(-std=c++17 -fsyntax-only -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wdelete-non-virtual-dtor -Werror)
# shellcheck disable=SC2034  # accessed through the name reference `command`
gcc=(x86_64-w64-mingw32-g++-posix)
# shellcheck disable=SC2034
clang=("${CLANG:-clang++-$version}" --target=x86_64-w64-mingw32 -femulated-tls -nostdinc++
    -isystem "$gcc_lib/include/c++" -isystem "$gcc_lib/include/c++/x86_64-w64-mingw32")

status=0
count=0
while read -r header; do
    name=${header#"$include"/}
    source=$(printf '#include "%s"\n#include "%s"\n' "$name" "$name")
    for definitions in "" "-DUNICODE -DNOMINMAX -DWIN32_LEAN_AND_MEAN"; do
        for compiler in gcc clang; do
            declare -n command=$compiler
            # shellcheck disable=SC2086  # $definitions must be split into arguments
            if ! "${command[@]}" "${warnings[@]}" $definitions -I "$include" -x c++ - <<<"$source"; then
                echo "$name does not compile alone with $compiler $definitions" >&2
                status=1
            fi
        done
    done
    count=$((count + 1))
done < <(find "$include" -name '*.h' | sort)
[ $count -gt 0 ] || { echo "no headers below $include" >&2; exit 1; }
echo "$count public headers, each alone: $([ $status -eq 0 ] && echo ok || echo FAILED)"
exit $status
