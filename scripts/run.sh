#!/usr/bin/env bash
# Installs what is missing, builds, makes the program's folder on the first run, and starts the server on this machine.
# Usage: scripts/run.sh [more options of tarvel_wapd]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-packages.sh build
if [[ ! -f build/CMakeCache.txt ]]; then
  cmake --preset release -DKOVA_TESTS=OFF -DKOVA_BENCH=OFF
fi
cmake --build --preset release --target tarvel_wapd -j "$(nproc)"

data=${XDG_DATA_HOME:-}
[[ $data == /* ]] || data=$HOME/.local/share
home=$data/kova-wap
scripts/first-run.sh "$home"

cat <<TEXT

The program's folder is $home
Open http://127.0.0.1:8081/ with a WML browser, for example:
  wapua http://127.0.0.1:8081/      (Debian package wapua)
Ctrl+C ends the server.

TEXT
exec build/tarvel_wapd --home "$home" --address 127.0.0.1 --port 8081 --start "$@"
