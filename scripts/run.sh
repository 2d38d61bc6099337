#!/usr/bin/env bash
# Installs what is missing, builds, makes the program's folder on the first run, and starts the program on this machine:
# with its windows where there is a display, else without.
# Usage: scripts/run.sh [more options of tarvel_wap or tarvel_wapd]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

if [[ -n ${DISPLAY:-}${WAYLAND_DISPLAY:-} ]]; then
  program=tarvel_wap needs=(build desktop) desktop=ON
  hint="Closing the main window ends it."
else
  program=tarvel_wapd needs=(build) desktop=OFF
  hint="Ctrl+C ends the server."
fi

scripts/install-packages.sh "${needs[@]}"
if [[ ! -f build/CMakeCache.txt ]]; then
  cmake --preset release -DKOVA_TESTS=OFF -DKOVA_BENCH=OFF -DKOVA_DESKTOP=$desktop
elif [[ $desktop == ON ]]; then
  cmake --preset release -DKOVA_DESKTOP=ON
fi
cmake --build --preset release --target $program -j "$(nproc)"

data=${XDG_DATA_HOME:-}
[[ $data == /* ]] || data=$HOME/.local/share
home=$data/kova-wap
scripts/first-run.sh "$home"

cat <<TEXT

The program's folder is $home
Open http://127.0.0.1:8081/ with a WML browser, for example:
  wapua http://127.0.0.1:8081/      (Debian package wapua)
$hint

TEXT
exec build/$program --home "$home" --address 127.0.0.1 --port 8081 --start "$@"
