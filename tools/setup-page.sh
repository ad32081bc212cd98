#!/usr/bin/env bash
# Prepares a Debian machine for page development against the dev host, and
# nothing more: the native build tools and libraries moxh5-devhost needs
# (its HTTP library included), Node.js with the page kit's npm packages from
# package-lock.json, and Debian's Chromium for the browser tests. No Windows
# cross-build, no Wine (tools/setup.sh sets those up for the library's own
# developers). Safe to run again: a second run installs nothing.
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

SETUP_TAG=setup-page
# shellcheck source=tools/setup_common.sh
source "$ROOT/tools/setup_common.sh"

PACKAGES=(
  build-essential cmake ninja-build pkg-config python3
  libjsoncpp-dev libfmt-dev libgtest-dev libgmock-dev
  libcpp-httplib-dev chromium
)
install_missing_packages "${PACKAGES[@]}"
install_page_kit
