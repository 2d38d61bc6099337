#!/usr/bin/env bash
# Packs build-windows/kova-wap-windows.zip: the programs, the page directory, the sample data and a short README.
# Usage: scripts/windows-zip.sh LIBRARIES
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

libraries=$1
part=build-windows/zip/kova-wap
rm -rf build-windows/zip
mkdir -p "$part"
scripts/first-run.sh "$part" windows
cp build-windows/tarvel_wap.exe build-windows/tarvel_wapd.exe "$part/"
sed 's/$/\r/' share/windows/README.txt >"$part/README.txt"
sed 's/$/\r/' LICENSE >"$part/LICENSE.txt"
cp -R "$libraries/share/licenses" "$part/licenses"
(cd build-windows/zip && rm -f ../kova-wap-windows.zip && zip -qr ../kova-wap-windows.zip kova-wap)
echo "build-windows/kova-wap-windows.zip"
