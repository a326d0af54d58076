#!/usr/bin/env bash
# How long filters of `qzlog view` take that match nothing, as a multiple of what grep takes to look for a text that is
# not there: same file, same run, warm cache, medians. Fails when one takes more than five times as long.
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

# Milliseconds of one run, which is to find nothing.
measure() {
    local begin=${EPOCHREALTIME/[.,]/} status=0
    "$@" >"$folder/found" || status=$?
    local end=${EPOCHREALTIME/[.,]/}
    [ "$status" -eq 1 ] || { echo "exit code $status: $*" >&2; exit 2; }
    echo $(((end - begin) / 1000))
}

absent='a text that is not there'
filters=("--text '$absent'" "--text '$absent' --ignore-case" "--regex 'not[0-9]{3}there'" "--regex '^not.*there$'"
    "--logger Nobody" "--logger Nobody --logger Noone" "--message-id 0x12345678"
    "--user nobody" "--since 2100-01-01" "--invert --logger Kernel" "--host nowhere --server none --text engine")
declare -A times
declare -a arguments
for ((run = 0; run < repetitions; ++run)); do
    times[grep]+=" $(measure grep -F -c "$absent" "$log")"
    for filter in "${filters[@]}"; do
        eval "arguments=($filter)"
        times[$filter]+=" $(measure "$qzlog" view "${arguments[@]}" "$log")"
    done
done

median() { tr ' ' '\n' <<<"$1" | grep . | sort -n | sed -n "$(((repetitions + 1) / 2))p"; }
grep_time=$(median "${times[grep]}")
worst=0
printf '%8s ms         grep -F -c\n' "$grep_time"
for filter in "${filters[@]}"; do
    time=$(median "${times[$filter]}")
    hundredths=$((time * 100 / grep_time))
    [ "$hundredths" -le "$worst" ] || worst=$hundredths
    printf '%8s ms %2d.%02d x qzlog view %s\n' "$time" $((hundredths / 100)) $((hundredths % 100)) "$filter"
done
if [ -x /usr/bin/time ]; then
    /usr/bin/time -f 'memory: %M KB' "$qzlog" view --text "$absent" "$log" 2>&1 | grep memory
fi
[ "$worst" -le 500 ]
