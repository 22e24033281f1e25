#!/usr/bin/env bash
# Runs COMMAND. Fails unless its exit status is STATUS and its output contains TEXT. The output
# includes standard error.
#
#   expect.sh STATUS TEXT COMMAND...
set -uo pipefail
status=$1 text=$2
shift 2
output=$("$@" 2>&1 </dev/null | tr -d '\r'; exit "${PIPESTATUS[0]}")
ended=$?
printf '%s\n' "$output"
[ "$ended" -eq "$status" ] || { echo "ended with $ended, not $status"; exit 1; }
grep -qF -- "$text" <<<"$output" || { echo "the output lacks: $text"; exit 1; }
