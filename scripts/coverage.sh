#!/usr/bin/env bash
# The share of lines that the tests of the coverage preset have run, a folder a line. Processes that are killed or end by
# _exit, as forked children of tests do, leave no counts.
set -euo pipefail
cd "$(dirname "$0")/.."

declare -A all run
while IFS=, read -r file total covered _; do
    folder=${file%/*}
    for name in "$folder" "${folder%%/*}"; do
        all[$name]=$((${all[$name]:-0} + total))
        run[$name]=$((${run[$name]:-0} + covered))
    done
done < <(gcovr -r . --object-directory build/coverage -f 'src/' -f 'include/' -f 'kit/' -f 'tools/' --csv \
    --gcov-ignore-parse-errors build/coverage | tail -n +2)

[ ${#all[@]} -gt 0 ] || { echo "No counts: run the tests of the coverage preset first." >&2; exit 1; }
for name in "${!all[@]}"; do
    [ "${all[$name]}" -eq 0 ] || printf '%3d %% of %5d lines  %s\n' \
        $((100 * ${run[$name]} / ${all[$name]})) "${all[$name]}" "$name"
done | sort -k 6
