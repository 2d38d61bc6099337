#!/usr/bin/env bash
# Installs what is missing, builds, and runs all tests.
# Usage: scripts/test.sh [ctest options], for example: scripts/test.sh -R acceptance
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-packages.sh build desktop test
cmake --preset release -DKOVA_TESTS=ON -DKOVA_BENCH=ON -DKOVA_DESKTOP=ON
cmake --build --preset release -j "$(nproc)"
exec ctest --preset release "$@"
