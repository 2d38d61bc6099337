#!/usr/bin/env bash
# Compares how long a phone waits for a page while a mail server that says nothing holds a conversation up, with how
# long it waits without one, in turns in one run, and prints a Markdown table. Needs root for the ports 110 and 25.
# Usage: bench/stalled.sh [PROGRAM]      default: build/tarvel_wapd
#   ROUNDS=10 REQUESTS=200              how often, and how many requests for each page each time
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

program=${1:-build/tarvel_wapd}
[[ -x $program ]] || { echo "$program is missing: build it first, for example with scripts/test.sh" >&2; exit 1; }
exec python3 -B bench/stalled.py "$(realpath "$program")" "${ROUNDS:-10}" "${REQUESTS:-200}"
