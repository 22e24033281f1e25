#!/usr/bin/env bash
# Runs a command and checks its output and its exit status.
#
#   expect.sh STATUS TEXT COMMAND...
#
# The output of COMMAND, including standard error, must contain TEXT.
set -uo pipefail
status=$1 text=$2
shift 2
output=$("$@" 2>&1 </dev/null | tr -d '\r'; exit "${PIPESTATUS[0]}")
ended=$?
printf '%s\n' "$output"
[ "$ended" -eq "$status" ] || { echo "ended with $ended, not $status"; exit 1; }
grep -qF -- "$text" <<<"$output" || { echo "the output lacks: $text"; exit 1; }
