#!/usr/bin/env bash
# Checks the sources without a build: layout (clang-format), allowed includes, characters and line
# lengths, phrases, and shell scripts. Run scripts/install-hooks.sh to make git run this script
# before each commit.
#
#   check.sh
set -euo pipefail
cd "$(dirname "$0")/.."
if ! git rev-parse --git-dir >/dev/null 2>&1; then
    echo "check.sh needs git and a git checkout, because it checks the files that git lists." >&2
    exit 1
fi

status=0
# check NAME COMMAND...: runs a check and prints a line with its result. If the check fails, also
# prints its output.
check() {
    local name=$1 output
    shift
    if output=$("$@" 2>&1); then
        printf '%-12s %s\n' "$name" "${output:-ok}"
    else
        printf '%-12s FAILED\n%s\n' "$name" "$output"
        status=1
    fi
}

# Other versions of clang-format format some lines differently, and Debian 13 does not have version
# 14. The check is therefore skipped if version 14 is not installed.
layout() {
    if ! command -v clang-format-14 >/dev/null; then
        echo "not checked: clang-format-14 is not installed (scripts/install-packages.sh check)"
        return 0
    fi
    git ls-files '*.h' '*.cpp' | tr '\n' '\0' |
        xargs -0 -P "$(nproc)" -n 20 clang-format-14 --dry-run --Werror
}

includes() { python3 scripts/check-includes.py >/dev/null; }

# found MESSAGE GREP-ARGUMENT...: fails and prints MESSAGE if git grep finds a match.
found() {
    local message=$1
    shift
    if git grep -InE "$@"; then
        echo "-> $message"
        return 1
    fi
}
sources=(':(glob)**/*.h' ':(glob)**/*.cpp')
words() {
    local status=0
    found "sources are ASCII: write \\u escapes" '[^[:print:][:space:]]' -- "${sources[@]}" || status=1
    # clang-format does not wrap long comments, so this check is needed.
    found "a line has at most 100 characters" '.{101}' -- "${sources[@]}" || status=1
    found "no notes for later in the sources" '\b\b(TODO|FIXME)\b' -- "${sources[@]}" || status=1
    return $status
}

# Searches comments, documentation pages and test names for phrases that are hard to understand. The
# samples are not searched.
prose=('*.h' '*.cpp' '*.md' '*.sh' '*.py' '*.cmake' '*CMakeLists.txt' demo test bench fuzz .ci
    ':!samples' ':!fuzzing/corpus' ':!scripts/check.sh')
prose() {
    local status=0
    found "start with a noun, not with \"What ...\"" \
        '(^|//[/!<]* |# |[.:] |\| |")What [a-z`][^?]*$' -- "${prose[@]}" || status=1
    found "write \"Compatibility:\" and the reason" '(^|//[/!<]* |[.] )[Kk]ept:' -- "${prose[@]}" || status=1
    found "write \"after\" or \"past\"" '\bbehind\b' -- "${prose[@]}" || status=1
    found "write \"is not a ...\" or \"invalid\"" '\b(that|which|who) (is|are) none\b' -- "${prose[@]}" ||
        status=1
    found "write \"still\" or \"although\"" '\ball the same\b' -- "${prose[@]}" || status=1
    found "write \"returns\", \"releases\" or \"frees\"" \
        '\b(hand|hands|handed|give|gives|gave|given) (it |them )?(out|back)\b' -- "${prose[@]}" || status=1
    found "write \"reports\", \"states\" or \"distinguishes\"" '\btells\b|\b(is|are|was) told\b' \
        -- "${prose[@]}" || status=1
    found "write \"another program\", \"other code\" or \"the caller\"" '\b([Ss]omebody|[Ww]hoever)\b' \
        -- "${prose[@]}" || status=1
    found "write \"again\" or \"new\"" '\banew\b' -- "${prose[@]}" || status=1
    found "write \"workaround\"" '[Aa]ccommodation' -- "${prose[@]}" || status=1
    found "write \"when memory runs out\"" '[Ee]xhausted memory' -- "${prose[@]}" || status=1
    return $status
}

scripts() {
    git ls-files | while read -r file; do
        if [ -f "$file" ] && head -c 30 "$file" | grep -qE '^#!.*\b(bash|sh)\b'; then
            printf '%s\0' "$file"
        fi
    done | xargs -0 shellcheck --severity=warning --external-sources
}

check layout layout
check includes includes
check words words
check prose prose
check scripts scripts
exit $status
