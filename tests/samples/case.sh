# Common functions of the scripts in this folder. To be sourced with the arguments
#
#   CASE WINE-SESSION BUILD-FOLDER BIN-FOLDER SOURCE-FOLDER
#
# It changes to a new folder, which is deleted at the end, so that files are named without folders, as in
# the messages.
set -euo pipefail
export LC_ALL=C.UTF-8  # as these scripts are written
case=$1 session=$2 build=$3 bin=$4 source=$5
readonly skipped=77

work=$(mktemp -d)
finish() { rm -rf "$work"; }
trap finish EXIT
cd "$work"

wine_run() { "$session" run "$build" "$bin/$1.exe" "${@:2}" </dev/null; }

# need COMMAND NAME: the case is skipped where the program is not installed.
need() {
    command -v "$1" >/dev/null && return
    echo "skipped: $2 is not installed (scripts/install-packages.sh peers)"
    exit $skipped
}

# The same for xclip, which then sees the session's clipboard.
need_xclip() {
    need xclip xclip
    "$session" start "$build"
    DISPLAY=${WINE_SESSION_DISPLAY:-:$(<"$build/wine-session/display")}
    export DISPLAY
}

# from_xclip FORMAT FILE: fetches what the clipboard holds under this name of X11, as programs of X11 do:
# they request the list of formats first. Wine registers the X11 name of an application's format only when that
# list is requested. X11 is notified of a new owner some time after it took the clipboard.
from_xclip() {
    local until=$((SECONDS + 30))
    until xclip -selection clipboard -t TARGETS -o >targets 2>/dev/null && grep -qxF "$1" targets &&
        xclip -selection clipboard -t "$1" -o >"$2" 2>/dev/null; do
        [ $SECONDS -lt $until ] || { cat targets; echo "the clipboard holds no $1"; exit 1; }
        sleep 0.1
    done
}

# fails STATUS TEXT COMMAND...: the command ends with STATUS and prints TEXT.
fails() {
    local status=$1 text=$2 ended=0
    "${@:3}" >output 2>&1 || ended=$?
    [ "$ended" -eq "$status" ] || { cat output; echo "ended with $ended, not $status: ${*:3}"; exit 1; }
    shows "$text" output
}

# shows TEXT FILE: the file has TEXT within a line.
shows() { grep -qF -- "$1" "$2" || { cat "$2"; echo "lacks: $1"; exit 1; }; }

# same EXPECTED ACTUAL: two texts.
same() { [ "$1" = "$2" ] || { diff <(echo "$1") <(echo "$2") || exit 1; }; }
