# Faults in settings files, each with the words that tell what is wrong; and the ways in which the server ends.
source "$(dirname "$0")/common.sh"

start='{ "server": "S", "language": "en", "basePath": "logs"'
file='"destinations": { "f": { "type": "file", "path": "f.log" } }'
while IFS='|' read -r settings words; do
    printf '%s' "$settings" > settings.json
    if "$example/reporting_server" --config settings.json /dev/null > output.txt 2>&1; then
        fail "the server takes $settings"
    fi
    grep -qF "'settings.json' is not usable" output.txt || fail "the file is not named: $(cat output.txt)"
    grep -qF -- "$words" output.txt || fail "expected '$words' for $settings, got $(cat output.txt)"
    [ ! -e f.log ] && [ ! -e logs ] || fail "$settings made a log"
done << END
|JSON:
{ "server": "S", "server": "T" }|JSON:
$start }|settings.destinations: an object was expected
$start, "destinations": { "x": { "type": "fax" } } }|the type 'fax' is none of
$start, "destinations": { "x": { "type": "file" } } }|settings.destinations.x.path: a text was expected
$start, "destinations": { "x": { "type": "file", "path": "f.log", "backups": 257 } } }|backups: a number from 1 to 256
$start, "destinations": { "x": { "type": "file", "path": "f.log", "color": 1 } } }|there is no setting 'color' here
$start, "destinations": { "x": { "type": "file", "path": "f" }, "y": { "type": "kafka", "path": "f" } } }|'x' and 'y' are
$start, "destinations": { "x": { "type": "debugOutput", "callStacks": ["No"] } } }|no message is called 'No'
$start, $file, "routes": { "Kernel/Warn": ["f"] } }|there is no logger and dispatcher 'Kernel/Warn'
$start, $file, "routes": { "*/Info": ["g"] } }|settings.routes.*/Info: no destination is called 'g'
$start, $file, "routes": { "*/Info": ["f:xx"] } }|the language 'xx' is neither 'en' nor 'de'
$start, $file, "routes": {}, "kafka": { "linger.ms": 5 } }|settings.kafka: 'bootstrap.servers' is missing
END

for missing in /nowhere/settings.json .; do
    if "$example/reporting_server" --config "$missing" /dev/null > output.txt 2>&1; then
        fail "the server takes $missing"
    fi
    grep -qF "it cannot be read" output.txt || fail "unclear: $(cat output.txt)"
done

if "$example/reporting_server" --config "$example/terminal.json" /nowhere/requests > output.txt 2>&1; then
    fail "the server takes requests from nowhere"
fi
grep -qF "cannot open '/nowhere/requests'" output.txt || fail "unclear: $(cat output.txt)"

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
