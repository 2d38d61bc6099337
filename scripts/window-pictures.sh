#!/usr/bin/env bash
# Takes the pictures of the windows for the documentation anew, on a display of their own.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-packages.sh build desktop test
[[ -f build/CMakeCache.txt ]] || cmake --preset release
cmake --build --preset release --target desktop_test -j "$(nproc)"
KOVA_PICTURES=$PWD/docs/pictures scripts/on-display.py build/tests/desktop/desktop_test --gtest_filter='Pictures.*'
ls -l docs/pictures/window-*
