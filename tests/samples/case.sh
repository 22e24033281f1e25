# Functions that the scripts in this folder share. Source this file with these arguments:
#
#   CASE WINE-SESSION BUILD-FOLDER BIN-FOLDER SOURCE-FOLDER
#
# The cases run in a new temporary folder, which is deleted at the end. They can therefore use file
# names without a folder, and messages contain only file names.
set -Eeuo pipefail
# A program that fails to start, or that crashes, prints nothing. The message is written to the
# standard error of the script, even if the command redirects its own.
exec {messages}>&2
trap 'echo "$case: status $? (lines $LINENO ${BASH_LINENO[*]}) of: $BASH_COMMAND" >&"$messages"' ERR
export LC_ALL=C.UTF-8  # these scripts are encoded in UTF-8
case=$1 session=$2 build=$3 bin=$4 source=$5
readonly skipped=77

work=$(mktemp -d)
finish() { rm -rf "$work"; }
trap finish EXIT
cd "$work"

wine_run() { "$session" run "$build" "$bin/$1.exe" "${@:2}" </dev/null; }

# need COMMAND NAME: skips the case if the command is not installed, and prints that the program
# NAME is missing.
need() {
    command -v "$1" >/dev/null && return
    echo "skipped: $2 is not installed (scripts/install-packages.sh peers)" >&2
    exit $skipped
}

# on_console PROGRAM ARGUMENT...: runs a program on a console and prints the characters that the
# console shows, except spaces.
on_console() {
    local attempt status
    for attempt in 1 2 3; do
        status=0
        script -qec "'$session' run '$build' '$bin/$1.exe' ${*:2}" /dev/null </dev/null >console || status=$?
        # wine-session.sh starts a program again only if its output is not a console.
        grep -qF 'Application could not be started' console || break
        echo "Wine did not start $1 (attempt $attempt of 3)" >&2
    done
    sed 's/\x1b\[[?0-9;]*[a-zA-Z]//g' console | tr -d ' '
    [ $status -eq 0 ] || cat -v console >&2
    return $status
}

# Skips the case if xclip is not installed. Otherwise, makes xclip use the display of the Wine
# session.
need_xclip() {
    need xclip xclip
    "$session" start "$build"
    DISPLAY=${WINE_SESSION_DISPLAY:-:$(<"$build/wine-session/display")}
    export DISPLAY
}

# from_xclip FORMAT FILE: writes the clipboard data in this X11 format to the file. First requests
# the list of formats, as X11 programs do, because Wine registers the X11 name of an application's
# format only in response to this request. Repeats both requests for up to 30 seconds, because X11
# does not report a new clipboard owner immediately.
from_xclip() {
    local until=$((SECONDS + 30))
    until xclip -selection clipboard -t TARGETS -o >targets 2>/dev/null && grep -qxF "$1" targets &&
        xclip -selection clipboard -t "$1" -o >"$2" 2>/dev/null; do
        [ $SECONDS -lt $until ] || { cat targets; echo "the clipboard holds no $1"; exit 1; }
        sleep 0.1
    done
}

# fails STATUS TEXT COMMAND...: checks that the command ends with STATUS and prints TEXT.
fails() {
    local status=$1 text=$2 ended=0
    "${@:3}" >output 2>&1 || ended=$?
    [ "$ended" -eq "$status" ] || { cat output; echo "ended with $ended, not $status: ${*:3}"; exit 1; }
    shows "$text" output
}

# shows TEXT FILE: checks that a line of the file contains TEXT.
shows() { grep -qF -- "$1" "$2" || { cat "$2"; echo "lacks: $1"; exit 1; }; }

# same EXPECTED ACTUAL: checks that two strings are equal.
same() { [ "$1" = "$2" ] || { diff <(echo "$1") <(echo "$2") || exit 1; }; }
