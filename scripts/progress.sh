# Functions that show the progress of a script and handle interrupts. Source this file.
#
#   phase TEXT                  prints TEXT to standard error, to announce the next step
#   run_job COMMAND...          runs a command or function. Ctrl+C or SIGTERM ends all processes of
#                               the job, and then the script with status 130 or 143.
#   logged LOG COMMAND...       like run_job, but writes the output to LOG. On a terminal, shows
#                               the elapsed seconds and the last line of LOG. Otherwise, prints
#                               them every 30 seconds, or every PROGRESS_INTERVAL seconds.
#   with_clock                  copies the lines of standard input to standard output. While there is
#                               no input, shows the elapsed seconds as logged does.
export PROGRESS_NAME=${PROGRESS_NAME:-${0##*/}}

phase() { printf '%s: %s\n' "$PROGRESS_NAME" "$*" >&2; }

progress_job=  # the process group ID of the job; empty if no job is running

# start_job COMMAND...: starts a job in its own process group, so that the terminal sends Ctrl+C
# only to this script. On Ctrl+C, the script ends the process group of the job.
start_job() {
    set -m
    "$@" </dev/null 8>&- &  # file descriptor 8 is the lock that command.sh holds
    progress_job=$!
    set +m
}

# Waits for the job and returns its exit status.
finish_job() {
    local status=0
    wait "$progress_job" || status=$?
    progress_job=
    return $status
}

run_job() {
    start_job "$@"
    finish_job
}

stop_job() {
    local job=$progress_job
    progress_job=
    [ -n "$job" ] || return 0
    kill -TERM -- "-$job" 2>/dev/null || return 0
    for _ in 1 2 3 4 5 6 7 8 9 10; do
        sleep 0.05
        kill -0 -- "-$job" 2>/dev/null || return 0
    done
    kill -KILL -- "-$job" 2>/dev/null || true
}

interrupted() {
    trap '' INT TERM  # a second interrupt must not stop the cleanup
    stop_job
    exit "$1"
}
trap 'interrupted 130' INT
trap 'interrupted 143' TERM

erase_line=$'\r\033[K'
progress_interval=${PROGRESS_INTERVAL:-30}
columns=$(tput cols 2>/dev/null || echo 80)

# last_line LOG: prints the last line of the log, truncated so that it fits on one line of the
# terminal together with the elapsed seconds.
last_line() {
    tail -c 400 "$1" 2>/dev/null | tr '\r' '\n' | tr -cd '[:print:]\n' | sed '/^ *$/d' | tail -n 1 |
        cut -c "1-$((columns - 10))"
}

logged() {
    local log=$1 started=$SECONDS shown=$SECONDS
    shift
    start_job "$@" >"$log" 2>&1
    while kill -0 "$progress_job" 2>/dev/null; do
        if [ -t 2 ]; then
            printf '%s%d s  %s' "$erase_line" $((SECONDS - started)) "$(last_line "$log")" >&2
        elif [ $((SECONDS - shown)) -ge "$progress_interval" ]; then
            shown=$SECONDS
            phase "$((SECONDS - started)) s  $(last_line "$log")"
        fi
        { sleep 0.3; } 2>/dev/null  # hides the message that bash prints if a signal ends sleep
    done
    if [ -t 2 ]; then printf '%s' "$erase_line" >&2; fi
    finish_job
}

with_clock() {
    local started=$SECONDS line='' part status interval=1 erase=$erase_line
    if ! [ -t 1 ]; then interval=$progress_interval erase=''; fi
    [ "$interval" -gt 0 ] || interval=1
    while :; do
        status=0
        IFS= read -r -t "$interval" part || status=$?
        line+=$part
        if [ $status -eq 0 ]; then
            printf '%s%s\n' "$erase" "$line"
            line=
        elif [ $status -le 128 ]; then
            printf '%s%s' "$erase" "$line"
            return
        elif [ -t 1 ]; then
            printf '%s%d s' "$erase" $((SECONDS - started))
        else
            phase "$((SECONDS - started)) s"
        fi
    done
}
