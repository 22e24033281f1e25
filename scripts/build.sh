#!/usr/bin/env bash
# Configures and builds one preset quietly; shows the compiler's words only when it fails.
#
#   build.sh PRESET [CMAKE-ARGUMENT...]      for example build.sh mingw-release -DI18NRESOURCE_TESTS=ON
set -euo pipefail
cd "$(dirname "$0")/.."

preset=$1
shift
log=build/$preset/build.log
mkdir -p "build/$preset"
if ! { cmake --preset "$preset" "$@" && cmake --build "build/$preset"; } >"$log" 2>&1 </dev/null; then
    grep -nE 'FAILED|error|Error' "$log" | head -n 20 >&2 || true
    tail -n 30 "$log" >&2
    echo "The build of $preset failed; the whole log: $log" >&2
    exit 1
fi
