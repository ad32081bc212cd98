#!/usr/bin/env bash
# Sets the machine up, builds the release library and plays the tour: page
# calls to every module, with every host operation, page answer, envelope and
# report printed as it happens (one JSON object per line).
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"

if [ "${MOXH5_SKIP_SETUP:-0}" != 1 ]; then
    bash tools/setup.sh
fi
cmake --preset release >/dev/null
cmake --build --preset release
./build/release/bin/moxh5-play examples/transcripts/tour.jsonl
