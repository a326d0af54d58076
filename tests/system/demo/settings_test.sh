# A server without brokers, and one that a signal ends.
source "$(dirname "$0")/common.sh"

# Without brokers a Kafka destination is its file.
sed '/"kafka": {/,/},/d' "$example/kafka.json" > alone.json
"$example/reporting_server" --config alone.json "$example/requests.txt" > summary.txt
expect "the summary without brokers" "330 requests, 32 of them failed, and 6 lines that held none" "$(cat summary.txt)"
expect "answers in the file" 330 "$(count 'Request [0-9]+ answered with' logs/stream.log)"

# A line without an end, one of CR LF, one too long; then a signal ends the server while it waits for more.
mkfifo requests
"$example/reporting_server" --config "$example/terminal.json" - < requests > summary.txt 2> terminal.txt &
server=$!
trap 'kill -KILL "$server" 2> /dev/null || true' EXIT
exec 3> requests
{
    printf 'SignIn ann 1 - password="p"\r\n'
    head -c 200000 /dev/zero | tr '\0' 'x'
    printf '\nSignIn bert 2 - password="p"\nSignIn carl 3 - password="p"'
} >&3
await "'bert' signed in" terminal.txt
kill -TERM "$server"
wait "$server" || fail "the server ended with $? by SIGTERM"
trap - EXIT
exec 3>&-
expect "the summary" "2 requests, 0 of them failed, and 1 lines that held none" "$(cat summary.txt)"
grep -qF "Line 2 holds no request: the line is too long." terminal.txt || fail "$(cat terminal.txt)"
passed
