#!/usr/bin/env bash
# Installs the build of one preset into a folder of its own, builds tests/consumer against that package
# alone and runs it under Wine.
#
#   check-consumer.sh PRESET
set -euo pipefail
cd "$(dirname "$0")/.."

build=$PWD/build/$1
package=$build/package
consumer=$build/consumer
rm -rf "$package" "$consumer"
cmake --install "$build" --prefix "$package" >/dev/null
cmake -S tests/consumer -B "$consumer" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/mingw-gcc.cmake" -DCMAKE_PREFIX_PATH="$package" >/dev/null
cmake --build "$consumer" >"$consumer/build.log" || { cat "$consumer/build.log"; exit 1; }
cp "$package/bin/I18nResource.dll" "$consumer"
scripts/wine-session.sh run "$build" "$consumer/consumer.exe"
