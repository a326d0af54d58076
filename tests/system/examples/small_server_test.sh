#!/usr/bin/env bash
# Three workers and two tools at once on one log: each request is there once, under its own identity, without its secret.
source "$(dirname "$0")/../demo/common.sh"

# Without a broker what is for Kafka goes to its file.
sed 's/"enabled": true/"enabled": false/' "$example/settings.json" > settings.json
cp "$example/texts.json" .
requests=200
feed() { for i in $(seq $requests); do echo "user$1 S$i <login name=\"$1-$i\" password=\"geheim\"/>"; done; }
for number in 1 2 3; do feed $number | "$example/small_server" settings.json worker & done
for number in 4 5; do feed $number | "$example/small_server" settings.json tool & done
wait
for log in shared stream; do
    expect "requests in $log.log" $((5 * requests)) \
        "$(grep -oE '\[UID:user[1-5]\]\[SID:S[0-9]+\]\[OID:0\] Answered <login name="[1-5]-[0-9]+" password="\*\*\*"' \
            logs/$log.log | sort -u | wc -l)"
    expect "processes in $log.log" 5 "$(count '\] Process [0-9]+ is ready\.' logs/$log.log)"
done
expect "secrets" 0 "$(count geheim "logs/shared.log logs/stream.log")"

# One server: a failure in two languages, and a forged record.
mkfifo requests
"$example/small_server" settings.json < requests &
server=$!
trap 'kill "$server" 2> /dev/null || true' EXIT
exec 3> requests
printf 'eve]x S1 2026-11-25 [HOST:x]\e[2K\n' >&3
await 'is no request: 2026-11-25 \[HOST:x\]␛\[2K' logs/shared.log
expect "the failure in German" 1 "$(count '\[UID:eve］x\].* Das ist keine Anfrage: 2026-11-25' logs/errors.log)"
sed -i 's/Small01/Small02/' settings.json
kill -HUP "$server"
echo 'eve S2 <a/>' >&3
await '\[SERVER:Small02\].*Answered <a/>' logs/shared.log
exec 3>&-
wait "$server" || fail "the server ended with $?"
trap - EXIT
passed
