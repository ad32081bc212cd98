#!/usr/bin/env bash
# Sets the machine up, builds the release library and runs the demonstration
# host, which plays a few page calls and prints what the library answers.
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"

if [ "${MOXH5_SKIP_SETUP:-0}" != 1 ]; then
    bash tools/setup.sh
fi
cmake --preset release >/dev/null
cmake --build --preset release
./build/release/bin/moxh5_demo
