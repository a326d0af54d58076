#!/usr/bin/env bash
# Shows the reporting server and its logs in a few seconds. Works in the folder "demo" beside it, or in the one that
# is given, and replaces what an earlier run left there. Runs in one folder wait for each other.
set -euo pipefail

start=$PWD
here=$(cd "$(dirname "$0")" && pwd)
work=${1:-$here/demo}
mkdir -p "$work"
cd "$work"
exec 9> lock
until flock -w 5 9; do echo "Another demo is at work in $work; this one waits for it."; done
rm -rf logs traces requests settings.json summary.txt terminal.txt

source "$here/demo_common.sh"

caption "A log line is a header and a text. A failure has its causes below it; here in English, then in German:"
grep -m 2 -E '^(SignIn +jürgen +2E79|RunReport +jürgen +2E79 +Archive)' "$here/requests.txt" |
    "$here/reporting_server" --config "$here/terminal.json" 2>&1

requests=$(grep -cE '^[A-Za-z]' "$here/requests.txt")
caption "Now into files. Half of the $requests request lines, worked off on four threads, make these logs..."
cp "$here/files.json" settings.json
half=$(($(wc -l < "$here/requests.txt") / 2))
lines=$(head -n "$half" "$here/requests.txt" | grep -cE '^[A-Za-z]')
# A thread can be done with its share long before another. The log keeps enough back-ups for all answers.
all_answered() {
    local answers='Request [0-9]+ answered|Line [0-9]+ holds no request'
    [ "$(grep -shoE "$answers" logs/errors.log logs/network/network.log* | sort -u | wc -l)" -eq "$lines" ]
}
mkfifo requests
"$here/reporting_server" --config settings.json - < requests > summary.txt 2> terminal.txt &
server=$!
trap 'kill "$server" 2> /dev/null || true' EXIT
exec 3> requests
rm requests # both ends are open
head -n "$half" "$here/requests.txt" >&3
await "the first half is answered" all_answered
find logs -name '*.log' | sort | paste -s -d ' '

caption "...a settings file with a fault and SIGHUP: the server says what is wrong and keeps the settings it has..."
sed 's/"errors", "kernel"/"erors", "kernel"/' "$here/files.json" > settings.json
kill -HUP "$server"
await "the fault is told" holds terminal.txt "erors"
tail -n 3 terminal.txt | shorten

caption "...a good one and SIGHUP: from here on all goes into one German log, and failures into two. The other half:"
cp "$here/rerouted.json" settings.json
kill -HUP "$server"
await "the new settings are in force" holds logs/all.log "gelten jetzt"
tail -n "+$((half + 1))" "$here/requests.txt" >&3
exec 3>&-
wait "$server" || fail "the server ended with $?"
trap - EXIT
cat summary.txt

caption "The tree of logs and back-ups, in bytes. A log rolls over at 20,000; bak00 is the newest back-up."
find logs -type f -printf '%8s  %p\n' | sort -k 2

caption "The end of the newest log:"
tail -n 4 logs/all.log | shorten

caption "One failure, in the English and in the German log:"
failure=$(sed -nE 's/.*OID:Archive.*Anfrage ([0-9]+) .*/\1/p' logs/fehler/fehler.log | tail -n 1)
grep -A 2 "Request $failure (" logs/errors.log | shorten
grep -A 2 "Anfrage $failure (" logs/fehler/fehler.log | shorten

caption "The settings name messages that get a call stack:"
grep -m 1 -A 5 -e '- callstack -' logs/errors.log | shorten

caption "Passwords are masked before they are logged; what the mask cannot be sure of is withheld:"
grep -hoE '[0-9]+: SignIn .*|P[OU][A-Z]+ /api/(logins|users).*' logs/network/network.log* logs/all.log* | shorten |
    sort -bsu -k 2.1,2.8

caption "Commands, one line for each 100 requests: cluster/all(share), then ID:count(minimum/mean/maximum in us)"
cut -c -130 traces/commands.txt

caption "Messages, one line for each period and destination: ID(Trace-Info-Error:mean length). The first period:"
sed -nE '2,${/^1\t/!q;s/ +\t/\t/;p}' traces/messages.txt | cut -c -130

if [ -S /run/systemd/journal/socket ] && command -v journalctl > /dev/null; then
    caption "In the system's journal:"
    journalctl --quiet --no-pager -o cat -t 'Reporting server' -n 2 2>&1 | shorten || true # not everybody may read it
fi

caption "All of it is in ${PWD#"$start"/}"
