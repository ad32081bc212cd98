#!/usr/bin/env bash
# Writes examples/transcripts/NAME.expected from what moxh5-play prints for
# NAME.jsonl, leaving out what depends on the machine (the OS version and the
# screen size of getSystemInfo). Review the result against the documented
# behaviour before committing it: an expected file states behaviour, it is not a
# recording.
#   bash tools/make_expected.sh NAME...
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
PLAY=${MOXH5_PLAY:-$ROOT/build/dev/bin/moxh5-play}
for name in "$@"; do
    transcript="$ROOT/examples/transcripts/$name.jsonl"
    {
        echo "# Expected events of $name.jsonl (members left out are not compared)."
        "$PLAY" "$transcript" |
            sed -E 's/"osVersion":"[^"]*",?//g; s/,?"screen":\{"height":[0-9]+,"width":[0-9]+\}//g'
    } >"$ROOT/examples/transcripts/$name.expected"
done
