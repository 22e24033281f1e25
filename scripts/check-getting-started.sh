#!/usr/bin/env bash
# Performs all steps of docs/getting-started.md in an empty folder: writes the files, runs the
# commands, and compares the output of the commands with the page. The script differs from the page
# in two ways: it uses the package folder instead of /opt/i18nresource, and the Wine session of the
# build folder instead of `wine`.
#
#   check-getting-started.sh PACKAGE-FOLDER BUILD-FOLDER
set -euo pipefail
[ $# -eq 2 ] || { echo "usage: check-getting-started.sh PACKAGE-FOLDER BUILD-FOLDER" >&2; exit 64; }
package=$(readlink -f "$1")
build=$(readlink -f "$2")
page=$(readlink -f "$(dirname "$0")/../docs/getting-started.md")
session=$(readlink -f "$(dirname "$0")/wine-session.sh")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/client" "$work/steps"

# A code block after a line "`NAME`:" contains the text of the file NAME. Each "sh" code block is a
# step, that is, a script that this check runs. A code block after "It prints:" is the expected
# output of the preceding step.
awk -v client="$work/client" -v steps="$work/steps" '
    !inside && /^`[^`]+`:$/  { target = client "/" substr($0, 2, length($0) - 3) }
    !inside && /^It prints:$/ { target = sprintf("%s/%02d.expected", steps, step) }
    /^```/ {
        if (!inside && $0 == "```sh") target = sprintf("%s/%02d.sh", steps, ++step)
        if (inside) target = ""
        inside = !inside
        next
    }
    inside && target { print > target }' "$page"

wine() { "$session" run "$build" "$@" </dev/null | tr -d '\r'; }
cd "$work/client"
count=0
for step in "$work"/steps/*.sh; do
    # shellcheck disable=SC1090  # the sourced commands are in the page
    source <(sed "s|/opt/i18nresource|$package|g" "$step") >"$work/output" 2>"$work/errors" ||
        { cat "$step" "$work/output" "$work/errors"; exit 1; }
    if [ -e "${step%.sh}.expected" ]; then
        diff -u "${step%.sh}.expected" "$work/output"
        count=$((count + 1))
    fi
done
[ $count -gt 0 ] || { echo "$page: no step with an output was found" >&2; exit 1; }
echo "docs/getting-started.md: $(find "$work/steps" -name '*sh' | wc -l) steps done, the output of $count as shown"
