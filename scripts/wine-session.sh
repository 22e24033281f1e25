#!/usr/bin/env bash
# Manages the Wine session of a build folder. Each session has its own X display and its own Wine
# prefix. The prefix is kept when the session stops. An idle program keeps Wine's services running.
# While the services are running, a program starts in 0.05 s instead of 0.7 s.
#
#   wine-session.sh start BUILD-FOLDER
#   wine-session.sh run   BUILD-FOLDER PROGRAM.EXE [ARGUMENT...]   starts the session if necessary
#   wine-session.sh stop  BUILD-FOLDER                             ends every program of the session
#
# If WINE_SESSION_DISPLAY is set, the session uses this display instead of a hidden one. If
# WINE_SESSION_BSTR_CACHE is set, Wine caches freed BSTRs, as it does by default. Otherwise, the
# session disables this cache.
set -euo pipefail
# shellcheck source=scripts/progress.sh
. "$(dirname "${BASH_SOURCE[0]}")/progress.sh"

usage() {
    cat <<'EOF'
usage: wine-session.sh start BUILD-FOLDER                              starts Wine for a build folder
       wine-session.sh run   BUILD-FOLDER PROGRAM.EXE [ARGUMENT...]    runs a program, and starts Wine if necessary
       wine-session.sh stop  BUILD-FOLDER                              ends Wine and all its programs
EOF
}
case "${1:-}" in
start | run | stop) [ $# -ge 2 ] || { usage >&2; exit 64; } ;;
-h | --help) usage; exit ;;
*) usage >&2; exit 64 ;;
esac
command=$1
if ! [ -d "$2" ]; then
    case $command in
    start) mkdir -p "$2" ;;
    run) echo "wine-session.sh: there is no folder $2" >&2; exit 64 ;;
    stop) exit ;;  # without the folder, there is no session
    esac
fi
folder=$(readlink -f "$2")
shift 2
state=$folder/wine-session
export WINEPREFIX=$folder/wine WINEARCH=win64 WINEDEBUG=${WINEDEBUG:--all}
# Wine uses this locale for the encoding of arguments and file names, and for the user's language.
# The default encoding of a minimal system is ASCII, which is not sufficient.
export LC_ALL=C.UTF-8
if [ -z "${WINE_SESSION_BSTR_CACHE:-}" ]; then
    export OANOCACHE=1  # disables the cache of freed BSTRs, so that leaks can be counted
fi
# Disable Wine's debugger, so that a crash ends only the process that crashed. Disable Mono and
# Gecko, because they are not needed.
export WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe="

alive() { [ -s "$state/$1" ] && kill -0 "$(cat "$state/$1")" 2>/dev/null; }
# The "up" file is created last, so that it exists only if the session has started completely.
is_up() { [ -e "$state/up" ] && alive keeper && alive idle; }

use_display() {
    if [ -n "${WINE_SESSION_DISPLAY:-}" ]; then
        export DISPLAY=$WINE_SESSION_DISPLAY
    else
        DISPLAY=:$(cat "$state/display")
        export DISPLAY
    fi
}

# The processes of the session continue to run after this script has ended. They must not inherit
# open files from the caller.
close_inherited_files() {
    local file number
    for file in /proc/self/fd/*; do
        number=${file##*/}
        case $number in [0-2] | 9 | 255) ;; *) eval "exec $number>&-" ;; esac
    done
}

start_display() {
    if [ -n "${WINE_SESSION_DISPLAY:-}" ] || alive xvfb; then return; fi
    : >"$state/display"
    setsid Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp \
        3>"$state/display" >/dev/null 2>&1 </dev/null 9>&- &
    echo $! >"$state/xvfb"
    for _ in $(seq 600); do
        [ -s "$state/display" ] && return
        alive xvfb || break
        sleep 0.05
    done
    return 1
}

initialize_prefix() {
    wine wineboot -i || return 1
    # Enable heap tail checking and heap free checking, so that HeapValidate finds overruns.
    wine reg add 'HKLM\System\CurrentControlSet\Control\Session Manager' \
        /v GlobalFlag /t REG_DWORD /d 112 /f || return 1
    wineserver -w || return 1  # wait until all programs of the first start have ended
}

create_prefix() {
    [ -e "$WINEPREFIX/ready" ] && return
    phase "creating the Wine prefix $WINEPREFIX (once, about 15 seconds and 700 MB)"
    rm -rf "$WINEPREFIX"  # an earlier start may have been interrupted
    logged "$state/prefix.log" initialize_prefix 9>&- && touch "$WINEPREFIX/ready"
}

start_services() {
    rm -f "$state/pipe" "$state/up"
    mkfifo "$state/pipe"
    setsid wine cmd /c pause <"$state/pipe" >/dev/null 2>&1 9>&- &
    echo $! >"$state/idle"
    setsid sleep infinity >"$state/pipe" 2>/dev/null </dev/null 9>&- &
    echo $! >"$state/keeper"
    # Services that start now must not inherit the caller's output, because the reader of that
    # output would wait until the services end. rundll32 creates a window, so that Wine's desktop
    # program also starts now instead of together with a later program.
    wine rundll32 user32.dll,GetDesktopWindow >/dev/null 2>&1 </dev/null 9>&- && alive idle && touch "$state/up"
}

start() {
    mkdir -p "$state"
    (
        # Bash resets the traps of progress.sh in a subshell.
        trap 'interrupted 130' INT
        trap 'interrupted 143' TERM
        close_inherited_files
        flock 9
        if is_up; then exit; fi
        # Wine sometimes fails to start. The start is repeated here, so that no test fails for this
        # reason.
        for attempt in 1 2 3; do
            if start_display && use_display && create_prefix && start_services; then exit; fi
            phase "Wine did not start (attempt $attempt of 3)"
            end_processes
        done
        exit 1
    ) 9>"$state/lock"
    use_display
}

# Ends the processes of the session but keeps its files.
end_processes() {
    if alive keeper; then kill "$(cat "$state/keeper")" 2>/dev/null || true; fi
    if [ -d "$WINEPREFIX" ]; then wineserver -k 2>/dev/null || true; fi
    # Some Wine services continue to run after wineserver has ended.
    local environment process
    for environment in $(grep -lzxF "WINEPREFIX=$WINEPREFIX" /proc/[0-9]*/environ 2>/dev/null); do
        process=${environment#/proc/}
        process=${process%/environ}
        [ "$process" -eq $$ ] || [ "$process" -eq $BASHPID ] || kill -9 "$process" 2>/dev/null || true
    done
    if alive xvfb; then kill "$(cat "$state/xvfb")" 2>/dev/null || true; fi
}

stop() {
    end_processes
    rm -rf "$state"
}

# On a busy machine, Wine sometimes fails to load an existing program. In this case, Wine's
# start.exe prints the not_started message to standard output. run() then starts the program again,
# so that no test fails for this reason.
readonly not_started="Application could not be started" not_started_status=75

# Copies standard input to standard output. If the input begins with the not_started message, prints
# nothing and fails.
pass_output() {
    local first
    first=$(head -c ${#not_started} | base64 -w 0)
    if [ "$first" = "$(printf %s "$not_started" | base64 -w 0)" ]; then
        cat >/dev/null
        return $not_started_status
    fi
    printf %s "$first" | base64 -d
    cat
}

run() {
    if [ -t 1 ]; then exec wine "$@"; fi
    local statuses attempt
    for attempt in 1 2 3; do
        wine "$@" | pass_output && statuses=(0 0) || statuses=("${PIPESTATUS[@]}")
        if [ "${statuses[1]}" -ne $not_started_status ]; then exit "${statuses[0]}"; fi
        phase "Wine did not start ${1##*/} (attempt $attempt of 3)"
    done
    exit "${statuses[0]}"
}

case $command in
start) start ;;
run)
    if ! is_up; then start; fi
    use_display
    run "$@"
    ;;
stop) stop ;;
esac
