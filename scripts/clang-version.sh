#!/usr/bin/env bash
# Prints the version of clang that this Debian release has for the build and the checks: 14 (Debian 12) or
# 19 (Debian 13).
set -euo pipefail
. /etc/os-release
if [ "${VERSION_ID:-12}" -ge 13 ]; then echo 19; else echo 14; fi
