#!/usr/bin/env bash
# Installs the missing Debian packages for the specified purposes. Root permissions or sudo are
# required only if a package is missing.
#
#   install-packages.sh [--missing] PURPOSE...
#
#   --missing   only prints the names of the missing packages
#   build       compiler, CMake and Ninja
#   run         Wine and a hidden X display
#   window      fonts, and programs that take a picture of a window
#   test        doctest and Python
#   peers       programs with which the samples exchange data in the tests; SheetJS comes from npm
#   docs        Doxygen
#   check       the other packages that .ci/run needs
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/progress.sh
. scripts/progress.sh

usage() { sed -n '/^#   install/,/^#   check/s/^#  *//p' "$0"; }
only_print=
if [ "${1:-}" = --missing ]; then
    only_print=yes
    shift
fi
for purpose in "$@"; do
    case $purpose in
    build | run | window | test | peers | docs | check) ;;
    -h | --help) usage; exit ;;
    *) echo "unknown purpose: $purpose" >&2; usage >&2; exit 64 ;;
    esac
done
[ $# -gt 0 ] || { usage >&2; exit 64; }

# Prints a line for each package: the purpose, a file or command that exists if the package is
# installed, and the package name.
packages() {
    local clang
    clang=$(scripts/clang-version.sh)
    # Debian 13 does not have clang-format 14, which the layout check needs.
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
peers  /usr/lib/python3/dist-packages/gi  python3-gi
peers  /usr/lib/x86_64-linux-gnu/girepository-1.0/Gtk-3.0.typelib  gir1.2-gtk-3.0
peers  node                               nodejs
peers  npm                                npm
peers  msgfmt                             gettext
peers  wrestool                           icoutils
peers  7z                                 p7zip-full
peers  /usr/lib/python3/dist-packages/polib.py  python3-polib
peers  /usr/lib/python3/dist-packages/pefile.py python3-pefile
peers  /usr/lib/python3/dist-packages/translate python3-translate
docs   doxygen                            doxygen
check  clang++-$clang                         clang-$clang
check  ld.lld-$clang                          lld-$clang
check  clang-tidy-$clang                      clang-tidy-$clang
check  cppcheck                           cppcheck
check  gcovr                              gcovr
check  /usr/bin/clang++-22                clang-22
check  /usr/lib/llvm-22/include/c++/v1    libc++-22-dev
check  /usr/include/wine/wine             libwine-dev
check  /usr/share/mingw-w64/include       mingw-w64-common
check  git                                git
check  shellcheck                         shellcheck
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
# Installs SheetJS. If the installation fails, for example because npm cannot reach its registry,
# the script continues, and the tests that need SheetJS are skipped.
install_sheetjs() { scripts/install-sheetjs.sh || echo "Tests that need SheetJS are skipped."; }

finish() {
    if [[ " $* " == *" peers "* ]]; then install_sheetjs; fi
    exit 0
}
[ ${#missing[@]} -gt 0 ] || [ -n "$only_print" ] || finish "$@"

if [ -n "$only_print" ]; then
    echo "${missing[*]}"
    exit
fi
# `dpkg --configure -a` completes an installation that was interrupted.
apt=(env DEBIAN_FRONTEND=noninteractive sh -c
    'dpkg --configure -a && apt-get update -q && apt-get install -q -y --no-install-recommends "$@"' install "${missing[@]}")
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "Some packages are missing. As root, run: apt-get install --no-install-recommends ${missing[*]}" >&2
        exit 1
    fi
    # Let sudo prompt for the password now, because the output of the installation is written to the
    # log.
    sudo -n true 2>/dev/null || sudo -v
    apt=(sudo "${apt[@]}")
fi
phase "installing packages: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! logged "$log" "${apt[@]}"; then
    tail -n 20 "$log" >&2
    echo "The packages could not be installed." >&2
    exit 1
fi
finish "$@"
