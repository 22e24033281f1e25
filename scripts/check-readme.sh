#!/usr/bin/env bash
# Compiles and links the programs in README.md with the installed package.
#
#   check-readme.sh PACKAGE-FOLDER
set -euo pipefail
package=$(readlink -f "$1")
cd "$(dirname "$0")/.."

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
awk -v folder="$work" '
    /^```cpp$/ { inside = 1; ++n; next }
    /^```$/    { inside = 0 }
    inside     { print > (folder "/program" n ".cpp") }' README.md
count=0
for program in "$work"/program*.cpp; do
    x86_64-w64-mingw32-g++-posix -std=c++17 -Wall -Wextra -Werror -static -I "$package/include/I18nResource" \
        "$program" "$package/lib/libI18nResource.dll.a" -lole32 -loleaut32 -luuid -o "${program%.cpp}.exe"
    count=$((count + 1))
done
echo "README.md: $count programs compile and link"
