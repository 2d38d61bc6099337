#!/usr/bin/env bash
# Builds for Windows with the tests, and runs them under Wine on a display of their own.
# Usage: scripts/test-windows.sh [ctest options]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-packages.sh build desktop test windows
scripts/build-windows.sh -DKOVA_TESTS=ON
# The settings file's script runs on both systems.
[[ -f build/CMakeCache.txt ]] || cmake --preset release
cmake --build --preset release --target profile_script -j "$(nproc)"
exec scripts/on-display.py scripts/in-wine.sh ctest --preset windows "$@"
