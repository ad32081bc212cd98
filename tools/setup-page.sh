#!/usr/bin/env bash
# Prepares a Debian machine for page development against the dev host, and
# nothing more: the native build tools and libraries moxh5-devhost needs
# (its HTTP library included), Node.js with the page kit's npm packages from
# package-lock.json, and Debian's Chromium for the browser tests. No Windows
# cross-build, no Wine (tools/setup.sh sets those up for the library's own
# developers). Safe to run again: a second run installs nothing.
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

log() { printf '[setup-page] %s\n' "$*"; }
die() { printf '[setup-page] error: %s\n' "$*" >&2; exit 1; }

SUDO=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null 2>&1 || die "must run as root (sudo not available)"
  SUDO=(sudo)
fi
as_root() { "${SUDO[@]}" "$@"; }
export DEBIAN_FRONTEND=noninteractive

PACKAGES=(
  build-essential cmake ninja-build pkg-config python3
  libjsoncpp-dev libfmt-dev libgtest-dev libgmock-dev
  libcpp-httplib-dev chromium
)
missing=()
for p in "${PACKAGES[@]}"; do
  [ "$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)" = "install ok installed" ] || missing+=("$p")
done
# Node.js from anywhere will do (Debian's, or one that brings its own npm).
if ! command -v node >/dev/null 2>&1 || ! command -v npm >/dev/null 2>&1; then
  missing+=(nodejs npm)
fi
if [ ${#missing[@]} -gt 0 ]; then
  log "apt-get update"
  as_root apt-get update -qq
  log "installing: ${missing[*]}"
  as_root apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
else
  log "packages: all installed"
fi

# The same stamp as tools/setup.sh: npm ci runs again only for a new lockfile.
NPM_STAMP="$ROOT/node_modules/.moxh5-lock-sha256"
lock_sum=$(sha256sum "$ROOT/package-lock.json" | cut -d' ' -f1)
if [ "$(cat "$NPM_STAMP" 2>/dev/null)" != "$lock_sum" ]; then
  log "npm ci"
  (cd "$ROOT" && PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 npm ci --no-audit --no-fund --loglevel=error)
  printf '%s\n' "$lock_sum" >"$NPM_STAMP"
else
  log "npm packages: installed"
fi
