#!/usr/bin/env bash
# How long filters of `qzlog view` take that match nothing, and what goes through every record, as a multiple of what
# grep takes to look for a text that is not there: same file, same run, warm cache, medians. Fails when one takes more
# than its limit.
#   bench/tool.sh [qzlog] [megabytes] [repetitions]
set -euo pipefail
cd "$(dirname "$0")/.."
qzlog=$(realpath "${1:-build/release/tools/qzlog/qzlog}")
megabytes=${2:-1000}
repetitions=${3:-5}

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
log=$folder/big.log

# A piece through the library, with the messages of a busy server; then as often as it takes.
awk 'BEGIN { for (i = 1; i <= 60000; ++i)
    printf "Request %d of user%d was served in %d ms from the cache of the reporting engine\n", i, i % 50, i % 977 }' |
    "$qzlog" write --logger Kernel --dispatcher Trace --max-size 2000000000 "$folder/piece.log"
head -c 36 "$folder/piece.log" >"$log"
tail -c +37 "$folder/piece.log" >"$folder/records"
pieces=$((megabytes * 1000000 / $(stat -c %s "$folder/records")))
for ((i = 0; i < pieces; ++i)); do cat "$folder/records"; done >>"$log"
printf '%s MB, %s records\n' "$(($(stat -c %s "$log") / 1000000))" "$(grep -c . "$log")"

# Milliseconds of one run.
#   measure EXIT_CODE COMMAND...
measure() {
    local expected=$1 status=0
    shift
    local begin=${EPOCHREALTIME/[.,]/}
    "$@" >/dev/null || status=$?
    local end=${EPOCHREALTIME/[.,]/}
    [ "$status" -eq "$expected" ] || { echo "exit code $status: $*" >&2; exit 2; }
    echo $(((end - begin) / 1000))
}

absent='a text that is not there'
# Limit and exit code, then the arguments.
rows=("5 1 view --text '$absent'" "5 1 view --text '$absent' --ignore-case" "5 1 view --regex 'not[0-9]{3}there'"
    "5 1 view --regex '^not.*there$'" "5 1 view --logger Nobody" "5 1 view --logger Nobody --logger Noone"
    "5 1 view --message-id 0x12345678" "5 1 view --user nobody" "5 1 view --since 2100-01-01"
    "5 1 view --invert --logger Kernel" "5 1 view --host nowhere --server none --text engine"
    "5 0 view --count" "8 0 check" "15 0 view --json" "8 0 stats")
declare -A times
declare -a arguments
for ((run = 0; run < repetitions; ++run)); do
    times[grep]+=" $(measure 1 grep -F -c "$absent" "$log")"
    for row in "${rows[@]}"; do
        read -r _ code command <<<"$row"
        eval "arguments=($command)"
        times[$row]+=" $(measure "$code" "$qzlog" "${arguments[@]}" "$log")"
    done
done

median() { tr ' ' '\n' <<<"$1" | grep . | sort -n | sed -n "$(((repetitions + 1) / 2))p"; }
grep_time=$(median "${times[grep]}")
failed=0
printf '%8s ms         grep -F -c\n' "$grep_time"
for row in "${rows[@]}"; do
    read -r limit _ command <<<"$row"
    time=$(median "${times[$row]}")
    hundredths=$((time * 100 / grep_time))
    [ "$hundredths" -le $((limit * 100)) ] || failed=1
    printf '%8s ms %2d.%02d x qzlog %s\n' "$time" $((hundredths / 100)) $((hundredths % 100)) "$command"
done
if [ -x /usr/bin/time ]; then
    /usr/bin/time -f 'memory: %M KB' "$qzlog" view --text "$absent" "$log" 2>&1 | grep memory
fi
[ "$failed" -eq 0 ]
