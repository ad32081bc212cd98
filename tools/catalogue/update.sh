#!/usr/bin/env bash
# Writes the documents derived from the catalogue of host operations with the
# dev build's moxh5-host-operations.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
cmake --build --preset dev --target moxh5-host-operations >/dev/null
build/dev/bin/moxh5-host-operations markdown > docs/host-operations.md
build/dev/bin/moxh5-host-operations json > api/host_operations.json
