#!/usr/bin/env bash
# How long filters of `qzlog view` take that match nothing, and what goes through every record, as a multiple of what
# grep takes to look for a text that is not there: same file, same run, warm cache, medians. Fails when one takes more
# than its limit. Then the questions of the guide for operators beside grep, ripgrep, jq and lnav, as far as they are
# installed.
#   bench/tool.sh [qzlog] [megabytes] [repetitions]
set -euo pipefail
cd "$(dirname "$0")/.."
qzlog=$(realpath "${1:-build/release/tools/qzlog/qzlog}")
megabytes=${2:-1000}
repetitions=${3:-5}

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
log=$folder/big.log

# As the library writes them: the messages of a busy server, in scopes of 20 records, a failure now and then, and every
# 100,000 records a silent minute.
"$qzlog" write "$folder/head.log" <<<head
{
    head -c 36 "$folder/head.log"
    LC_ALL=C awk -v records=$((megabytes * 1000000 / 187)) 'BEGIN { for (i = 0; i < records; ++i) {
        ms = int(i / 4) + int(i / 100000) * 60000; block = int(i / 20); at = i % 20
        text = sprintf("Request %d of user%d was served in %d ms from the cache of the reporting engine", i, block % 50,
            i % 977)
        if (at == 0) text = "Enter \047Run\047 near Engine.cpp(10)"
        if (at == 19) text = "Leave \047Run\047 near Engine.cpp(30)"
        isError = at == 10 && block % 25 == 0
        if (isError) text = "Report \047Archive " block % 7 "\047 could not be run within " i % 977 " ms."
        printf "2026-11-18 %02d:%02d:%02d.%03d [HOST:vm][SERVER:Engine][PID:11][THR:%d][Kernel][%s]" \
            "[UID:user%d][SID:S%d][OID:0] %s\r\n", ms / 3600000, ms / 60000 % 60, ms / 1000 % 60, ms % 1000,
            block % 16, isError ? "Error" : "Trace", block % 50, block % 1000, text } }'
} >"$log"
printf '%s MB, %s records\n' "$(($(stat -c %s "$log") / 1000000))" "$(grep -c . "$log")"

# Milliseconds of one run. The output goes into a pipe: grep stops at the first match if it goes to /dev/null.
#   measure EXIT_CODE COMMAND...
measure() {
    local expected=$1 status=0
    shift
    local begin=${EPOCHREALTIME/[.,]/}
    { "$@" || status=$?; } > >(cat >/dev/null)
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
    { /usr/bin/time -f 'memory: %M KB' "$qzlog" view --text "$absent" "$log" 2>&1 || true; } | grep memory
fi

# What each question is asked with, LOG for the log.
kinds="sed -E 's/[0-9]+/N/g' | sort | uniq -c | sort -rn"
questions=("one user" "qzlog view --user user7 LOG" "grep -F '[UID:user7]' LOG" "rg -F '[UID:user7]' LOG"
    "qzlog view --json LOG | jq -c 'select(.uid == \"user7\")'" "lnav SELECT log_body FROM qzlog WHERE uid = 'user7'"
    "kinds of errors" "qzlog stats --by message --dispatcher Error LOG"
    "grep -F '[Error]' LOG | sed 's/.*OID:0. //' | $kinds"
    "rg -F '[Error]' LOG | sed 's/.*OID:0. //' | $kinds" "qzlog view --json --dispatcher Error LOG | jq -r .message | $kinds"
    "lnav SELECT log_msg_format, count(*) FROM all_logs WHERE log_level = 'error' GROUP BY 1"
    "scopes" "qzlog stats --scopes LOG" "gaps" "qzlog stats --gaps LOG"
    "new since" "qzlog stats --new-since '2026-11-18 00:01:00' LOG")
export PATH=${qzlog%/*}:$PATH HOME=$folder
mkdir -p "$folder/formats/qzlog"
cp integrations/lnav/qzlog.json "$folder/formats/qzlog/"
for question in "${questions[@]}"; do
    [[ $question == *LOG* || $question == lnav* ]] || { echo "$question"; continue; }
    command=${question//LOG/$log}
    for tool in lnav jq rg; do
        [[ $question != *"$tool "* ]] || command -v $tool >/dev/null || continue 2
    done
    [[ $question != lnav* ]] || command="lnav -n -I $folder -c \";${question#lnav }\" -c ':write-csv-to -' $log"
    taken=
    for ((run = 0; run < repetitions; ++run)); do
        taken+=" $(measure 0 bash -o pipefail -c "$command")"
    done
    printf '%8s ms  %s\n' "$(median "$taken")" "${question% LOG}"
done
[ "$failed" -eq 0 ]
