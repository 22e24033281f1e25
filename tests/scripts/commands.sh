#!/usr/bin/env bash
# Tests the ./demo, ./test, ./bench and ./fuzz commands: the help text, wrong arguments, signals,
# and two commands at the same time.
#
#   commands.sh CASE SOURCE-FOLDER
#
# Each case uses a copy of the scripts. In the copy, install-packages.sh and build.sh only sleep,
# and wine-session.sh does nothing.
set -euo pipefail
case=$1 source=$2
work=$(mktemp -d)
finish() {
    jobs -p | xargs -r kill 2>/dev/null || true
    rm -rf "$work"
}
trap finish EXIT
cp -R "$source"/{demo,test,bench,fuzz,scripts,CMakePresets.json} "$work"
mkdir -p "$work/fuzzing"
cp -R "$source/fuzzing/corpus" "$work/fuzzing"
for step in install-packages build; do
    cat >"$work/scripts/$step.sh" <<'END'
#!/usr/bin/env bash
. scripts/progress.sh
[ "$1" = --missing ] || { : >sleeping; logged log sleep 300; }
END
done
printf '#!/bin/sh\n' >"$work/scripts/wine-session.sh"
cd "$work"

fail() {
    echo "$1"
    [ ! -f output ] || sed 's/^/  /' output
    exit 1
}
# ends STATUS COMMAND...: runs a command and checks its exit status. The output is written to the
# file "output".
ends() {
    local ended=0
    timeout 30 "${@:2}" >output 2>&1 </dev/null || ended=$?
    [ "$ended" -eq "$1" ] || fail "$(printf '%s ' "${@:2}")ended with $ended, not $1"
}
shows() { grep -qF -- "$1" output || fail "the output lacks: $1"; }
nothing_started() { [ ! -e build ] || fail "the folder build was made"; }

# until_true COMMAND...: repeats the command until it succeeds, for up to 20 seconds.
until_true() {
    local until=$((SECONDS + 20))
    until "$@" 2>/dev/null; do
        [ $SECONDS -lt $until ] || fail "still false after 20 s: $*"
        sleep 0.05
    done
}
# start COMMAND: starts a command in the background and waits until one of its scripts sleeps. The
# command runs in its own process group, as in an interactive shell. The output is written to the
# file "output".
start() {
    rm -f sleeping
    set -m
    "$1" >output 2>&1 </dev/null &
    command=$!
    set +m
    until_true test -e sleeping
}
# interrupted_by SIGNAL STATUS COMMAND: checks that the signal ends the command with STATUS within
# two seconds.
interrupted_by() {
    local ended=0 started
    start "$3"
    started=$(date +%s%N)
    kill -"$1" "$command"
    wait "$command" || ended=$?
    local took=$((($(date +%s%N) - started) / 1000000))
    [ "$ended" -eq "$2" ] || fail "$3 ended with $ended after $1, not $2"
    [ $took -lt 2000 ] || fail "$3 took $took ms to end after $1"
    shows "$3: interrupted"
    if grep -qE 'passed|done|Traceback|Terminated|Killed' output; then fail "$3 says more than that it was interrupted"; fi
}

commands=(./demo ./test ./bench ./fuzz)
case $case in
"help starts no build")
    for command in "${commands[@]}" scripts/reference.sh; do
        ends 0 "$command" --help
        shows "usage: $command"
        nothing_started
    done
    ;;
"an unknown option is rejected")
    for command in "${commands[@]}" scripts/reference.sh; do
        ends 64 "$command" --colour
        shows "--colour"
        shows "usage: $command"
        nothing_started
    done
    ;;
"an unknown preset, target or culture is rejected")
    ends 64 ./test --preset mingw-fast
    shows "unknown preset: mingw-fast"
    shows "mingw-release"
    ends 64 ./demo --window fr_CA
    shows "not a culture tag: fr_CA"
    ends 64 ./fuzz no-such-target
    shows "unknown target: no-such-target"
    shows "po-files"
    nothing_started
    ;;
"Ctrl+C ends a command")
    for command in "${commands[@]}"; do interrupted_by INT 130 "$command"; done
    ;;
"SIGTERM ends a command")
    for command in "${commands[@]}"; do interrupted_by TERM 143 "$command"; done
    ;;
"a second command waits for the first")
    export PROGRESS_INTERVAL=1
    start ./test
    first=$command
    ./demo >second 2>&1 </dev/null &
    second=$!
    until_true grep -q "waiting for ./test (process $first," second
    until_true grep -qE ': [0-9]+ s' second
    kill -0 "$first" || fail "the second command ended the first"
    kill "$first"
    wait "$first" || true
    until_true grep -qF "./demo (process $second," build/lock
    kill "$second"
    ;;
"a build folder that does not exist is rejected")
    ends 64 "$source/scripts/wine-session.sh" run build/mistyped program.exe
    shows "there is no folder build/mistyped"
    ends 0 "$source/scripts/wine-session.sh" stop build/mistyped
    nothing_started
    ;;
"a long step without a terminal shows its progress")
    export PROGRESS_INTERVAL=1
    ends 0 bash -c '. scripts/progress.sh; logged log sh -c "echo compiling a.cpp; sleep 3"'
    grep -qE ' [1-3] s  compiling a.cpp' output || fail "logged shows no progress"
    ends 0 bash -c '. scripts/progress.sh; { sleep 3; echo row; } | with_clock'
    grep -qE ': [1-3] s$' output || fail "with_clock shows no progress"
    shows "row"
    ;;
"a reader that stops early is not a failure")
    printf '#!/bin/sh\nexit 141\n' >scripts/build.sh
    printf '#!/bin/sh\n' >scripts/install-packages.sh
    ends 141 ./demo
    if grep -q FAILED output; then fail "./demo reports a failure"; fi
    ;;
*) fail "unknown case: $case" ;;
esac
