# Routes change again and again under load: every message lands in exactly one of the files, and the traces count the
# same messages as the files hold.
source "$(dirname "$0")/common.sh"
rounds=12

# Two routings without a file in common; one of them rolls over all the time, and all back-ups are kept.
settings() {
    local routes='' logger dispatcher
    for logger in Kernel Engine Network; do
        for dispatcher in Trace Info Error; do
            routes+="\"$logger/$dispatcher\": [\"$1$dispatcher\"],"
        done
    done
    local size=$2
    cat << END
{ "server": "S", "language": "en", "basePath": "$1", "destinations": {
    "$1Trace": { "type": "file", "path": "$1-trace.log", "maxFileSize": $size, "backups": 256 },
    "$1Info": { "type": "file", "path": "$1-info.log", "maxFileSize": $size, "backups": 256 },
    "$1Error": { "type": "file", "path": "$1-error.log", "maxFileSize": $size, "backups": 256 } },
  "routes": { ${routes%,} } }
END
}
settings a 100000000 > a.json
settings b 30000 > b.json
cp a.json settings.json

mkfifo requests never
exec 4<> never
"$example/reporting_server" --config settings.json --period 500 - < requests > summary.txt 2> terminal.txt &
server=$!
trap 'kill "$server" 2> /dev/null || true' EXIT
exec 3> requests
await "is ready" a/a-info.log
for _ in $(seq $rounds); do cat "$example/requests.txt"; done >&3 &
feeder=$!
exec 3>&-
while kill -0 "$feeder" 2> /dev/null; do
    for routing in b a; do
        # The file is replaced as a whole: the server never reads half of it.
        cp $routing.json next.json
        mv next.json settings.json
        for _ in $(seq 50); do
            # A fast server may have read its input to the end by now.
            kill -HUP "$server" 2> /dev/null || break 3
            read -rt 0.001 -u 4 || true # a short sleep without a process
        done
    done
done
wait "$server" || fail "the server ended with $?: $(cat terminal.txt)"
trap - EXIT

requests=$((330 * rounds))
logs=$(find . -name '*.log*')
expect "the summary" \
    "$requests requests, $((32 * rounds)) of them failed, and $((6 * rounds)) lines that held none" "$(cat summary.txt)"
expect "standard error" "" "$(cat terminal.txt)"

for pattern in 'Request [0-9]+: ' 'Request [0-9]+ answered with'; do
    expect "messages '$pattern'" "$requests" "$(count "$pattern" "$logs")"
    expect "different messages '$pattern'" "$requests" "$(cat $logs | grep -oE "$pattern" | sort -u | wc -l)"
done
expect "lines that held no request" $((6 * rounds)) "$(count 'holds no request' "$logs")"
expect "scopes left" "$(count "Enter '" "$logs")" "$(count "Leave '" "$logs")"
[ "$(count 'are in force' "$logs")" -ge 20 ] || fail "the routes hardly changed"
[ -s a/a-info.log ] && [ -s b/b-info.log ] || fail "one of the routings got nothing"
[ -f b/b-info.log.bak01 ] || fail "nothing rolled over"

messages=$(count '\[HOST:' "$logs")
traced=$(grep -oE '\([0-9]+-[0-9]+-[0-9]+:' traces/messages.txt | grep -oE '[0-9]+' | sum)
expect "messages in the trace" "$messages" "$traced"
expect "commands in the trace" "$requests" \
    "$(sed -E 's|^[0-9]+/([0-9]+)\(.*|\1|' traces/commands.txt | sum)"
expect "periods" $((requests / 500 + 1)) "$(wc -l < traces/commands.txt)"
passed
