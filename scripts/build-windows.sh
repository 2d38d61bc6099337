#!/usr/bin/env bash
# Builds the programs for Windows on a Debian machine, and a zip to hand out. Installs what is missing; the libraries
# are built once and kept outside the checkout (scripts/windows-libraries.sh).
# Usage: scripts/build-windows.sh [more options of cmake, for example -DKOVA_TESTS=ON]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-packages.sh windows
KOVA_WINDOWS_LIBRARIES=$(scripts/windows-libraries.sh)
export KOVA_WINDOWS_LIBRARIES
cmake --preset windows -DKOVA_TESTS=OFF "$@"
cmake --build --preset windows -j "$(nproc)"
scripts/windows-zip.sh "$KOVA_WINDOWS_LIBRARIES"
