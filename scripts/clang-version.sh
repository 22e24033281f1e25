#!/usr/bin/env bash
# Prints the version of clang that the build and the checks use: 14 on Debian 12, 19 on Debian 13.
set -euo pipefail
. /etc/os-release
if [ "${VERSION_ID:-12}" -ge 13 ]; then echo 19; else echo 14; fi
