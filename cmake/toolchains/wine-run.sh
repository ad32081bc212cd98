#!/usr/bin/env bash
# Runs a Windows program under Wine and exits with the program's exit code.
# Used as CMAKE_CROSSCOMPILING_EMULATOR, so CTest, gtest discovery and try_run
# can execute cross-built .exe files.
#
#   wine-run.sh PROGRAM.exe [ARGS...]
#   wine-run.sh --init          create the Wine prefix if needed, then exit
#   wine-run.sh --start-server  keep one wineserver alive for a test run
#   wine-run.sh --stop-server   stop the wineserver --start-server started
#
# Exit codes of its own, each with a message on stderr:
#   77   the program is 32-bit and 32-bit Wine (Debian: wine32:i386) is not
#        installed; the test runner reports the test as skipped
#   126  the installed Wine cannot run a program of the program's
#        architecture (its 32-bit side is installed but does not work)
#   127  Wine is missing, the prefix cannot be made, or PROGRAM is not a
#        Windows program
#
# Environment:
#   WINEPREFIX   Wine prefix to use; default $HOME/.wine-moxh5 (or, without a
#                usable HOME, ${TMPDIR:-/tmp}/wine-moxh5-<uid>).
#   WINEDEBUG    default -all (no Wine diagnostics mixed into test output).
#   WINEPATH     extra Windows-side directories searched for DLLs.
#   MOXH5_WINE   Wine loader to use instead of the automatic choice.
# Works without DISPLAY for console programs, the clipboard included (Wine's
# null display driver keeps it in the wineserver); set DISPLAY (e.g. an Xvfb)
# for programs that need a real display.
set -uo pipefail

die() { printf 'wine-run.sh: %s\n' "$*" >&2; exit 127; }
cannot_run() {
  local code=$1
  shift
  printf 'wine-run.sh: NOT RUN: %s\n' "$*" >&2
  exit "$code"
}

[ $# -ge 1 ] || die "usage: wine-run.sh PROGRAM.exe [ARGS...] | --init | --start-server | --stop-server"

# PE machine type of a file: prints 8664 (x86_64), 14c (i386) or nothing.
pe_machine() {
  local off
  off=$(od -An -t u4 -j 60 -N 4 "$1" 2>/dev/null | tr -d ' ') || return 0
  [ -n "$off" ] || return 0
  od -An -t x2 -j $((off + 4)) -N 2 "$1" 2>/dev/null | tr -d ' ' | sed 's/^0*//'
}

# The 64-bit loader, where there is one.
wine64_loader() {
  command -v wine64 2>/dev/null || { [ -x /usr/lib/wine/wine64 ] && printf '%s\n' /usr/lib/wine/wine64; }
}

# Choose the loader: a 64-bit program prefers wine64, a 32-bit one needs the
# 'wine' front end (which needs Wine's 32-bit side to be installed).
pick_wine() {
  if [ -n "${MOXH5_WINE:-}" ]; then printf '%s\n' "$MOXH5_WINE"; return; fi
  local machine=""
  [ -f "$1" ] && machine=$(pe_machine "$1")
  if [ "$machine" != "14c" ] && wine64_loader; then
    return
  elif command -v wine >/dev/null 2>&1; then
    command -v wine
  elif command -v wine64 >/dev/null 2>&1; then
    command -v wine64
  else
    die "Wine is not installed (run tools/setup.sh)"
  fi
}

WINE_BIN=$(pick_wine "$1") || exit 127

OWN_PREFIX=0
if [ -z "${WINEPREFIX:-}" ]; then
  OWN_PREFIX=1
  if [ -n "${HOME:-}" ] && [ -d "$HOME" ] && [ -w "$HOME" ]; then
    WINEPREFIX="$HOME/.wine-moxh5"
  else
    WINEPREFIX="${TMPDIR:-/tmp}/wine-moxh5-$(id -u)"
  fi
fi
export WINEPREFIX
export WINEDEBUG="${WINEDEBUG:--all}"
# No Mono / Gecko install prompts: those components are simply disabled.
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"

ready="$WINEPREFIX/.moxh5-ready"

init_prefix() {
  local parent lock log
  parent=$(dirname "$WINEPREFIX")
  mkdir -p "$parent" || die "cannot create $parent"
  lock="$WINEPREFIX.lock"
  log="$WINEPREFIX.init.log"
  # One process initialises the prefix; parallel test runs wait for it.
  exec 9>"$lock" || die "cannot open $lock"
  flock 9 || die "cannot lock $lock"
  if [ ! -e "$ready" ]; then
    # Also completes a prefix left half-made by an interrupted first start, or
    # adopts an existing prefix given in WINEPREFIX (wineboot -i keeps its data).
    printf 'wine-run.sh: initialising Wine prefix %s (first start only)\n' "$WINEPREFIX" >&2
    if ! (
        unset DISPLAY WAYLAND_DISPLAY
        # A 64-bit prefix runs 64-bit and (with Wine's 32-bit side) 32-bit programs.
        if [ -z "${WINEARCH:-}" ] && { command -v wine64 >/dev/null 2>&1 || [ -x /usr/lib/wine/wine64 ]; }; then
          export WINEARCH=win64
        fi
        "$WINE_BIN" wineboot.exe -i && wineserver_wait
      ) >"$log" 2>&1; then
      flock -u 9
      die "could not create Wine prefix $WINEPREFIX (see $log)"
    fi
    touch "$ready"
  fi
  flock -u 9
  exec 9>&-
}

# Waits until the prefix's wineserver has finished the start-up work, so that
# the registry is complete on disk before the prefix is marked ready.
wineserver_wait() {
  local server
  server=$(command -v wineserver 2>/dev/null || true)
  [ -n "$server" ] || server=$(dirname "$WINE_BIN")/wineserver
  if [ -x "$server" ]; then "$server" -w; fi
  return 0
}

# The wineserver of this Wine installation, without the wrapper's -p0.
wineserver_bin() {
  local server
  for server in "$(dirname "$WINE_BIN")/wineserver64" /usr/lib/wine/wineserver64 \
                "$(dirname "$WINE_BIN")/wineserver"; do
    [ -x "$server" ] && [ ! -d "$server" ] && { printf '%s\n' "$server"; return 0; }
  done
  command -v wineserver 2>/dev/null || die "wineserver not found"
}

# Whether a wineserver serves the prefix now: waiting for it returns at once
# when there is none.
server_running() {
  local server
  server=$(wineserver_bin)
  ! timeout 1 "$server" -w >/dev/null 2>&1
}

# A test run starts one persistent wineserver, so that no program meets a
# server on its way out between two tests, and stops it at the end. A server
# still running from an earlier program is given ten seconds to exit; one that
# stays (another run on the same prefix) is used and left alone.
server_marker="$WINEPREFIX.persistent-server"
start_server() {
  if server_running; then
    timeout 10 "$(wineserver_bin)" -w >/dev/null 2>&1 || true
    if server_running; then return 0; fi
  fi
  "$(wineserver_bin)" -p </dev/null >/dev/null 2>&1 || die "could not start wineserver -p"
  printf '%s\n' "$$" >"$server_marker"
}
stop_server() {
  [ -e "$server_marker" ] || return 0
  rm -f "$server_marker"
  "$(wineserver_bin)" -k >/dev/null 2>&1 || true
}

# A 32-bit program needs Wine's 32-bit loader, and a prefix that has run a
# 32-bit program: its own 32-bit cmd.exe answering with a chosen exit code
# proves both. Without the loader Wine would report success without running
# anything. The proof is kept per prefix until the loader changes.
require_32bit_wine() {
  local loader=/usr/lib/wine/wine proof="$WINEPREFIX/.moxh5-wine32-ok" stamp status
  if [ -z "${MOXH5_WINE:-}" ] && [ ! -x "$loader" ]; then
    cannot_run 77 "$1 is a 32-bit program and 32-bit Wine is not installed (Debian: wine32:i386; tools/setup.sh tries to install it)"
  fi
  if [ -z "${MOXH5_WINE:-}" ] && ! "$loader" --version >/dev/null 2>&1; then
    cannot_run 77 "$1 is a 32-bit program and this kernel does not start 32-bit programs (IA-32 emulation off, no i386 binfmt handler; tools/setup.sh registers qemu-i386 as one)"
  fi
  stamp=$(stat -c %Y "$loader" 2>/dev/null || echo custom)
  [ "$(cat "$proof" 2>/dev/null)" = "$stamp" ] && return 0
  "$WINE_BIN" 'C:\windows\syswow64\cmd.exe' /c exit 7 </dev/null >/dev/null 2>&1
  status=$?
  if [ "$status" != 7 ] && prefix_lacks_32bit_side; then
    cannot_run 126 "$1 is a 32-bit program and $WINEPREFIX was made before 32-bit Wine was installed (empty syswow64); point WINEPREFIX at a new directory"
  fi
  [ "$status" = 7 ] ||
    cannot_run 126 "$1 is a 32-bit program and $WINE_BIN cannot run 32-bit programs in $WINEPREFIX (probe exit status $status)"
  printf '%s\n' "$stamp" >"$proof"
}

# A prefix made while only 64-bit Wine was installed has an empty syswow64 and
# can never run a 32-bit program: neither wineboot -u nor -i fills it in. The
# default prefix holds nothing but what this script put there, so it is made
# again; a prefix the caller chose is reported instead (exit 126 on use).
prefix_lacks_32bit_side() {
  [ -x /usr/lib/wine/wine ] && [ -e "$ready" ] &&
    [ ! -e "$WINEPREFIX/drive_c/windows/syswow64/kernel32.dll" ]
}
remake_prefix() {
  exec 8>"$WINEPREFIX.lock" && flock 8 || die "cannot lock $WINEPREFIX.lock"
  if prefix_lacks_32bit_side; then
    printf 'wine-run.sh: %s was made before 32-bit Wine was installed; making it again\n' "$WINEPREFIX" >&2
    "$(wineserver_bin)" -k >/dev/null 2>&1 || true
    rm -rf -- "$WINEPREFIX"
  fi
  flock -u 8
  exec 8>&-
}
if [ "$OWN_PREFIX" = 1 ] && prefix_lacks_32bit_side; then remake_prefix; fi

[ -e "$ready" ] || init_prefix

case "$1" in
  --init) exit 0 ;;
  --start-server) start_server; exit 0 ;;
  --stop-server) stop_server; exit 0 ;;
esac

[ -f "$1" ] || die "no such program: $1"
case "$(pe_machine "$1")" in
  8664) ;;
  14c) require_32bit_wine "$1" ;;
  *) die "$1 is not an x86 or x86_64 Windows program" ;;
esac

# Wine's background processes (wineserver, services.exe, winedevice.exe, ...)
# are started by the first Wine program of a session and inherit its stdout and
# stderr. Under CTest they would hold the test's output pipes open until Wine
# shuts down, adding seconds to every test. Start them here, detached from our
# output; the program below then joins the running session (costs ~40 ms when
# a session is already up). The 64-bit loader does this where there is one:
# the prefix's cmd.exe is a 64-bit program, and handing it to the 32-bit loader
# first starts a 32-bit process, which costs a minute or more where 32-bit code
# runs under emulation.
primer=$WINE_BIN
if [ -z "${MOXH5_WINE:-}" ]; then primer=$(wine64_loader) || primer=$WINE_BIN; fi
"$primer" cmd.exe /c exit 0 </dev/null >/dev/null 2>&1 || true

# The program's exit status is Wine's exit status. Rarely (about one start in
# a hundred) Wine exits 1 before the program runs, printing nothing. A run that
# ends that way is started once more and says so on stderr; a program that
# does fail that way fails again and is reported with its own status. Input
# from a pipe cannot be replayed, so such runs get no second start.
if [ -p /dev/stdin ]; then exec "$WINE_BIN" "$@"; fi
printed=$(mktemp "${TMPDIR:-/tmp}/wine-run.XXXXXX") || exec "$WINE_BIN" "$@"
trap 'rm -f "$printed" "$printed.status"' EXIT
# Both streams pass through as they come and are also copied to $printed; the
# pipeline returns only when both copies are complete.
run_counting_output() {
  : >"$printed"
  { { "$WINE_BIN" "$@"; echo $? >"$printed.status"; } 2>&1 1>&3 3>&- |
      tee -a "$printed" >&2; } 3>&1 | tee -a "$printed"
  return "$(cat "$printed.status" 2>/dev/null || echo 127)"
}
run_counting_output "$@"
status=$?
if [ "$status" = 1 ] && [ ! -s "$printed" ]; then
  printf 'wine-run.sh: Wine exited 1 without output (a failed start); starting %s once more\n' "$1" >&2
  run_counting_output "$@"
  status=$?
fi
exit "$status"
