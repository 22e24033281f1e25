#!/usr/bin/env bash
# Installs SheetJS in build/peers, for tests that exchange workbooks with it. The version is
# specified in tests/samples/sheetjs/package-lock.json. Requires Node.js and npm.
set -euo pipefail
cd "$(dirname "$0")/.."

lock=tests/samples/sheetjs/package-lock.json
if cmp -s $lock build/peers/package-lock.json && [ -d build/peers/node_modules/xlsx ]; then exit 0; fi

echo "installing: SheetJS"
mkdir -p build/peers
cp tests/samples/sheetjs/package.json build/peers/
cp $lock build/peers/package-lock.json
cd build/peers
if ! npm ci --silent --ignore-scripts --no-audit --no-fund >npm.log 2>&1; then
    rm -f package-lock.json # so that the next run tries again
    tail -n 20 npm.log >&2
    echo "SheetJS could not be installed." >&2
    exit 1
fi
