#!/usr/bin/env bash
# Compares tarvel_wapd with nginx, side by side in one run, and prints a Markdown table: server CPU time (user and
# system) per request, and requests per second.
# Usage: bench/http.sh [PROGRAM]      default: build/tarvel_wapd
#   ROUNDS=5 SECONDS_EACH=3           how often, and how long each of the six measurements of a round takes
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

program=${1:-build/tarvel_wapd}
[[ -x $program ]] || { echo "$program is missing: build it first, for example with scripts/test.sh" >&2; exit 1; }
program=$(realpath "$program")
scripts/install-packages.sh bench
exec python3 -B bench/http.py "$program" "${ROUNDS:-5}" "${SECONDS_EACH:-3}"
