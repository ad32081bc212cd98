#!/usr/bin/env bash
# Sets the machine up, then builds and passes every test:
#   dev        Linux debug build, unit and boundary tests
#   asan       Linux build with AddressSanitizer + UndefinedBehaviorSanitizer
#   mingw-x64  Windows x86_64 cross build; tests run under Wine
#   mingw-x86  Windows i686 cross build (build only: no 32-bit Wine here)
# Stops at the first failure. Set MOXH5_SKIP_SETUP=1 to skip the set-up step.
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"

if [ "${MOXH5_SKIP_SETUP:-0}" != 1 ]; then
    bash tools/setup.sh
fi

step() { printf '\n=== %s\n' "$*"; }

for preset in dev asan mingw-x64; do
    step "configure, build and test: $preset"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset"
    ctest --preset "$preset"
done

step "configure and build: mingw-x86"
cmake --preset mingw-x86 >/dev/null
cmake --build --preset mingw-x86

step "all presets passed"
