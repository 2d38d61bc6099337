# For scripts that start Wine.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEPREFIX=${WINEPREFIX:-$root/build-windows/wine-prefix}
export WINEDEBUG=${WINEDEBUG:--all}
# Neither Mono nor Gecko is offered, and no menu of whoever runs this is touched.
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
