#!/usr/bin/env bash
# Installs the Debian packages that are missing for the named purposes. Asks for root (itself or by
# sudo) only when something is missing.
#
#   install-packages.sh PURPOSE...       build | run | window | test | peers | check
#
# The purpose peers, other programs for the tests to meet, includes SheetJS from npm.
set -euo pipefail

# Each line: purpose, the file or command that tells whether the package is there, the package.
packages() {
    local clang
    clang=$("$(dirname "$0")/clang-version.sh")
    # Debian 13 has no clang-format 14, whose layout is the one that counts.
    [ "$clang" -ne 14 ] || echo "check clang-format-14 clang-format-14"
    cat <<EOF
build  cmake                              cmake
build  ninja                              ninja-build
build  x86_64-w64-mingw32-g++-posix       g++-mingw-w64-x86-64-posix
run    wine                               wine
run    /usr/lib/wine/wine64               wine64
run    Xvfb                               xvfb
window maim                               maim
window xdotool                            xdotool
window /usr/share/wine/fonts/tahoma.ttf   fonts-wine
window /usr/share/fonts/truetype/vlgothic fonts-vlgothic
test   /usr/include/doctest/doctest.h     doctest-dev
test   python3                            python3
peers  xclip                              xclip
peers  soffice                            libreoffice-calc-nogui
peers  ssconvert                          gnumeric
peers  node                               nodejs
peers  npm                                npm
peers  msgfmt                             gettext
peers  wrestool                           icoutils
peers  7z                                 p7zip-full
peers  /usr/lib/python3/dist-packages/polib.py  python3-polib
peers  /usr/lib/python3/dist-packages/pefile.py python3-pefile
check  clang++-$clang                         clang-$clang
check  ld.lld-$clang                          lld-$clang
check  clang-tidy-$clang                      clang-tidy-$clang
check  cppcheck                           cppcheck
check  gcovr                              gcovr
check  doxygen                            doxygen
check  /usr/bin/clang++-22                clang-22
check  /usr/lib/llvm-22/include/c++/v1    libc++-22-dev
check  /usr/include/wine/wine             libwine-dev
check  /usr/share/mingw-w64/include       mingw-w64-common
check  git                                git
EOF
}

missing=()
while read -r purpose sign package; do
    [[ " $* " == *" $purpose "* ]] || continue
    if [[ $sign == /* ]]; then
        [ -e "$sign" ] || missing+=("$package")
    else
        command -v "$sign" >/dev/null || missing+=("$package")
    fi
done < <(packages)
# The tests that need it are skipped without it, so the npm registry may be out of reach.
install_sheetjs() { "$(dirname "$0")/install-sheetjs.sh" || echo "Tests that need SheetJS are skipped."; }

finish() {
    if [[ " $* " == *" peers "* ]]; then install_sheetjs; fi
    exit 0
}
[ ${#missing[@]} -gt 0 ] || finish "$@"

echo "installing: ${missing[*]}"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "These packages are missing, and installing them takes root: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive sh -c '
        apt-get update -q && apt-get install -q -y --no-install-recommends "$@"' \
        install "${missing[@]}" >"$log" 2>&1 </dev/null; then
    tail -n 20 "$log" >&2
    echo "The packages could not be installed." >&2
    exit 1
fi
finish "$@"
