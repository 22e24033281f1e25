#!/usr/bin/env bash
# Makes the API reference build/reference/html/index.html from the public headers and the pages in
# docs/. A public name without a comment, or a comment that names something that does not exist, fails.
#
#   reference.sh [INCLUDE-FOLDER]      of an installed package; without it, the library is built first
set -euo pipefail
cd "$(dirname "$0")/.."
command -v doxygen >/dev/null || scripts/install-packages.sh check
include=$(scripts/public-headers.sh "${1:-}")

rm -rf build/reference
mkdir -p build/reference
{
    cat docs/Doxyfile
    echo "INPUT = README.md docs \"$include\""
    # Names of pages do not contain the folder of the checkout.
    echo "STRIP_FROM_PATH = \"$include\" \"$PWD\""
    echo "STRIP_FROM_INC_PATH = \"$include\""
    echo "INCLUDE_PATH = \"$include\""
    echo "IMAGE_PATH = docs/images"
    echo "RECURSIVE = YES"
    echo "OUTPUT_DIRECTORY = build/reference"
} | doxygen -
echo "the reference: build/reference/html/index.html"
