#!/usr/bin/env bash
# Shows the reporting server with Kafka: a mock broker that is down at first, the server that logs to it, and what kcat
# reads from it. Works in a temporary folder, and leaves nothing behind.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
source "$here/demo_common.sh"
broker=$here/../mock_broker/mock_broker
[ -x "$broker" ] || fail "this build is without Kafka (QZLOG_WITH_KAFKA), so there is no mock broker"
command -v kcat > /dev/null || fail "kcat is missing"

work=$(mktemp -d)
cd "$work"
clean_up() {
    [ -z "${server:-}" ] || kill "$server" 2> /dev/null || true
    [ -z "${MOCK_PID:-}" ] || kill "$MOCK_PID" 2> /dev/null || true
    wait
    cd /
    rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 1' INT TERM HUP

topic=Kvel.ReportingEngine.Diag.$(uname -n).Reporting01
coproc MOCK { exec "$broker" "$topic" "$topic.RegtrySettings"; }
read -r address <&"${MOCK[0]}" || fail "the mock broker does not start"
tell_broker() {
    echo "$1" >&"${MOCK[1]}"
    read -r _ <&"${MOCK[0]}"
}

# consume TOPIC FROM FORMAT: the records that are there now.
consume() { kcat -b "$address" -X fetch.wait.max.ms=50 -C -t "$1" -o "$2" -f "$3" -e -q; }

# Records in log text on standard input: each has one line with a header.
count() { grep -c '\[HOST:' || true; }

caption "The settings name the brokers, with librdkafka's own properties, and a file for what they do not take:"
sed "s/localhost:9092/$address/" "$here/kafka.json" > settings.json
sed -n '/"kafka": {/,/stream.log/p' settings.json

caption "A property that librdkafka does not know is refused, by its name:"
sed 's/compression/compresion/' settings.json > wrong.json
! "$here/reporting_server" --config wrong.json /dev/null 2>&1 || fail "wrong.json was taken"

caption "The broker is down while the first requests come. None of them waits for it; the file has all their records:"
tell_broker down
mkfifo requests
"$here/reporting_server" --config settings.json - < requests > summary.txt 2> terminal.txt &
server=$!
exec 3> requests 4< "$here/requests.txt"
rm requests # both ends are open
feed() {
    local line
    for _ in $(seq "$1"); do
        IFS= read -r line <&4 || return
        echo "$line" >&3
    done
}
feed 60
await "request 60 is answered" holds logs/stream.log "Request 60 answered"
echo "$(count < logs/stream.log) records in logs/stream.log, the last of them:"
tail -n 3 logs/stream.log | shorten

caption "It comes up, the server connects by itself, and before the next record it publishes its settings:"
tell_broker up
until consume "$topic.RegtrySettings" beginning '%t:\n%s\n' > settings.txt && [ -s settings.txt ]; do
    feed 1 || fail "the server does not connect: $(cat terminal.txt)"
    sleep 0.1
done
cat settings.txt

caption "From here on all goes to Kafka. The other requests, and the server's last words:"
feed 1000 || true # to the end
exec 3>&-
wait "$server" || fail "the server ended with $?: $(cat terminal.txt)"
server=
cat summary.txt

caption "What kcat finds at the broker: its topics, each with the number of its records..."
kcat -b "$address" -L | sed -nE 's/^ +topic "(.*)" with .*/\1/p' | while IFS= read -r name; do
    printf '%6d  %s\n' "$(consume "$name" beginning '%o\n' | wc -l)" "$name"
done

caption "...the first and the last records, each behind its offset..."
consume "$topic" beginning '%o: %s\n' > records.txt
{ head -n 3 records.txt; echo ...; tail -n 3 records.txt; } | shorten

caption "...and a failure, which is one record of several lines:"
grep -m 1 -A 2 'RunReport) has failed' records.txt | shorten

caption "Each message went to one place:"
streamed=$(count < records.txt)
filed=$(count < logs/stream.log)
logged=$(($(grep -oE '\([0-9]+-[0-9]+-[0-9]+:' traces/messages.txt | grep -oE '[0-9]+' | paste -s -d +)))
printf '%6d  %s\n' "$streamed" "in Kafka" "$filed" "in logs/stream.log" \
    "$logged" "in the server's own count, traces/messages.txt"
[ $((streamed + filed)) -eq "$logged" ] || fail "the figures do not agree"
