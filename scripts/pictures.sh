#!/usr/bin/env bash
# Takes the pictures of the documentation anew: the sample pages in a real WML browser.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-packages.sh build test
[[ -f build/CMakeCache.txt ]] || cmake --preset release
cmake --build --preset release --target tarvel_wapd -j "$(nproc)"
KOVA_WAPD=$PWD/build/tarvel_wapd KOVA_OUTPUT=$PWD/build KOVA_PICTURES=$PWD/docs/pictures \
  python3 -B tests/acceptance/browser_test.py
ls -l docs/pictures
