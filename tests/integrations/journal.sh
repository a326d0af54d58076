#!/usr/bin/env bash
# A real journal takes what the system-log destination sends, and journalctl finds it by its fields. The journal runs
# in a mount namespace of its own. Call: journal.sh <folder of the server>
source "$(dirname "$0")/run_server.sh"
journald=/lib/systemd/systemd-journald
[ -x $journald ] || skip "systemd is not installed"
if [ -z "${QZLOG_JOURNAL_NAMESPACE:-}" ]; then
    [ "$(id -u)" -eq 0 ] || skip "only root can run a journal"
    unshare --mount true 2>/dev/null || skip "no mount namespace here"
    rm -r "$work" # no trap runs at an exec
    QZLOG_JOURNAL_NAMESPACE=1 exec unshare --mount "$0" "$@"
fi

mount --make-rprivate /
mount -t tmpfs tmpfs /run
mkdir -p /run/systemd/journal /run/log/journal
$journald >/dev/null 2>&1 &
journal=$!
trap 'kill $journal; rm -rf "$work"' EXIT
# What stands in the journal once a query answers, or nothing after 20 seconds.
await() { for _ in $(seq 200); do "$@" && return; sleep 0.1; done; return 1; }
await test -S /run/systemd/journal/socket || skip "the journal does not start here"

run_server '{ "type": "systemLog", "source": "Reporting" }'

find_all() { journalctl -q -D /run/log/journal -o cat SYSLOG_IDENTIFIER=Reporting "$@" 2>/dev/null; }
# grep reads to the end: journalctl would fail if nobody did.
holds() { find_all | grep "$1" >/dev/null; }
await holds "HOST:" || { echo "the journal has no record of ours"; find_all | tail -3; exit 1; }
# By severity, and by event ID, which is the low half of the message ID.
[ -n "$(find_all PRIORITY=3)" ] || { echo "no error is in the journal"; exit 1; }
id=$(find_all PRIORITY=3 | grep -oE '\[0x[0-9A-F]{8}\]' | sed -n 1p)
event=$((16#${id:7:4}))
[ -z "$(find_all EVENT_ID=$event | grep -vF "$id" | grep -F '[HOST:')" ] || { echo "EVENT_ID=$event finds others"; exit 1; }
find_all EVENT_ID=$event | grep -F "$id" >/dev/null || { echo "EVENT_ID=$event does not find $id"; exit 1; }
