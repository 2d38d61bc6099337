#!/usr/bin/env bash
# Runs a command while Wine is up, in the prefix that scripts/wine.sh uses, and makes that prefix first: programs then
# start at once, and two at the same time do not both make it.
# Usage: scripts/in-wine.sh COMMAND [ARGUMENT...]
set -euo pipefail
scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

"$scripts/wine.sh" wineboot --init </dev/null >/dev/null 2>&1
coproc holder { exec "$scripts/wine.sh" cmd /c more 2>/dev/null; }
status=0
"$@" || status=$?
exec {holder[1]}>&-
exit "$status"
