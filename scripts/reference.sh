#!/usr/bin/env bash
# Makes the API reference build/reference/html/index.html from the public headers and the pages in
# docs/. A public name without a comment, or a comment that names what is not there, fails.
#
#   reference.sh INCLUDE-FOLDER        of an installed package
set -euo pipefail
include=$(readlink -f "${1:?usage: reference.sh INCLUDE-FOLDER}")
cd "$(dirname "$0")/.."

mkdir -p build/reference
{
    cat docs/Doxyfile
    echo "INPUT = README.md docs \"$include\""
    echo "STRIP_FROM_PATH = \"$include\""
    echo "STRIP_FROM_INC_PATH = \"$include\""
    echo "INCLUDE_PATH = \"$include\""
    echo "RECURSIVE = YES"
    echo "OUTPUT_DIRECTORY = build/reference"
} | doxygen -
echo "the reference: build/reference/html/index.html"
