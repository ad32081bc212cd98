#!/usr/bin/env bash
# Prepares a Debian machine for building MOXH5:
#   1. enables Debian's source package indexes (deb-src) if they are missing;
#   2. installs the native and cross build tools and Wine from Debian packages;
#   3. builds static jsoncpp, fmt, googletest and cpp-httplib (a header) for
#      each mingw target from Debian's source packages into <repo>/.deps/<triple>;
#   4. adds 32-bit Wine (i386 multiarch and wine32:i386), which runs the i686
#      tests, also while Debian's i386 index is out of step and on a kernel
#      without IA-32 emulation (see below); where that truly cannot be done
#      the i686 tests are reported as skipped with the reason;
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

SETUP_TAG=setup
# shellcheck source=tools/setup_common.sh
source "$ROOT/tools/setup_common.sh"

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
  dpkg-dev python3 llvm lld
  xvfb xauth
  # moxh5-devhost's HTTP library and the browser its tests drive
  libcpp-httplib-dev chromium
)

install_missing_packages "${PACKAGES[@]}"

# ----------------------------------------------------------- 32-bit Wine --
# The shipped DLL is the i686 one, so its tests need Wine's 32-bit side. Two
# things can stand in the way, and each is worked around rather than skipped:
#  - Debian's i386 security index can be out of step with amd64 (a mirror
#    mid-sync, or amd64 packages newer than any i386 build). wine32:i386 then
#    cannot share versions with the installed amd64 libraries. The install is
#    retried with the security suite pinned low, naming each library whose
#    installed amd64 version has no i386 twin at the version i386 offers.
#  - A kernel with IA-32 emulation off refuses every 32-bit ELF program. The
#    32-bit loader then runs through qemu's user-mode emulation, registered
#    with binfmt_misc (an i386 ELF handler; lost at reboot, registered again
#    by the next set-up run).
# Only a machine with no i386 packages at all, or no way to run them, is left
# without; the i686 tests then report as skipped with the reason.
wine32_installed() {
  [ "$(dpkg-query -W -f='${Status}' wine32:i386 2>/dev/null || true)" = "install ok installed" ]
}

i386_candidate() { apt-cache policy "$1:i386" 2>/dev/null | sed -n 's/^  Candidate: //p' || true; }

WINE32_PIN=/etc/apt/preferences.d/moxh5-wine32-security-low
# pkg:amd64=V pkg:i386=V for every library in wine32's dependencies whose
# installed amd64 version is newer than anything i386 offers: apt only ever
# installs one version of a library for both architectures.
wine32_version_skew() {
  local name installed candidate
  { apt-cache depends --recurse --no-recommends --no-suggests --no-conflicts \
      --no-breaks --no-replaces --no-enhances wine32:i386 2>/dev/null || true; } |
    sed -n 's/^\([a-z0-9][^ ]*\):i386$/\1/p' | sort -u |
    while read -r name; do
      installed=$(dpkg-query -W -f='${Status} ${Version}' "$name:amd64" 2>/dev/null |
                  sed -n 's/^install ok installed //p' || true)
      [ -n "$installed" ] || continue
      candidate=$(i386_candidate "$name")
      [ -n "$candidate" ] && [ "$candidate" != "(none)" ] || continue
      dpkg --compare-versions "$candidate" lt "$installed" || continue
      printf '%s:amd64=%s\n%s:i386=%s\n' "$name" "$candidate" "$name" "$candidate"
    done
}

install_wine32_pinned() {
  local skew status=0
  printf 'Package: *\nPin: release l=Debian-Security\nPin-Priority: 100\n' |
    as_root tee "$WINE32_PIN" >/dev/null
  mapfile -t skew < <(wine32_version_skew)
  [ ${#skew[@]} -eq 0 ] || log "32-bit Wine: versions matched across architectures: ${skew[*]}"
  as_root apt-get install -y -qq --no-install-recommends --allow-downgrades \
    wine32:i386 "${skew[@]}" || status=$?
  as_root rm -f "$WINE32_PIN"
  return "$status"
}

try_install_wine32() {
  local added=0 wlog candidate
  wlog=$(mktemp)
  if ! dpkg --print-foreign-architectures | grep -qx i386; then
    as_root dpkg --add-architecture i386 || return 1
    added=1
  fi
  # A failed update (one index mid-sync) still leaves the others usable.
  as_root apt-get update -qq >"$wlog" 2>&1 || log "apt-get update reported errors (continuing):"$'\n'"$(grep -m2 '^E:' "$wlog" || true)"
  candidate=$(i386_candidate wine32)
  if [ -z "$candidate" ] || [ "$candidate" = "(none)" ]; then
    log "32-bit Wine: no i386 packages are offered by the APT sources"
  elif as_root apt-get install -y -qq --no-install-recommends wine32:i386 >>"$wlog" 2>&1 ||
       install_wine32_pinned >>"$wlog" 2>&1; then
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

# Whether this kernel starts 32-bit x86 programs (natively or through a
# registered binfmt handler): Wine's own 32-bit loader is the probe.
runs_32bit_programs() { /usr/lib/wine/wine --version >/dev/null 2>&1; }

BINFMT=/proc/sys/fs/binfmt_misc
I386_HANDLER=moxh5-i386
register_i386_emulation() {
  if ! command -v qemu-i386 >/dev/null 2>&1; then
    apt_update_once
    log "installing: qemu-user (this kernel does not run 32-bit programs itself)"
    as_root apt-get install -y -qq --no-install-recommends qemu-user >/dev/null || return 1
  fi
  [ -e "$BINFMT/register" ] || as_root mount -t binfmt_misc binfmt_misc "$BINFMT" || return 1
  [ -e "$BINFMT/$I386_HANDLER" ] && as_root sh -c "echo -1 > $BINFMT/$I386_HANDLER"
  # Matches any i386 ELF executable or shared object (e_machine 3).
  printf '%s' ":$I386_HANDLER:M::"'\x7fELF\x01\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\x03\x00:\xff\xff\xff\xff\xff\xfe\xfe\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff'":$(command -v qemu-i386):" |
    as_root tee "$BINFMT/register" >/dev/null
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
if wine32_installed && [ "${MOXH5_SKIP_WINE32:-0}" != 1 ] && ! runs_32bit_programs; then
  if register_i386_emulation && runs_32bit_programs; then
    log "32-bit Wine: runs through qemu user emulation (binfmt handler $I386_HANDLER)"
  else
    log "warning: this kernel does not run 32-bit programs and qemu user emulation could not be set up; the i686 tests will be reported as skipped"
  fi
fi

# ---------------------------------------------------------------- page kit --
install_page_kit

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
