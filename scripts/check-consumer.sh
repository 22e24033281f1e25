#!/usr/bin/env bash
# Creates the ZIP package for one preset and unpacks it to build/PRESET/package. Builds
# tests/consumer with only this package, once with CMake and once with a single compiler command,
# and runs both programs under Wine. Installs the program that was built with CMake, together with
# its satellites.
#
#   check-consumer.sh PRESET
set -euo pipefail
cd "$(dirname "$0")/.."
[ $# -eq 1 ] || { echo "usage: check-consumer.sh PRESET" >&2; exit 64; }

build=$PWD/build/$1
package=$build/package
consumer=$build/consumer
rm -rf "$package" "$consumer" "$build"/I18nResource-*.zip
mkdir -p "$package" "$consumer/by_hand"
cmake --build "$build" --target package >"$build/package.log" || { cat "$build/package.log"; exit 1; }
zip=$(echo "$build"/I18nResource-*-mingw64.zip)
(cd "$package" && cmake -E tar xf "$zip")
mv "$package/$(basename "$zip" .zip)"/* "$package"
rmdir "$package/$(basename "$zip" .zip)"

cmake -S tests/consumer -B "$consumer" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="$package/lib/cmake/I18nResource/mingw-gcc.cmake" \
    -DCMAKE_PREFIX_PATH="$package" \
    -DCMAKE_CROSSCOMPILING_EMULATOR="$PWD/scripts/wine-session.sh;run;$build" >/dev/null
cmake --build "$consumer" >"$consumer/build.log" || { cat "$consumer/build.log"; exit 1; }
scripts/wine-session.sh run "$build" "$consumer/consumer.exe" </dev/null
cmake --build "$consumer" --target consumer_check_satellites
ctest --test-dir "$consumer" --no-tests=error --output-on-failure
cmake --install "$consumer" --prefix "$consumer/installed" >/dev/null
[ -s "$consumer/installed/bin/consumer_fr.dll" ]
scripts/wine-session.sh run "$build" "$package/bin/i18nres-satellites.exe" resolve \
    "$consumer/installed/bin/consumer.exe" --culture de --id 1 </dev/null | grep 'answers "Öffnen"'
x86_64-w64-mingw32-g++-posix -std=c++17 -static -I "$package/include/I18nResource" tests/consumer/main.cpp \
    -L "$package/lib" -l:libI18nResource.dll.a -lole32 -loleaut32 -luuid -o "$consumer/by_hand/consumer.exe"
cp "$package/bin/I18nResource.dll" "$consumer/consumer_fr.dll" "$consumer/by_hand"
scripts/wine-session.sh run "$build" "$consumer/by_hand/consumer.exe" </dev/null

# Compiling a client as C++14 must produce a single error, which states that C++17 is needed.
errors=$(x86_64-w64-mingw32-g++-posix -std=c++14 -fsyntax-only -I "$package/include/I18nResource" \
    tests/consumer/TooOld.cpp 2>&1 | grep 'error:') || true
if [ "$(wc -l <<<"$errors")" -ne 1 ] || ! grep -qF 'needs C++17' <<<"$errors"; then
    echo "a client in C++14 gets other errors than expected: $errors" >&2
    exit 1
fi
echo "a client of $(basename "$zip"): ok"
