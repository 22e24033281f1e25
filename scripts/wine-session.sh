#!/usr/bin/env bash
# The Wine session of one build folder: a prefix of its own (kept between runs), an X display of its
# own, and one idle program that keeps Wine's services up (a start then costs 0.05 s, not 0.7 s).
#
#   wine-session.sh start BUILD-FOLDER
#   wine-session.sh run   BUILD-FOLDER PROGRAM.EXE [ARGUMENT...]   starts the session where needed
#   wine-session.sh stop  BUILD-FOLDER
#
# Set WINE_SESSION_DISPLAY to use a display of yours instead of a hidden one, and
# WINE_SESSION_BSTR_CACHE to keep the cache of freed BSTRs that applications have.
set -euo pipefail

command=${1:?usage: wine-session.sh start|run|stop BUILD-FOLDER}
mkdir -p "$2"
folder=$(readlink -f "$2")
shift 2
state=$folder/wine-session
export WINEPREFIX=$folder/wine WINEARCH=win64 WINEDEBUG=${WINEDEBUG:--all}
# Wine takes arguments and the names of files in the character set of the environment, which a bare machine
# leaves at ASCII, and the user's language from there.
export LC_ALL=C.UTF-8
if [ -z "${WINE_SESSION_BSTR_CACHE:-}" ]; then
    export OANOCACHE=1  # freed BSTRs are freed, not cached: leaks can be counted
fi
# No debugger: a crash just ends its process. No Mono, no Gecko: nothing here needs them.
export WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe="

alive() { [ -s "$state/$1" ] && kill -0 "$(cat "$state/$1")" 2>/dev/null; }
# "up" is written last: who comes while another starts the session must wait for it.
is_up() { [ -e "$state/up" ] && alive keeper && alive idle; }

use_display() {
    if [ -n "${WINE_SESSION_DISPLAY:-}" ]; then
        export DISPLAY=$WINE_SESSION_DISPLAY
    else
        DISPLAY=:$(cat "$state/display")
        export DISPLAY
    fi
}

start() {
    mkdir -p "$state"
    (
        # What starts here outlives us: it must not keep open what our caller happens to have open.
        for file in /proc/self/fd/*; do
            number=${file##*/}
            case $number in [0-2] | 9 | 255) ;; *) eval "exec $number>&-" ;; esac
        done
        flock 9
        if [ -z "${WINE_SESSION_DISPLAY:-}" ] && ! alive xvfb; then
            : >"$state/display"
            setsid Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp \
                3>"$state/display" >/dev/null 2>&1 </dev/null 9>&- &
            echo $! >"$state/xvfb"
            for _ in $(seq 200); do [ -s "$state/display" ] && break; sleep 0.05; done
        fi
        use_display
        if [ ! -e "$WINEPREFIX/ready" ]; then
            wine wineboot -i >/dev/null 2>&1 </dev/null 9>&-
            # The heaps check what lies behind a block and in freed blocks: HeapValidate sees overruns.
            wine reg add 'HKLM\System\CurrentControlSet\Control\Session Manager' \
                /v GlobalFlag /t REG_DWORD /d 112 /f >/dev/null 2>&1 </dev/null 9>&-
            wineserver -w  # the first start's own programs have ended before the keeper comes
            touch "$WINEPREFIX/ready"
        fi
        if ! is_up; then
            rm -f "$state/pipe" "$state/up"
            mkfifo "$state/pipe"
            setsid wine cmd /c pause <"$state/pipe" >/dev/null 2>&1 9>&- &
            echo $! >"$state/idle"
            setsid sleep infinity >"$state/pipe" 2>/dev/null </dev/null 9>&- &
            echo $! >"$state/keeper"
            # Services that start now must not inherit the caller's output: its reader would wait
            # for them to end.
            wine cmd /c ver >/dev/null 2>&1 </dev/null 9>&-
            touch "$state/up"
        fi
    ) 9>"$state/lock"
    use_display
}

stop() {
    if alive keeper; then kill "$(cat "$state/keeper")" || true; fi
    if [ -d "$WINEPREFIX" ]; then wineserver -k 2>/dev/null || true; fi
    # Wine's services do not always notice that their server is gone.
    local environment
    for environment in /proc/[0-9]*/environ; do
        if grep -qzxF "WINEPREFIX=$WINEPREFIX" "$environment" 2>/dev/null; then
            local process=${environment%/environ}
            [ "${process#/proc/}" -eq $$ ] || kill -9 "${process#/proc/}" 2>/dev/null || true
        fi
    done
    if alive xvfb; then kill "$(cat "$state/xvfb")" || true; fi
    rm -rf "$state"
}

case $command in
start) start ;;
run)
    if ! is_up; then start; fi
    use_display
    exec wine "$@"
    ;;
stop) stop ;;
*)
    echo "wine-session.sh: unknown command $command" >&2
    exit 64
    ;;
esac
