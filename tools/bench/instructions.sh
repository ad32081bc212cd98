#!/usr/bin/env bash
# Instructions per call of the benchmark's cases, counted by callgrind: unlike
# time, repeatable on a busy machine, so the figure for before/after
# comparisons. Builds the release preset's moxh5_callcount, runs the cases
# under callgrind (collection only around each case's own calls) and prints
# instructions per call (per element for the sized cases) and the same ratios
# as moxh5_bench's summary.
#
#   bash tools/bench/instructions.sh [--runs=N] [--sizes=A,B] [CASE...]
#
# Defaults: 2000 calls per case, answers of 10000 and 100000 elements.
set -euo pipefail

command -v valgrind >/dev/null || { echo "instructions.sh needs valgrind (apt-get install valgrind)" >&2; exit 1; }

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cd "$ROOT"
cmake --preset release >/dev/null
cmake --build --preset release --target moxh5_callcount -j2 >/dev/null

sizes=--sizes=10000,100000
for arg in "$@"; do
    case "$arg" in --sizes=*) sizes=$arg ;; esac
done

out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
valgrind --tool=callgrind --compress-strings=no --toggle-collect=moxh5_bench_measure --callgrind-out-file="$out/cg" \
    build/release/bin/moxh5_callcount "$sizes" "$@" 2>/dev/null
echo
build/release/bin/moxh5_callcount --summarize="$out" "$sizes"
