# Functions that ./demo, ./test, ./bench and ./fuzz share. Each of these commands sources this file
# in the project folder and then calls
#
#   begin NAME SESSION-FOLDER [TEXT]
#
# After this call, other commands in this checkout wait until the calling command has ended. When
# the calling command ends, the Wine session of SESSION-FOLDER is stopped, and a line with the
# result is printed. The result is TEXT on success, "interrupted" after Ctrl+C or SIGTERM (exit
# status 130 or 143), and "FAILED" in all other cases.
# shellcheck source=scripts/progress.sh
. scripts/progress.sh

begin() {
    export PROGRESS_NAME=$1
    command_session=$2
    command_success=${3:-}
    trap finish EXIT
    take_lock
}

take_lock() {
    mkdir -p build
    exec 8>>build/lock
    if ! flock -n 8; then
        phase "waiting for $(cat build/lock), which is running in this folder"
        # flock locks the open file, so the lock stays with descriptor 8 when the job has ended.
        logged build/waiting.log flock 9 9<&8
    fi
    command_locked=1
    printf '%s (process %d, started at %s)\n' "$PROGRESS_NAME" $$ "$(date +%H:%M:%S)" >build/lock
}

# install_packages PURPOSE...: runs install-packages.sh as a job.
install_packages() {
    # Let sudo prompt for the password now, because a background job cannot read it from the
    # terminal.
    if [ "$(id -u)" -ne 0 ] && command -v sudo >/dev/null &&
        [ -n "$(scripts/install-packages.sh --missing "$@")" ]; then
        sudo -v
    fi
    run_job scripts/install-packages.sh "$@"
}

# list_names LOG COMMAND...: writes the names that the command prints to LOG. Prints the end of LOG
# if the command fails.
list_names() {
    phase "listing the names"
    if ! logged "$@"; then
        tail -n 20 "$1" >&2
        exit 1
    fi
}

finish() {
    local status=$?
    trap '' INT TERM
    stop_job
    if [ -n "${command_locked:-}" ]; then scripts/wine-session.sh stop "$command_session" || true; fi
    case $status in
    0) if [ -n "$command_success" ]; then echo "$PROGRESS_NAME: $command_success"; fi ;;
    141)  # SIGPIPE: the reader of the output, such as head, has ended
        if [ -t 1 ]; then echo "$PROGRESS_NAME: FAILED" >&2; fi
        ;;
    130 | 143) echo "$PROGRESS_NAME: interrupted" >&2 ;;
    *) echo "$PROGRESS_NAME: FAILED" >&2 ;;
    esac
    exit $status
}

# refuse MESSAGE: reports an invalid command line. Prints the message and the usage text, and exits
# with status 64.
refuse() {
    echo "$1" >&2
    usage >&2
    exit 64
}
