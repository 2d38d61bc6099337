#!/usr/bin/env bash
# Checks the layout of all sources with clang-format and the program's own code with clang-tidy.
# Usage: scripts/lint.sh [FILE.cc ...]     only these files; without: all of them
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/install-packages.sh build desktop test tidy

folders=(app base conversation extras launch paging platform pop3 server settings wml)
mapfile -t sources < <(find "${folders[@]}" tests bench -name '*.h' -o -name '*.cc' | sort)
clang-format-19 --dry-run -Werror "${sources[@]}"

[[ -f build/compile_commands.json ]] || cmake --preset release
if [[ $# -gt 0 ]]; then
  units=("$@")
else
  # What is for Windows alone is not built here.
  mapfile -t units < <(find "${folders[@]}" -name '*.cc' | sort |
    while read -r file; do ! grep -qF "\"$PWD/$file\"" build/compile_commands.json || echo "$file"; done)
fi
# One file at a time per core: -n1 keeps the cores busy until the end.
printf '%s\0' "${units[@]}" | xargs -0 -n1 -P "$(nproc)" clang-tidy-19 -p build --quiet
echo "clang-format: ${#sources[@]} files, clang-tidy: ${#units[@]} files, no complaint."
