#!/usr/bin/env bash
# Compares tarvel_wap, with its windows on a display of its own, with tarvel_wapd, side by side in one run: CPU time (user
# and system) per request at 1,000 requests a second.
# Usage: bench/desktop.sh [BUILD_FOLDER]      default: build
#   ROUNDS=5 SECONDS_EACH=5                   how often, and how long each of the two measurements of a round takes
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

build=$(realpath "${1:-build}")
for program in tarvel_wap tarvel_wapd; do
  [[ -x $build/$program ]] || { echo "$build/$program is missing: build it first, with scripts/test.sh" >&2; exit 1; }
done
scripts/install-packages.sh bench
exec scripts/on-display.py python3 -B bench/desktop.py "$build" "${ROUNDS:-5}" "${SECONDS_EACH:-5}"
