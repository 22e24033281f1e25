#!/usr/bin/env bash
# Configures and builds one preset. The output is written to build/PRESET/build.log. If the build
# fails, prints the errors and the end of the log.
#
#   build.sh PRESET [CMAKE-ARGUMENT...]
#
# Example: build.sh mingw-release -DI18NRESOURCE_TESTS=ON
#
# If the BUILD_TARGET environment variable is set, only the target that it specifies is built.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/progress.sh
. scripts/progress.sh

preset=${1:?usage: build.sh PRESET [CMAKE-ARGUMENT...]}
shift
log=build/$preset/build.log
configure_and_build() {
    cmake --preset "$preset" "$@" &&
        cmake --build "build/$preset" ${BUILD_TARGET:+--target "$BUILD_TARGET"}
}

mkdir -p "build/$preset"
phase "building $preset, log: $log"
if ! logged "$log" configure_and_build "$@"; then
    grep -nE 'FAILED|error|Error' "$log" | head -n 20 >&2 || true
    tail -n 30 "$log" >&2
    echo "The build of $preset failed; the whole log: $log" >&2
    exit 1
fi
