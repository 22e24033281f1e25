#!/usr/bin/env bash
# Installs a minimal Debian 13 in a temporary folder, runs ./test there in a copy of this source
# tree, and deletes the folder. Requires root permissions, the debootstrap package and 6 GB of disk
# space. Takes about half an hour.
#
#   check-debian13.sh [COMMAND [ARGUMENT...]]
#
# Example: check-debian13.sh ./demo
#
# If COMMAND is specified, the script runs it instead of ./test.
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

# The command runs in its own namespaces. When the first process in these namespaces is killed, the
# kernel ends the other processes and removes the mounts. The command runs in the background,
# because bash handles signals immediately during `wait`, but not while a command runs in the
# foreground. Tests that run a program on a terminal need devpts, the pseudo-terminal file system.
# shellcheck disable=SC2016  # the inner shell expands "$@"
unshare --mount --pid --fork --kill-child --root="$root" --wd=/source --mount-proc \
    env -i PATH="$PATH" HOME=/root TERM="${TERM:-dumb}" \
    sh -c 'mount -t devpts -o newinstance,ptmxmode=0666 devpts /dev/pts && ln -sf pts/ptmx /dev/ptmx && exec "$@"' \
    sh "${command[@]}" </dev/null &
guest=$!
wait "$guest"
