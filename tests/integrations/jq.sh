#!/usr/bin/env bash
# jq takes what `qzlog view --json` prints, and counts by its keys what grep counts in the log.
# Call: jq.sh <folder of the server> <qzlog>
source "$(dirname "$0")/run_server.sh"
qzlog=$2
command -v jq >/dev/null || skip "jq is not installed"
run_server '{ "type": "file", "path": "all.log", "maxFileSize": 9000, "backups": 9 }'

ask() { "$qzlog" view --json "${@:2}" "$work/logs/all.log" | jq -rs "$1"; }
count() { cat "$work"/logs/all.log* | grep -cE "$1"; }
expect "records" "$(ask length)" "$(count '^2.*\[HOST:')"
expect "users" "$(ask '[.[] | .uid // "0"] | group_by(.) | map("\(length) \(.[0])") | .[]' | sort)" \
    "$(cat "$work"/logs/all.log* | grep -oE '\[UID:[^]]*' | cut -c 6- | sort | uniq -c | sed 's/^ *//' | sort)"
expect "errors" "$(ask 'map(select(.message_id == "0x80000304")) | length' --dispatcher Error)" \
    "$(count '\[Error\]\[0x80000304\]')"
expect "several lines" "$(ask 'any(.message | contains("\n"))')" true
