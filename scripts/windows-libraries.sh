#!/usr/bin/env bash
# Builds the libraries that the Windows programs need, statically, out of Debian's source packages, and prints where
# they lie: $KOVA_WINDOWS_LIBRARIES, or kova-wap/windows in the user's cache folder. What is built already stays.
# Usage: scripts/windows-libraries.sh
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

export KOVA_WINDOWS_LIBRARIES=${KOVA_WINDOWS_LIBRARIES:-${XDG_CACHE_HOME:-$HOME/.cache}/kova-wap/windows}
prefix=$KOVA_WINDOWS_LIBRARIES
exec 3>&1 >&2  # nothing but where they lie goes to the standard output
work=$prefix/work         # package lists, sources, builds and their logs
stamps=$prefix/libraries  # a file for each library that is there: the hash of its recipe, its version
host=x86_64-w64-mingw32
flags=(-O2 -D_WIN32_WINNT=0x0A00)
launcher=()
! command -v ccache >/dev/null || launcher=(ccache)

# The two rows are built at the same time, each from left to right: wxWidgets takes as long as all others together.
rows=("zlib jpeg png wxwidgets" "ffi pcre2 intl glib gmime googletest ical")

# --- The recipes: build_NAME runs in an empty folder; the unpacked source package is in $source.

source_package() {
  case $1 in
    jpeg) echo libjpeg-turbo ;;
    png) echo libpng1.6 ;;
    wxwidgets) echo wxwidgets3.2 ;;
    ffi) echo libffi ;;
    pcre2) echo pcre2 ;;
    glib) echo glib2.0 ;;
    gmime) echo gmime ;;
    ical) echo libical3 ;;
  esac
}

# These come as ready packages.
binary_package() {
  case $1 in
    zlib) echo libz-mingw-w64-dev ;;
    googletest) echo googletest ;;
  esac
}

build_zlib() { :; }  # lies where the compiler finds it

build_jpeg() {
  with_cmake -DENABLE_SHARED=OFF -DWITH_SIMD=OFF -DWITH_TURBOJPEG=OFF
}

build_png() {
  with_cmake -DPNG_SHARED=OFF -DPNG_TESTS=OFF -DPNG_EXECUTABLES=OFF
}

build_wxwidgets() {
  local unused=() name
  for name in ABOUTDLG ACTIVITYINDICATOR ADDREMOVECTRL AFM_FOR_POSTSCRIPT ANIMATIONCTRL AUI BANNERWINDOW CRASHREPORT \
    CREDENTIALDLG DATAVIEWCTRL DBGHELP DEBUGREPORT DIALUP_MANAGER DOC_VIEW_ARCHITECTURE FSWATCHER FS_ARCHIVE FS_INET GIF \
    GRID HELP HTML IFF IPC JOYSTICK LIBLZMA LIBTIFF MDI MDI_ARCHITECTURE MEDIACTRL METAFILE MS_HTML_HELP OPENGL PCX PNM \
    POSTSCRIPT PRINTING_ARCHITECTURE PROPGRID PROTOCOL PROTOCOL_FILE PROTOCOL_FTP PROTOCOL_HTTP REGEX RIBBON RICHTEXT \
    SECRETSTORE SOCKETS SOUND SPELLCHECK STARTUP_TIPS STC SVG TARSTREAM TGA TREELISTCTRL UIACTIONSIMULATOR URL WEBREQUEST \
    WEBVIEW WIZARDDLG WXHTML_HELP XML XRC; do
    unused+=("-DwxUSE_$name=OFF")
  done
  with_cmake -DwxBUILD_SHARED=OFF -DwxUSE_EXPAT=OFF -DwxUSE_ZLIB=sys -DwxUSE_LIBPNG=sys -DwxUSE_LIBJPEG=sys \
    -DwxUSE_WINSOCK2=ON "${unused[@]}"
}

build_ffi() {
  "$source/configure" --host=$host --prefix="$prefix" --disable-shared --disable-docs --disable-multi-os-directory \
    CC="${launcher[*]} $host-gcc-posix" CFLAGS="${flags[*]}"
  make -j "$(nproc)" install
}

build_pcre2() {
  with_cmake -DBUILD_SHARED_LIBS=OFF -DPCRE2_BUILD_PCRE2GREP=OFF -DPCRE2_BUILD_TESTS=OFF
}

# What GLib asks of gettext, without translations: each function hands back the text it is given.
build_intl() {
  cat >libintl.h <<'TEXT'
#pragma once
#include <locale.h>
#ifndef LC_MESSAGES
#define LC_MESSAGES LC_CTYPE
#endif
#ifdef __cplusplus
extern "C" {
#endif
char* gettext(const char* text) __attribute__((format_arg(1)));
char* dgettext(const char* domain, const char* text) __attribute__((format_arg(2)));
char* dcgettext(const char* domain, const char* text, int category) __attribute__((format_arg(2)));
char* ngettext(const char* one, const char* many, unsigned long count) __attribute__((format_arg(1), format_arg(2)));
char* dngettext(const char* domain, const char* one, const char* many, unsigned long count) __attribute__((format_arg(2), format_arg(3)));
char* dcngettext(const char* domain, const char* one, const char* many, unsigned long count, int category) __attribute__((format_arg(2), format_arg(3)));
char* textdomain(const char* domain);
char* bindtextdomain(const char* domain, const char* folder);
char* bind_textdomain_codeset(const char* domain, const char* codeset);
#ifdef __cplusplus
}
#endif
TEXT
  cat >libintl.c <<'TEXT'
#include "libintl.h"
char* gettext(const char* text) { return (char*)text; }
char* dgettext(const char* domain, const char* text) { return (char*)text; }
char* dcgettext(const char* domain, const char* text, int category) { return (char*)text; }
char* ngettext(const char* one, const char* many, unsigned long count) { return (char*)(count == 1 ? one : many); }
char* dngettext(const char* domain, const char* one, const char* many, unsigned long count) {
  return ngettext(one, many, count);
}
char* dcngettext(const char* domain, const char* one, const char* many, unsigned long count, int category) {
  return ngettext(one, many, count);
}
char* textdomain(const char* domain) { return (char*)(domain ? domain : "messages"); }
char* bindtextdomain(const char* domain, const char* folder) { return (char*)folder; }
char* bind_textdomain_codeset(const char* domain, const char* codeset) { return (char*)codeset; }
TEXT
  $host-gcc-posix "${flags[@]}" -c libintl.c
  $host-ar rcs libintl.a libintl.o
  install -D -m 644 -t "$prefix/include" libintl.h
  install -D -m 644 -t "$prefix/lib" libintl.a
}

build_glib() {
  cat >cross.ini <<TEXT
[binaries]
c = [$(quoted "${launcher[@]}" $host-gcc-posix)]
cpp = [$(quoted "${launcher[@]}" $host-g++-posix)]
ar = '$host-ar'
strip = '$host-strip'
windres = '$host-windres'
pkgconfig = 'pkg-config'
[properties]
pkg_config_libdir = ['$prefix/lib/pkgconfig', '/usr/$host/lib/pkgconfig']
[built-in options]
c_args = ['-O2', '-I$prefix/include']
cpp_args = ['-O2', '-I$prefix/include']
c_link_args = ['-static', '-L$prefix/lib']
cpp_link_args = ['-static', '-L$prefix/lib']
[host_machine]
system = 'windows'
cpu_family = 'x86_64'
cpu = 'x86_64'
endian = 'little'
TEXT
  meson setup "$source" . --cross-file cross.ini --prefix "$prefix" --libdir lib --buildtype plain \
    --default-library static --wrap-mode nodownload -Dtests=false -Dnls=disabled -Dglib_debug=disabled -Dlibelf=disabled
  ninja install
}

# Its configure script wants to be made by tools of its own kind; for Windows its authors list the sources in a project
# file and have a few lines of configuration, and so do we. It converts characters through GLib.
build_gmime() {
  cat >config.h <<'TEXT'
#define HAVE_GETHOSTNAME 1
#define HAVE_GETADDRINFO 1
#define HAVE_ICONV_DETECT_H 1
TEXT
  cat >iconv-detect.h <<'TEXT'
#define ICONV_ISO_INT_FORMAT "iso-%u-%u"
#define ICONV_ISO_STR_FORMAT "iso-%u-%s"
#define ICONV_SHIFT_JIS "shift-jis"
#define ICONV_10646 "UCS-4BE"
TEXT
  cat >iconv.h <<'TEXT'
#pragma once
#include <glib.h>
typedef GIConv iconv_t;
#define iconv_open g_iconv_open
#define iconv g_iconv
#define iconv_close g_iconv_close
TEXT
  local version
  version=$(sed -n 's/^m4_define(\[gmime_m[a-z]*_version\], *\[\([0-9]*\)\])/\1/p' "$source/configure.ac" | paste -sd.)
  IFS=. read -r major minor micro <<<"$version"
  sed -e "s/@GMIME_MAJOR_VERSION@/$major/; s/@GMIME_MINOR_VERSION@/$minor/; s/@GMIME_MICRO_VERSION@/$micro/" \
    -e "s/@GMIME_[A-Z]*_AGE@/0/" "$source/gmime/gmime-version.h.in" >gmime-version.h
  sed -e "s|@prefix@|$prefix|; s|@exec_prefix@|\${prefix}|; s|@libdir@|\${prefix}/lib|; s|@includedir@|\${prefix}/include|" \
    -e "s|@VERSION@|$version|; s|@GMIME_API_VERSION@|3.0|; s|@GMIME_LIBS@|-lgmime-3.0|" \
    -e "s|@GMIME_LIBS_PRIVATE@|-lz -lws2_32|; s|@GMIME_CFLAGS@||" "$source/gmime.pc.in" >gmime-3.0.pc
  cat >CMakeLists.txt <<'TEXT'
cmake_minimum_required(VERSION 3.25)
project(gmime C)
find_package(PkgConfig REQUIRED)
pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0 gobject-2.0 gio-2.0)
file(GLOB sources ${SOURCE}/gmime/gmime*.c ${SOURCE}/gmime/internet-address.c ${SOURCE}/util/*.c)
file(GLOB headers ${SOURCE}/gmime/*.h)
list(FILTER headers EXCLUDE REGEX "-(internal|common|gpgme-utils)\\.h$")
add_library(gmime-3.0 STATIC ${sources})
target_compile_definitions(gmime-3.0 PRIVATE HAVE_CONFIG_H G_LOG_DOMAIN="gmime")
target_include_directories(gmime-3.0 PRIVATE ${CMAKE_SOURCE_DIR} ${SOURCE} ${SOURCE}/util)
target_link_libraries(gmime-3.0 PRIVATE PkgConfig::GLIB)
install(TARGETS gmime-3.0)
install(FILES ${headers} DESTINATION include/gmime-3.0/gmime)
install(FILES gmime-version.h DESTINATION include/gmime-3.0/gmime)
install(FILES iconv.h DESTINATION include/gmime-3.0)
install(FILES gmime-3.0.pc DESTINATION lib/pkgconfig)
TEXT
  mkdir gmime
  cp gmime-version.h gmime/
  with_cmake -DSOURCE="$source" -S "$PWD" -B build
}

build_googletest() {
  source=/usr/src/googletest with_cmake
}

build_ical() {
  with_cmake -DSTATIC_ONLY=ON -DWITH_CXX_BINDINGS=OFF -DICAL_GLIB=OFF -DICAL_BUILD_DOCS=OFF -DLIBICAL_BUILD_TESTING=OFF \
    -DUSE_BUILTIN_TZDATA=ON -DCMAKE_DISABLE_FIND_PACKAGE_ICU=ON -DCMAKE_DISABLE_FIND_PACKAGE_BDB=ON
}

# --- How it is built

# with_cmake OPTION...: configures $source, builds and installs it.
with_cmake() {
  cmake -G Ninja -S "$source" -B build --toolchain "$root/cmake/windows-toolchain.cmake" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_FLAGS="${flags[*]}" -DCMAKE_CXX_FLAGS="${flags[*]}" \
    -DCMAKE_C_FLAGS_RELEASE=-DNDEBUG -DCMAKE_CXX_FLAGS_RELEASE=-DNDEBUG \
    -DCMAKE_C_COMPILER_LAUNCHER="${launcher[*]}" -DCMAKE_CXX_COMPILER_LAUNCHER="${launcher[*]}" \
    -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR:PATH=lib -DBUILD_SHARED_LIBS=OFF "$@"
  cmake --build build --target install
}

quoted() { printf "'%s', " "$@"; }

# recipe NAME: changes when the library has to be built anew.
recipe() {
  { declare -f "build_$1" with_cmake; echo "${flags[*]}"; } | sha256sum | cut -d' ' -f1
}

is_built() { [[ -f $stamps/$1 && $(head -n 1 "$stamps/$1") == "$(recipe "$1")" ]]; }

# Source packages are looked up in lists of our own, from the mirrors of the machine; its own lists stay as they are.
source_lists() {
  local release uri suite
  # shellcheck source=/dev/null
  release=$(. /etc/os-release && echo "$VERSION_CODENAME")
  # shellcheck disable=SC2016
  apt-get indextargets --format '$(REPO_URI) $(RELEASE)' 'Created-By: Packages' 'Component: main' | sort -u |
    while read -r uri suite; do
      case $suite in
        "$release" | "$release-updates" | "$release-security") echo "deb-src $uri $suite main" ;;
      esac
    done
}

fetch_sources() {
  local name
  echo "Downloading the sources of: $*"
  mkdir -p "$work/apt/lists/partial" "$work/apt/cache/archives/partial"
  source_lists >"$work/apt/sources.list"
  cat >"$work/apt/apt.conf" <<TEXT
Dir::Etc::SourceList "$work/apt/sources.list";
Dir::Etc::SourceParts "/dev/null";
Dir::State::Lists "$work/apt/lists";
Dir::Cache "$work/apt/cache";
APT::Sandbox::User "$(id -un)";
TEXT
  export APT_CONFIG=$work/apt/apt.conf
  apt-get -qq update
  for name in "$@"; do
    fetch_source "$name"
  done
}

# fetch_source NAME: the newest source package that the mirror holds completely (apt checks what comes). Where it has
# none, the authors' own archive without Debian's changes.
fetch_source() {
  local package version
  package=$(source_package "$1")
  [[ -n $package ]] || return 0
  for version in $(apt-cache madison "$package" | awk '$NF == "Sources" { print $3 }' | sort -Vru); do
    empty "$work/sources/$1"
    ! (cd "$work/sources/$1" && apt-get -qq source --download-only "$package=$version") || return 0
    echo "The mirror does not hold all of $package $version."
  done
  empty "$work/sources/$1"
  echo "Taking $package without Debian's changes."
  (cd "$work/sources/$1" && apt-get -qq source --download-only --tar-only "$package")
}

empty() { rm -rf "$1" && mkdir -p "$1"; }

# unpack NAME: into $source, and what its authors or Debian say about its licence to what is built.
unpack() {
  local files=$work/sources/$1 licence
  if [[ -n $(binary_package "$1") ]]; then
    licence=/usr/share/doc/$(binary_package "$1")/copyright
  elif [[ -z $(source_package "$1") ]]; then
    return 0
  elif compgen -G "$files/*.dsc"; then
    dpkg-source -x "$files"/*.dsc "$source"
    licence=$source/debian/copyright
  else
    mkdir "$source"
    tar -C "$source" --strip-components=1 -xf "$files"/*.orig.tar.*
    licence=$source/COPYING
    [[ -f $licence ]] || licence=$source/LICENSE
  fi
  install -D -m 644 "$licence" "$prefix/share/licenses/$1.txt"
}

version() {
  if [[ -n $(binary_package "$1") ]]; then
    dpkg-query -W -f='${Version}' "$(binary_package "$1")"
  elif [[ -n $(source_package "$1") ]]; then
    basename -a "$work/sources/$1"/*.{dsc,orig.tar.*} 2>/dev/null | sed -n '1s/[^_]*_//; 1s/\.dsc$//; 1s/\.orig\.tar.*//; 1p'
  else
    echo "of its recipe"
  fi
}

# build_row NAME...: in a process of its own.
build_row() {
  local began
  log=/dev/null
  trap '[[ $? -eq 0 ]] || { tail -n 40 "$log"; echo "$name could not be built. The whole log: $log"; }' EXIT
  for name in "$@"; do
    ! is_built "$name" || continue
    began=$SECONDS log=$work/logs/$name.log source=$work/source/$name
    mkdir -p "$work/logs" "$work/source"
    rm -rf "$source"
    empty "$work/build/$name"
    (
      cd "$work/build/$name"
      unpack "$name"
      "build_$name"
    ) >"$log" 2>&1 </dev/null
    printf '%s\n' "$(recipe "$name")" "$(version "$name")" >"$stamps/$name"
    rm -rf "$work/build/$name"
    echo "Built $name in $((SECONDS - began)) s"
  done
}

mkdir -p "$work" "$stamps"
exec 9>"$work/lock"
flock 9

missing=()
# shellcheck disable=SC2048
for name in ${rows[*]}; do
  is_built "$name" || missing+=("$name")
done
if [[ ${#missing[@]} -gt 0 ]]; then
  fetch_sources "${missing[@]}"
  # With job control each row is a process group, and ends as a whole when this script does.
  set -m
  pids=()
  trap 'for pid in "${pids[@]}"; do kill -- "-$pid" 2>/dev/null || true; done' EXIT
  for row in "${rows[@]}"; do
    # shellcheck disable=SC2086
    build_row $row &
    pids+=($!)
  done
  for pid in "${pids[@]}"; do
    wait "$pid"
  done
  rm -rf "$work/sources" "$work/source" "$work/build"
fi
echo "$prefix" >&3
