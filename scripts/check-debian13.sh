#!/usr/bin/env bash
# Installs a bare Debian 13 into a temporary folder, runs ./test there on a copy of this source tree, and
# removes the folder. Needs root, the package debootstrap, 6 GB and about half an hour.
#
#   check-debian13.sh [COMMAND [ARGUMENT...]]      runs another command, for example ./demo
set -euo pipefail
cd "$(dirname "$0")/.."
command=("$@")
[ ${#command[@]} -gt 0 ] || command=(./test)

root=$(mktemp -d /var/tmp/debian13.XXXXXX)
guest=
finish() {
    if [ -n "$guest" ]; then kill -KILL "$guest" 2>/dev/null || true; wait "$guest" 2>/dev/null || true; fi
    rm -rf --one-file-system "$root" "$root.log" 2>/dev/null || { sleep 1; rm -rf --one-file-system "$root"; }
}
trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

echo "installing Debian 13 into $root"
if ! debootstrap --variant=minbase trixie "$root" >"$root.log" 2>&1 </dev/null; then
    tail -n 20 "$root.log" >&2
    exit 1
fi
cp /etc/resolv.conf "$root/etc/"
mkdir "$root/source"
git ls-files -z --cached --others --exclude-standard | tar -c --null -T - | tar -x -C "$root/source"

# It runs in namespaces of its own: when the first process is killed, the kernel ends the others and removes
# the mounts. In the background with `wait`, so that this script handles a signal at once.
# The pseudo-terminals are for tests that run a program on a terminal.
# shellcheck disable=SC2016  # "$@" is of the inner shell
unshare --mount --pid --fork --kill-child --root="$root" --wd=/source --mount-proc \
    env -i PATH="$PATH" HOME=/root TERM="${TERM:-dumb}" \
    sh -c 'mount -t devpts -o newinstance,ptmxmode=0666 devpts /dev/pts && ln -sf pts/ptmx /dev/ptmx && exec "$@"' \
    sh "${command[@]}" </dev/null &
guest=$!
wait "$guest"
