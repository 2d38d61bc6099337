#!/usr/bin/env bash
# Builds for Windows with the tests, and runs them under Wine on a display of their own.
# Usage: scripts/test-windows.sh [ctest options]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-packages.sh windows test
scripts/build-windows.sh -DKOVA_TESTS=ON
# The prefix is made before two tests can do so at once.
scripts/on-display.py scripts/wine.sh wineboot --init
exec scripts/on-display.py ctest --preset windows "$@"
