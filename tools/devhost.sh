#!/usr/bin/env bash
# Runs a page folder in the browser against the real library:
#   bash tools/devhost.sh [FOLDER] [moxh5-devhost options, e.g. --port 8080]
# Sets the machine up for page work only (tools/setup-page.sh: native build,
# Node.js, Chromium; MOXH5_SKIP_SETUP=1 skips it), builds moxh5-devhost and
# the page SDK, then serves FOLDER (default: the sample page, examples/page) on
# 127.0.0.1 and prints the page's and the control panel's addresses. The token
# is kept in build/dev/devhost-token, so that after a restart on the same
# --port open pages reconnect by themselves.
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
FOLDER=$(cd "${1:-$ROOT/examples/page}" && pwd)
shift || true
cd "$ROOT"

if [ "${MOXH5_SKIP_SETUP:-0}" != 1 ]; then
    bash tools/setup-page.sh
fi
cmake --preset dev >/dev/null
cmake --build --preset dev --target moxh5-devhost
node sdk/build.mjs
exec ./build/dev/bin/moxh5-devhost --sdk sdk/dist/moxh5-sdk.js --token-file build/dev/devhost-token "$@" "$FOLDER"
