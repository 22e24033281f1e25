#!/usr/bin/env bash
# Generates the API reference build/reference/html/index.html from the public headers and the pages
# in docs/. Fails if a public name has no comment, or if a comment refers to something that does not
# exist.
#
#   reference.sh [INCLUDE-FOLDER]
#
# INCLUDE-FOLDER is the include folder of an installed package. If it is omitted, the library is
# built and installed first.
set -euo pipefail
cd "$(dirname "$0")/.."
usage() { echo "usage: scripts/reference.sh [INCLUDE-FOLDER]    generates HTML pages of the API reference"; }
case "${1:-}" in
-h | --help) usage; exit ;;
-*) echo "unknown option $1" >&2; usage >&2; exit 64 ;;
esac
scripts/install-packages.sh docs >&2
include=$(scripts/public-headers.sh "${1:-}")

rm -rf build/reference
mkdir -p build/reference
{
    cat docs/Doxyfile
    echo "INPUT = README.md docs \"$include\""
    # File names in the reference must not include the path of the checkout.
    echo "STRIP_FROM_PATH = \"$include\" \"$PWD\""
    echo "STRIP_FROM_INC_PATH = \"$include\""
    echo "INCLUDE_PATH = \"$include\""
    echo "IMAGE_PATH = docs/images"
    echo "RECURSIVE = YES"
    echo "OUTPUT_DIRECTORY = build/reference"
} | doxygen -
echo "the reference: build/reference/html/index.html"
