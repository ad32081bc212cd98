# Shared by tools/setup.sh and tools/setup-page.sh (sourced, not run): root
# access, apt installs of what is missing, and npm ci from the lockfile.
# The sourcing script sets ROOT and SETUP_TAG (its log prefix) first.

log() { printf '[%s] %s\n' "$SETUP_TAG" "$*"; }
die() { printf '[%s] error: %s\n' "$SETUP_TAG" "$*" >&2; exit 1; }

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

missing_packages() {
  local p status
  for p in "$@"; do
    status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
    [ "$status" = "install ok installed" ] || printf '%s\n' "$p"
  done
}

# Installs the named Debian packages that are not installed yet.
install_missing_packages() {
  local missing
  mapfile -t missing < <(missing_packages "$@")
  if [ ${#missing[@]} -gt 0 ]; then
    apt_update_once
    log "installing: ${missing[*]}"
    as_root apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
  else
    log "packages: all installed"
  fi
}

# Node.js (any, Debian's by default) and the npm packages of the page kit
# (package-lock.json): TypeScript, esbuild and playwright-core, which never
# downloads a browser. npm ci runs again only when the lockfile changed since
# the last run (a stamp in node_modules holds its checksum).
install_page_kit() {
  local stamp="$ROOT/node_modules/.moxh5-lock-sha256" lock_sum
  if ! command -v node >/dev/null 2>&1 || ! command -v npm >/dev/null 2>&1; then
    apt_update_once
    log "installing: nodejs npm"
    as_root apt-get install -y -qq --no-install-recommends nodejs npm >/dev/null
  fi
  lock_sum=$(sha256sum "$ROOT/package-lock.json" | cut -d' ' -f1)
  if [ "$(cat "$stamp" 2>/dev/null)" != "$lock_sum" ]; then
    log "npm ci"
    (cd "$ROOT" && PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 npm ci --no-audit --no-fund --loglevel=error)
    printf '%s\n' "$lock_sum" >"$stamp"
  else
    log "npm packages: installed"
  fi
}
