#!/usr/bin/env bash
# Makes the ZIP package of one preset, unpacks it into build/PRESET/package, builds tests/consumer against
# that folder alone and runs it under Wine.
#
#   check-consumer.sh PRESET
set -euo pipefail
cd "$(dirname "$0")/.."

build=$PWD/build/$1
package=$build/package
consumer=$build/consumer
rm -rf "$package" "$consumer" "$build"/I18nResource-*.zip
cmake --build "$build" --target package >"$build/package.log" || { cat "$build/package.log"; exit 1; }
zip=$(echo "$build"/I18nResource-*-mingw64.zip)
mkdir "$package"
(cd "$package" && cmake -E tar xf "$zip")
mv "$package/$(basename "$zip" .zip)"/* "$package"

cmake -S tests/consumer -B "$consumer" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/mingw-gcc.cmake" -DCMAKE_PREFIX_PATH="$package" >/dev/null
cmake --build "$consumer" >"$consumer/build.log" || { cat "$consumer/build.log"; exit 1; }
cp "$package/bin/I18nResource.dll" "$consumer"
scripts/wine-session.sh run "$build" "$consumer/consumer.exe" </dev/null
echo "a client of $(basename "$zip"): ok"
