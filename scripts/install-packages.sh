#!/usr/bin/env bash
# Installs the Debian packages that are still missing for one or more purposes:
#   build    what the program needs to be compiled and to run
#   desktop  ... and for its windows
#   test     ... and its tests
#   bench    ... and the comparison with nginx
#   tidy     clang-format and clang-tidy
#   windows  the cross compiler, what its libraries are built with, and Wine
# Usage: scripts/install-packages.sh PURPOSE...
set -euo pipefail

packages_for() {
  case $1 in
    build) echo g++ cmake ninja-build pkg-config ccache libical-dev libgmime-3.0-dev tzdata ;;
    desktop) echo libwxgtk3.2-dev libglib2.0-dev ;;
    test) echo libgtest-dev libgmock-dev python3 dovecot-core dovecot-pop3d wapua xvfb xauth xfonts-base fonts-dejavu-core imagemagick python3-aiosmtpd openbox xdotool x11-utils ;;
    bench) echo nginx wrk python3 xvfb openbox ;;
    tidy) echo clang-tidy-19 clang-format-19 ;;
    windows) echo g++-mingw-w64-x86-64-posix cmake ninja-build pkg-config ccache dpkg-dev meson libz-mingw-w64-dev googletest tzdata zip wine wine64 ;;
    *) return 1 ;;
  esac
}

usage() {
  echo "usage: ${0##*/} build|desktop|test|bench|tidy|windows ..." >&2
  exit 2
}

[[ $# -gt 0 ]] || usage
wanted=()
for purpose in "$@"; do
  list=$(packages_for "$purpose") || usage
  read -ra names <<<"$list"
  wanted+=("${names[@]}")
done

if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
  echo "This machine has no apt-get. Please install the equivalents of these Debian packages by hand:" >&2
  echo "  ${wanted[*]}" >&2
  exit 1
fi

missing=()
for package in "${wanted[@]}"; do
  state=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
  [[ $state == installed ]] || missing+=("$package")
done
[[ ${#missing[@]} -gt 0 ]] || exit 0

as_root=()
if [[ $(id -u) -ne 0 ]]; then
  if ! command -v sudo >/dev/null; then
    echo "Some packages are missing, and there is neither sudo nor are you root. As root, run:" >&2
    echo "  apt-get update && apt-get install ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi

apt() { "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=120 "$@"; }
install() { apt install -y --no-install-recommends "${missing[@]}"; }

echo "Installing: ${missing[*]}"
have_lists=true
for package in "${missing[@]}"; do
  [[ -n $(apt-cache madison "$package" 2>/dev/null) ]] || have_lists=false
done
if $have_lists && install; then exit 0; fi
# The package lists are missing, or so old that they name files which are gone.
apt update
if ! install; then
  echo "The packages could not be installed. As root, try: apt-get install ${missing[*]}" >&2
  exit 1
fi
