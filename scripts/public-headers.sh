#!/usr/bin/env bash
# Prints the folder of the installed public headers. If FOLDER is specified, prints its absolute
# path. Otherwise, builds the library, installs it in build/mingw-release/installed, and prints the
# include folder there.
#
#   public-headers.sh [FOLDER]
set -euo pipefail
if [ -n "${1:-}" ]; then exec readlink -f "$1"; fi
cd "$(dirname "$0")/.."
build=build/mingw-release
scripts/install-packages.sh build >&2
mkdir -p $build
if ! { cmake --preset mingw-release && cmake --build $build --target I18nResource i18nres-satellites &&
    cmake --install $build --prefix $build/installed; } >$build/installed.log 2>&1 </dev/null; then
    tail -n 30 $build/installed.log >&2
    exit 1
fi
echo "$PWD/$build/installed/include/I18nResource"
