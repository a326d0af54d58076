#!/usr/bin/env bash
# Runs every benchmark program of the bench preset; arguments go to each of them. scripts/bench_tables.sh makes tables of
# what one or more runs have printed.
set -euo pipefail
cd "$(dirname "$0")/.."

for program in build/bench/bench/bench_*; do
    [ -x "$program" ] && [ -f "$program" ] || continue
    printf '\n== %s\n' "$(basename "$program")"
    "$program" "$@"
done

printf '\n== filters of qzlog view\n'
bench/tool.sh build/bench/tools/qzlog/qzlog
