#!/usr/bin/env bash
# Builds the libFuzzer target and fuzzes the library for SECONDS (default 60).
# The seed corpus is every page call of the example transcripts; the working
# corpus grows in build/fuzz/corpus and is kept between runs.
#   bash tools/fuzz.sh [SECONDS]
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"
SECONDS_TO_RUN=${1:-60}

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target moxh5_fuzz_execute

SEEDS=build/fuzz/seeds
CORPUS=build/fuzz/corpus
rm -rf "$SEEDS"
mkdir -p "$SEEDS" "$CORPUS"
n=0
for transcript in examples/transcripts/*.jsonl; do
    while IFS= read -r line; do
        case "$line" in
            *'"do":"call"'*) n=$((n + 1)); printf '%s' "$line" >"$SEEDS/seed-$n.json" ;;
        esac
    done <"$transcript"
done
echo "fuzz: $n seeds from the example transcripts, ${SECONDS_TO_RUN}s"

# Leaks are checked at exit of each run; recursion in the JSON reader is
# bounded by jsoncpp's own stack limit.
ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 \
UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
    build/fuzz/bin/moxh5_fuzz_execute "$CORPUS" "$SEEDS" \
        -dict=tests/fuzz/moxh5.dict -max_total_time="$SECONDS_TO_RUN" \
        -max_len=4096 -timeout=10 -rss_limit_mb=4096 -print_final_stats=1 \
        -artifact_prefix=build/fuzz/
