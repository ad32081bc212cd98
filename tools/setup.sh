#!/usr/bin/env bash
# Prepares a Debian machine for building MOXH5:
#   1. enables Debian's source package indexes (deb-src) if they are missing;
#   2. installs the native and cross build tools and Wine from Debian packages;
#   3. builds static jsoncpp, fmt, googletest and cpp-httplib (a header) for
#      each mingw target from Debian's source packages into <repo>/.deps/<triple>;
#   4. tries to add 32-bit Wine (i386 multiarch and wine32:i386), which runs
#      the i686 tests; where that fails they are reported as skipped;
#   5. creates the Wine prefix used to run cross-built tests.
# Safe to run again: installed packages, built dependencies (one stamp file per
# package and version) and an existing Wine prefix are left alone, so a second
# run takes well under a second.
#
# Environment:
#   MOXH5_TRIPLES      mingw targets to build for
#                      (default "x86_64-w64-mingw32 i686-w64-mingw32")
#   MOXH5_SKIP_WINE=1  do not create the Wine prefix
#   MOXH5_SKIP_WINE32=1  do not try to install 32-bit Wine
#   WINEPREFIX         Wine prefix to create (default: see cmake/toolchains/wine-run.sh)
set -euo pipefail
shopt -s inherit_errexit

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
DEPS="$ROOT/.deps"
TRIPLES=${MOXH5_TRIPLES:-"x86_64-w64-mingw32 i686-w64-mingw32"}

log() { printf '[setup] %s\n' "$*"; }
die() { printf '[setup] error: %s\n' "$*" >&2; exit 1; }

SUDO=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null 2>&1 || die "must run as root (sudo not available)"
  SUDO=(sudo)
fi
as_root() { "${SUDO[@]}" "$@"; }

export DEBIAN_FRONTEND=noninteractive

APT_UPDATED=0
apt_update_once() {
  [ "$APT_UPDATED" = 1 ] && return 0
  log "apt-get update"
  as_root apt-get update -qq
  APT_UPDATED=1
}

# ------------------------------------------------- source package indexes --
SRC_SOURCES=/etc/apt/sources.list.d/moxh5-src.sources
SRC_LIST=/etc/apt/sources.list.d/moxh5-src.list

deb_src_present() {
  local f
  for f in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ -f "$f" ] && grep -Eqs '^[[:space:]]*deb-src[[:space:]]' "$f" && return 0
  done
  for f in /etc/apt/sources.list.d/*.sources; do
    [ -f "$f" ] && grep -Eqis '^Types:.*deb-src' "$f" && return 0
  done
  return 1
}

# Copies every 'deb' stanza of a deb822 file as a 'deb-src' stanza, keeping
# URIs, Suites, Components, Signed-By and the like; drops Architectures and
# comments, which do not apply to source indexes.
deb822_to_src() {
  awk '
    function flush() {
      if (n > 0 && isdeb) {
        if (printed) print ""
        print "Types: deb-src"
        for (i = 1; i <= n; i++) print lines[i]
        printed = 1
      }
      n = 0; isdeb = 0; inarch = 0
    }
    /^[[:space:]]*$/ { flush(); next }
    /^#/ { next }
    /^[Tt]ypes:/ { if ($0 ~ /(^|[: \t])deb([ \t]|$)/) isdeb = 1; inarch = 0; next }
    /^[Aa]rchitectures:/ { inarch = 1; next }
    /^[ \t]/ { if (!inarch) lines[++n] = $0; next }
    { inarch = 0; lines[++n] = $0 }
    END { flush() }
  ' "$1"
}

# Turns classic "deb [opts] uri suite comps" lines for Debian's archive into
# "deb-src" lines with the same options (signed-by etc.).
list_to_src() {
  sed -nE 's/^[[:space:]]*deb[[:space:]]+(.*debian.*)$/deb-src \1/p' "$1"
}

if ! deb_src_present; then
  tmp=$(mktemp)
  if [ -f /etc/apt/sources.list.d/debian.sources ]; then
    deb822_to_src /etc/apt/sources.list.d/debian.sources >"$tmp"
    target=$SRC_SOURCES
  elif [ -f /etc/apt/sources.list ]; then
    list_to_src /etc/apt/sources.list >"$tmp"
    target=$SRC_LIST
  else
    rm -f "$tmp"
    die "no APT source list found to derive deb-src entries from"
  fi
  [ -s "$tmp" ] || { rm -f "$tmp"; die "no Debian 'deb' entries found to derive deb-src entries from"; }
  as_root install -m 0644 "$tmp" "$target"
  rm -f "$tmp"
  log "added source entries: $target"
fi

# ---------------------------------------------------------------- packages --
PACKAGES=(
  build-essential cmake ninja-build pkg-config
  clang libclang-rt-14-dev
  libjsoncpp-dev libfmt-dev libgtest-dev libgmock-dev libbenchmark-dev
  mingw-w64 g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix binutils-mingw-w64
  wine wine64
  dpkg-dev python3 llvm
  xvfb xauth
  # moxh5-devhost's HTTP library and the browser its tests drive
  libcpp-httplib-dev chromium
)

missing_packages() {
  local p status
  for p in "$@"; do
    status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
    [ "$status" = "install ok installed" ] || printf '%s\n' "$p"
  done
}

mapfile -t missing < <(missing_packages "${PACKAGES[@]}")
if [ ${#missing[@]} -gt 0 ]; then
  apt_update_once
  log "installing: ${missing[*]}"
  as_root apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
else
  log "packages: all installed"
fi

# ----------------------------------------------------------- 32-bit Wine --
# Optional: without it the i686 tests are skipped, so a failure here (Debian's
# i386 indexes can be mid-sync) is logged and set-up goes on. An i386
# architecture added here is removed again when wine32 cannot be installed, so
# that a broken i386 index does not fail later apt-get runs.
wine32_installed() {
  [ "$(dpkg-query -W -f='${Status}' wine32:i386 2>/dev/null || true)" = "install ok installed" ]
}

try_install_wine32() {
  local added=0 wlog
  wlog=$(mktemp)
  if ! dpkg --print-foreign-architectures | grep -qx i386; then
    as_root dpkg --add-architecture i386 || return 1
    added=1
  fi
  if as_root apt-get update -qq >"$wlog" 2>&1 &&
     as_root apt-get install -y -qq --no-install-recommends wine32:i386 >>"$wlog" 2>&1; then
    rm -f "$wlog"
    return 0
  fi
  sed 's/^/[setup]   /' "$wlog" | tail -n 8
  rm -f "$wlog"
  if [ "$added" = 1 ]; then
    as_root dpkg --remove-architecture i386 || true
    as_root apt-get update -qq >/dev/null 2>&1 || true
  fi
  return 1
}

# A failed attempt is retried after a day, so that set-up stays fast.
WINE32_FAILED="$DEPS/.wine32-failed"
if [ "${MOXH5_SKIP_WINE32:-0}" = 1 ]; then
  log "32-bit Wine: not tried (MOXH5_SKIP_WINE32=1)"
elif wine32_installed; then
  log "32-bit Wine: installed"
elif [ -n "$(find "$WINE32_FAILED" -mtime -1 2>/dev/null)" ]; then
  log "32-bit Wine: not available (last attempt less than a day ago; remove $WINE32_FAILED to retry)"
elif try_install_wine32; then
  rm -f "$WINE32_FAILED"
  log "32-bit Wine: installed wine32:i386"
else
  mkdir -p "$DEPS" && touch "$WINE32_FAILED"
  log "warning: 32-bit Wine could not be installed; the i686 tests will be reported as skipped"
fi

# ---------------------------------------------------------------- page kit --
# Node.js and the npm packages of the page SDK (package-lock.json): TypeScript,
# esbuild and playwright-core, which never downloads a browser. npm ci runs
# again only when the lockfile changed since the last run (a stamp in
# node_modules holds its checksum).
if ! command -v node >/dev/null 2>&1 || ! command -v npm >/dev/null 2>&1; then
  apt_update_once
  log "installing: nodejs npm"
  as_root apt-get install -y -qq --no-install-recommends nodejs npm >/dev/null
fi
NPM_STAMP="$ROOT/node_modules/.moxh5-lock-sha256"
lock_sum=$(sha256sum "$ROOT/package-lock.json" | cut -d' ' -f1)
if [ "$(cat "$NPM_STAMP" 2>/dev/null)" != "$lock_sum" ]; then
  log "npm ci"
  (cd "$ROOT" && PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 npm ci --no-audit --no-fund --loglevel=error)
  printf '%s\n' "$lock_sum" >"$NPM_STAMP"
else
  log "npm packages: installed"
fi

# ------------------------------------------------------- dependency builds --
# key | Debian source package | binary package whose version is matched
DEP_LIST=(
  "jsoncpp|libjsoncpp|libjsoncpp-dev"
  "fmt|fmtlib|libfmt-dev"
  "googletest|googletest|libgtest-dev"
  "cpp-httplib|cpp-httplib|libcpp-httplib-dev"
)

cmake_args_for() {
  case "$1" in
    jsoncpp)
      echo -DJSONCPP_WITH_TESTS=OFF -DJSONCPP_WITH_POST_BUILD_UNITTEST=OFF \
        -DJSONCPP_WITH_EXAMPLE=OFF -DJSONCPP_WITH_PKGCONFIG_SUPPORT=OFF \
        -DJSONCPP_WITH_CMAKE_PACKAGE=ON \
        -DBUILD_SHARED_LIBS=OFF -DBUILD_STATIC_LIBS=ON -DBUILD_OBJECT_LIBS=OFF ;;
    fmt)
      echo -DFMT_TEST=OFF -DFMT_DOC=OFF -DFMT_INSTALL=ON -DBUILD_SHARED_LIBS=OFF ;;
    googletest)
      # gtest uses Windows threads on this target; with pthreads disabled the
      # exported targets carry no Threads dependency.
      echo -DBUILD_GMOCK=ON -DINSTALL_GTEST=ON -Dgtest_disable_pthreads=ON \
        -Dgtest_build_tests=OFF -Dgtest_build_samples=OFF -Dgmock_build_tests=OFF \
        -DBUILD_SHARED_LIBS=OFF ;;
    cpp-httplib)
      # Installed as the single header; TLS and compression are not used.
      echo -DHTTPLIB_COMPILE=OFF -DHTTPLIB_USE_OPENSSL_IF_AVAILABLE=OFF \
        -DHTTPLIB_USE_ZLIB_IF_AVAILABLE=OFF -DHTTPLIB_USE_BROTLI_IF_AVAILABLE=OFF ;;
  esac
}

# Source version of the installed Debian binary package (e.g. 1.9.5-4), so the
# cross-built library matches the native one.
installed_source_version() {
  dpkg-query -W -f='${source:Version}' "$1" 2>/dev/null
}

stamp_path() { printf '%s/%s/.stamp-%s-%s' "$DEPS" "$1" "$2" "$3"; }

source_versions() {
  apt-cache showsrc --only-source "$1" 2>/dev/null | awk '/^Version:/{print $2}' || true
}

# Prints the extracted source directory of SRC at version VER, fetching and
# unpacking (with Debian's patches applied) on first use. Falls back to the
# newest available version, with a warning, when VER is no longer in the
# archive.
fetch_source() {
  local src=$1 ver=$2 want have dir tmp dsc
  if [ -d "$DEPS/src/$src-$ver" ]; then printf '%s\n' "$DEPS/src/$src-$ver"; return 0; fi
  have=$(source_versions "$src")
  [ -n "$have" ] || die "source package $src not found (deb-src entries missing?)"
  want=$ver
  if ! grep -qxF "$ver" <<<"$have"; then
    want=$(sort -V <<<"$have" | tail -n 1)
    log "warning: $src $ver is not in the archive, using $want" >&2
  fi
  dir="$DEPS/src/$src-$want"
  if [ -d "$dir" ]; then printf '%s\n' "$dir"; return 0; fi
  log "fetching source $src $want" >&2
  tmp=$(mktemp -d "$DEPS/src/.fetch-$src.XXXXXX")
  (cd "$tmp" && apt-get source -qq --download-only "$src=$want" >/dev/null 2>"$tmp.err") ||
    { cat "$tmp.err" >&2; rm -rf "$tmp" "$tmp.err"; die "apt-get source $src=$want failed"; }
  dsc=$(ls "$tmp"/*.dsc)
  (cd "$tmp" && dpkg-source -x "$dsc" tree >/dev/null 2>"$tmp.err") ||
    { cat "$tmp.err" >&2; rm -rf "$tmp" "$tmp.err"; die "unpacking $dsc failed"; }
  mv "$tmp/tree" "$dir"
  rm -rf "$tmp" "$tmp.err"
  printf '%s\n' "$dir"
}

build_dep() {
  local triple=$1 key=$2 srcdir=$3 stamp=$4 ver=$5
  local prefix="$DEPS/$triple" bdir="$DEPS/build/$triple/$key" blog
  local toolchain="$ROOT/cmake/toolchains/$triple.cmake"
  [ -f "$toolchain" ] || die "missing toolchain file $toolchain"
  # Remove what an earlier build of this package installed.
  if [ -f "$bdir/install_manifest.txt" ]; then
    xargs -d '\n' rm -f <"$bdir/install_manifest.txt" || true
  fi
  rm -f "$prefix/.stamp-$key-"*
  rm -rf "$bdir"
  mkdir -p "$bdir" "$prefix"
  blog="$bdir/setup.log"
  log "building $key $ver for $triple"
  # shellcheck disable=SC2046  # the option list is meant to split into words
  if ! {
      cmake -G Ninja -S "$srcdir" -B "$bdir" \
        -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
        -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_INSTALL_PREFIX="$prefix" \
        -DCMAKE_INSTALL_LIBDIR=lib \
        $(cmake_args_for "$key") &&
      cmake --build "$bdir" &&
      cmake --install "$bdir"
    } >"$blog" 2>&1; then
    tail -n 40 "$blog" >&2
    die "building $key for $triple failed (full log: $blog)"
  fi
  printf '%s\n' "$ver" >"$stamp"
}

needs_build=0
for triple in $TRIPLES; do
  for entry in "${DEP_LIST[@]}"; do
    IFS='|' read -r key src bin <<<"$entry"
    ver=$(installed_source_version "$bin") || die "$bin is not installed"
    [ -e "$(stamp_path "$triple" "$key" "$ver")" ] || needs_build=1
  done
done

if [ "$needs_build" = 0 ]; then
  log "mingw dependencies: up to date"
else
  mkdir -p "$DEPS/src"
  # Keeps everything in .deps out of git even without the repo's .gitignore.
  [ -f "$DEPS/.gitignore" ] || printf '*\n' >"$DEPS/.gitignore"

  # Source indexes are fetched only when a needed source package is unknown
  # (first run, or deb-src entries just added).
  for entry in "${DEP_LIST[@]}"; do
    IFS='|' read -r key src bin <<<"$entry"
    [ -n "$(source_versions "$src")" ] || { apt_update_once; break; }
  done

  for entry in "${DEP_LIST[@]}"; do
    IFS='|' read -r key src bin <<<"$entry"
    ver=$(installed_source_version "$bin")
    srcdir=""
    for triple in $TRIPLES; do
      stamp=$(stamp_path "$triple" "$key" "$ver")
      [ -e "$stamp" ] && continue
      [ -n "$srcdir" ] || srcdir=$(fetch_source "$src" "$ver")
      build_dep "$triple" "$key" "$srcdir" "$stamp" "${srcdir##*/"$src"-}"
    done
  done
  log "mingw dependencies: installed in $DEPS/<triple>"
fi

# ------------------------------------------------------------- Wine prefix --
if [ "${MOXH5_SKIP_WINE:-0}" != 1 ]; then
  "$ROOT/cmake/toolchains/wine-run.sh" --init ||
    die "Wine prefix could not be created"
  log "wine prefix: ready"
fi

log "done"
