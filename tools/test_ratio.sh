#!/usr/bin/env bash
# Prints how many test lines the project carries per line of code; reports,
# never fails.
#   C++:        non-blank C/C++ lines under tests/ (the fuzz target included)
#               against non-blank C/C++ lines everywhere else but tools/bench/
#   TypeScript: non-blank lines of test files (*.test.ts, or .ts files under a
#               tests folder) against the other .ts sources; node_modules and
#               generated .d.ts files are left out
# Only files git tracks are counted, so build trees and dependencies never are.
ROOT=${1:-$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)}
cd "$ROOT" || exit 0

git ls-files 2>/dev/null | awk '
    {
        kind = classify($0)
        if (kind == "") next
        while ((getline line < $0) > 0) if (line ~ /[^ \t\r]/) count[kind]++
        close($0)
    }
    function classify(path) {
        if (path ~ /(^|\/)node_modules\//) return ""
        if (path ~ /\.(c|cc|cpp|cxx|h|hh|hpp)$/) {
            if (path ~ /^tests\//) return "cpp_tests"
            if (path ~ /^tools\/bench\//) return ""
            return "cpp_code"
        }
        if (path ~ /\.ts$/ && path !~ /\.d\.ts$/) {
            if (path ~ /\.test\.ts$/ || path ~ /(^|\/)(tests?|__tests__)\//) return "ts_tests"
            return "ts_code"
        }
        return ""
    }
    function ratio(name, tests, code) {
        if (code == 0) printf "%s: %d test lines, no code lines\n", name, tests
        else printf "%s: %d test lines / %d code lines = %.2f\n", name, tests, code, tests / code
    }
    END {
        ratio("C++ test ratio", count["cpp_tests"], count["cpp_code"])
        if (count["ts_tests"] + count["ts_code"] == 0) print "TypeScript test ratio: no TypeScript yet"
        else ratio("TypeScript test ratio", count["ts_tests"], count["ts_code"])
    }'
exit 0
