#!/usr/bin/env bash
# Runs a command while Wine is up, in the prefix that scripts/wine.sh uses, and makes that prefix first. Two programs that
# start at the same time would each start Wine's services, and then not find each other by COM.
# Usage: scripts/in-wine.sh COMMAND [ARGUMENT...]
set -euo pipefail
scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

# shellcheck source=scripts/wine-settings.sh
. "$scripts/wine-settings.sh"
wineboot --init </dev/null >/dev/null 2>&1
wineserver --wait
# Says that it is there, and stays until its input ends.
coproc holder { exec wine cmd /c "echo up & more" 2>/dev/null; }
read -r <&"${holder[0]}"
status=0
"$@" || status=$?
wineserver --kill
exit "$status"
