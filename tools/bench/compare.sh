#!/usr/bin/env bash
# Compares this checkout's benchmark with an earlier commit's, side by side in
# one run: builds both with the release preset (the earlier one in a git
# worktree under build/compare/), then alternates runs of the two programs so
# that a busy moment of the machine falls on both alike, and prints each
# shared benchmark's median CPU time per call, its spread and the ratio.
#
#   bash tools/bench/compare.sh BASE_REF [ROUNDS] [FILTER]
#
# ROUNDS (default 10) runs of each program; FILTER (default: all) is a
# --benchmark_filter regular expression. Benchmarks only one side has are
# left out of the table.
set -euo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
BASE_REF=${1:?usage: compare.sh BASE_REF [ROUNDS] [FILTER]}
ROUNDS=${2:-10}
FILTER=${3:-.}

base_sha=$(git -C "$ROOT" rev-parse --verify "$BASE_REF^{commit}")
base_tree="$ROOT/build/compare/$base_sha"
if [ ! -d "$base_tree" ]; then
    git -C "$ROOT" worktree add --quiet --detach "$base_tree" "$base_sha" >/dev/null
fi

build_bench() {
    (cd "$1" && cmake --preset release >/dev/null && cmake --build --preset release --target moxh5_bench >/dev/null)
}
build_bench "$ROOT"
build_bench "$base_tree"

out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
# run_bench TREE FILE: one run of TREE's benchmark, its results as JSON in FILE.
run_bench() {
    "$1/build/release/bin/moxh5_bench" --benchmark_filter="$FILTER" \
        --benchmark_format=json >"$2" 2>/dev/null
}
for round in $(seq "$ROUNDS"); do
    run_bench "$base_tree" "$out/base.$round.json"
    run_bench "$ROOT" "$out/head.$round.json"
done

python3 - "$out" "$base_sha" <<'EOF'
import glob, json, statistics, sys

folder, base_sha = sys.argv[1], sys.argv[2]

def cpu_times(side):
    times = {}
    for path in glob.glob(f"{folder}/{side}.*.json"):
        for run in json.load(open(path))["benchmarks"]:
            if run.get("error_occurred"):
                continue
            times.setdefault(run["name"], []).append(run["cpu_time"])
    return times

base, head = cpu_times("base"), cpu_times("head")
print(f"CPU time per call, ns: median (min-max) (base {base_sha[:10]}, head this checkout)")
print(f"{'benchmark':<28}{'base':>20}{'head':>20}{'head/base':>11}")

def cell(times):
    return f"{statistics.median(times):.0f} ({min(times):.0f}-{max(times):.0f})"

for name in head:
    if name in base:
        ratio = statistics.median(head[name]) / statistics.median(base[name])
        print(f"{name:<28}{cell(base[name]):>20}{cell(head[name]):>20}{ratio:>11.3f}")
EOF
