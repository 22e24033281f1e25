#!/usr/bin/env bash
# Tests the CMake functions that build satellites. The tests call these functions in a small
# separate project.
#
#   satellites.sh CASE CMAKE-MODULE TOOLCHAIN-FILE WORK-FOLDER
set -euo pipefail
case=$1 module=$2 toolchain=$3 work=$4
rm -rf "$work"
mkdir -p "$work/include"
cd "$work"

cat >CMakeLists.txt <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(Shop LANGUAGES CXX RC)
include("$module")
add_library(shop MODULE shop.cpp shop.rc)
target_include_directories(shop PRIVATE include)
i18nresource_add_satellite(shop CULTURE fr RC shop_fr.rc)
i18nresource_add_satellite(shop CULTURE de RC shop_de.rc)
install(TARGETS shop_fr LIBRARY DESTINATION bin)
CMAKE
echo 'extern "C" int shop() { return 0; }' >shop.cpp
echo '#define ID_PRICE 7' >include/ids.h
printf '#include "ids.h"\nSTRINGTABLE\nBEGIN\n    ID_PRICE "caf\xc3\xa9"\nEND\n' >shop.rc
printf '#include "ids.h"\nSTRINGTABLE\nBEGIN\n    ID_PRICE "prix \xe2\x82\xac"\nEND\n1 HTML "page.html"\n' >shop_fr.rc
printf 'STRINGTABLE\nBEGIN\n    7 "Preis"\nEND\n' >shop_de.rc
echo '<p>un</p>' >page.html

configure() { cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_TOOLCHAIN_FILE="$toolchain"; }
build() { cmake --build build --target shop_fr shop_de; }
# holds FILE TEXT: succeeds if the file contains TEXT in UTF-16. TEXT may contain \uXXXX escapes.
holds() { python3 -c 'import sys; sys.exit(sys.argv[2].encode().decode("unicode_escape").encode("utf-16-le") not in open(sys.argv[1], "rb").read())' "$@"; }
find_built() { find build -name "$1" -print -quit; }
# refused TEXT: checks that the configuration fails with a message that contains TEXT.
refused() {
    if configure >configure.log 2>&1; then echo "configured without a message"; exit 1; fi
    tr -s ' \n' ' ' <configure.log | grep -F "$1"
}

case $case in
strings)
    configure && build
    holds "$(find_built '*shop_fr.dll')" 'prix \u20ac'
    holds "$(find_built '*shop.dll')" 'caf\u00e9'
    ;;
po)
    cat >CMakeLists.txt <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(Shop LANGUAGES CXX RC)
set(CMAKE_CROSSCOMPILING_EMULATOR none)  # this test does not build the satellite
include("$module")
add_executable(I18nResource::i18nres-satellites IMPORTED)
set_target_properties(I18nResource::i18nres-satellites PROPERTIES IMPORTED_LOCATION none)
add_library(shop MODULE shop.cpp shop.rc)
target_include_directories(shop PRIVATE include)
i18nresource_add_satellite(shop CULTURE fr PO fr.po)
CMAKE
    configure && cmake --build build --target shop
    holds "$(find_built '*shop.dll')" 'caf\u00e9'
    ;;
embedded)
    configure && build
    echo '<p>deux</p>' >page.html
    cmake --build build --target shop_fr
    grep -q '<p>deux</p>' "$(find_built '*shop_fr.dll')"
    echo '#define ID_PRICE 8' >include/ids.h
    cmake --build build --target shop_fr shop -- -n | grep -F shop.rc
    cmake --build build --target shop_fr -- -n | grep -F shop_fr.rc
    ;;
install)
    configure && cmake --build build
    cmake --install build --prefix installed
    find installed -name '*shop_fr.dll' | grep .
    ;;
ansi)
    printf 'STRINGTABLE\nBEGIN\n\n    7 "Gr\xf6\xdfe"\nEND\n' >shop_de.rc
    refused 'shop_de.rc:4: this line is not UTF-8'
    ;;
utf16)
    { printf '\xff\xfe'; iconv -t UTF-16LE shop_de.rc; } >utf16.rc
    mv utf16.rc shop_de.rc
    refused 'shop_de.rc is UTF-16. Save this resource script as UTF-8.'
    ;;
module)
    printf 'STRINGTABLE\nBEGIN\n    7 "caf\xe9"\nEND\n' >shop.rc
    refused 'shop.rc:3: this line is not UTF-8'
    ;;
esac
