#!/usr/bin/env bash
# Runs a Windows program under Wine, in a Wine prefix that belongs to this build (or in WINEPREFIX).
# Usage: scripts/wine.sh PROGRAM.exe [ARGUMENT...]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

export WINEPREFIX=${WINEPREFIX:-$root/build-windows/wine-prefix}
export WINEDEBUG=${WINEDEBUG:--all}
# Neither Mono nor Gecko is offered, and no menu of whoever runs this is touched.
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
[[ -p /dev/stdout ]] || exec wine "$@"

# What Wine starts beside a program lives on, and would hold a pipe open for whoever waits for its end.
output=$(mktemp -d)
trap 'rm -rf "$output"' EXIT
status=0
wine "$@" >"$output/out" 2>"$output/err" || status=$?
cat "$output/out"
cat "$output/err" >&2
exit "$status"
