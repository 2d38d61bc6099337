#!/usr/bin/env bash
# Runs a Windows program under Wine, in a Wine prefix that belongs to this build (or in WINEPREFIX).
# Usage: scripts/wine.sh PROGRAM.exe [ARGUMENT...]
set -euo pipefail
# shellcheck source=scripts/wine-settings.sh
. "$(dirname "${BASH_SOURCE[0]}")/wine-settings.sh"

[[ -p /dev/stdout ]] || exec wine "$@"

# What Wine starts beside a program lives on, and would hold a pipe open for whoever waits for its end.
output=$(mktemp -d)
trap 'rm -rf "$output"' EXIT
status=0
wine "$@" >"$output/out" 2>"$output/err" || status=$?
cat "$output/out"
cat "$output/err" >&2
exit "$status"
