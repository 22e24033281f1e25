#!/usr/bin/env bash
# Configures and builds one preset. Its output goes to build/PRESET/build.log; when it fails, the errors
# and the end of the log are printed.
#
#   build.sh PRESET [CMAKE-ARGUMENT...]      for example build.sh mingw-release -DI18NRESOURCE_TESTS=ON
#
# The variable BUILD_TARGET names one target to build instead of all.
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
