#!/usr/bin/env bash
# Builds the libFuzzer targets and fuzzes the library for SECONDS (default 60):
# two thirds of the time every module through page calls (moxh5_fuzz_execute,
# seeded with every page call of the example transcripts), one third the URL,
# host and path checks (moxh5_fuzz_url_path, seeded with the links of the URL
# differential test). The working corpora grow in build/fuzz/corpus and
# build/fuzz/url-corpus and are kept between runs.
#   bash tools/fuzz.sh [SECONDS]
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"
SECONDS_TO_RUN=${1:-60}

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target moxh5_fuzz_execute moxh5_fuzz_url_path
URL_SECONDS=$((SECONDS_TO_RUN / 3))
SECONDS_TO_RUN=$((SECONDS_TO_RUN - URL_SECONDS))

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

URL_SEEDS=build/fuzz/url-seeds
URL_CORPUS=build/fuzz/url-corpus
rm -rf "$URL_SEEDS"
mkdir -p "$URL_SEEDS" "$URL_CORPUS"
n=0
while IFS= read -r line; do
    case "$line" in
        '"'*) n=$((n + 1)); line=${line#\"}; printf '%s' "${line%\"}" >"$URL_SEEDS/seed-$n" ;;
    esac
done <tests/data/url_corpus.jsonl
echo "fuzz: $n seeds from the URL corpus, ${URL_SECONDS}s"
ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 \
UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
    build/fuzz/bin/moxh5_fuzz_url_path "$URL_CORPUS" "$URL_SEEDS" \
        -dict=tests/fuzz/moxh5.dict -max_total_time="$URL_SECONDS" \
        -max_len=4096 -timeout=10 -rss_limit_mb=4096 -print_final_stats=1 \
        -artifact_prefix=build/fuzz/url-
