#!/usr/bin/env bash
# lnav opens a log and its back-ups with our format, headless, and answers a query on its fields.
# Call: lnav.sh <folder of the server>
source "$(dirname "$0")/run_server.sh"
format=$(cd "$(dirname "$0")/../../integrations/lnav" && pwd)/qzlog.json
command -v lnav >/dev/null || skip "lnav is not installed"
mkdir -p "$work/config/formats/qzlog"
cp "$format" "$work/config/formats/qzlog/"
run_server '{ "type": "file", "path": "all.log", "maxFileSize": 20000, "backups": 100 }'

ask() { HOME=$work lnav -n -I "$work/config" -c ";$1" -c ':write-csv-to -' "$work"/logs/all.log* | tail -n +2 | tr -d '\r'; }

log=$work/all
cat "$work"/logs/all.log* > "$log"
expect "back-ups" "$([ -e "$work/logs/all.log.bak01" ] && echo some)" some
count() { grep -cE "\]\[$1\]" "$log"; }
expect "errors" "$(ask "SELECT count(*) FROM qzlog WHERE dispatcher = 'Error' AND log_level = 'error'")" "$(count Error)"
expect "infos" "$(ask "SELECT count(*) FROM qzlog WHERE dispatcher = 'Info' AND server = 'Reporting01'")" "$(count Info)"
# Of a failure with causes the lines below belong to the record.
expect "several lines" "$(ask "SELECT count(*) > 0 FROM qzlog WHERE log_body LIKE '%' || char(10) || '%'")" 1
expect "users" "$(ask "SELECT count(DISTINCT uid) FROM qzlog WHERE uid NOT IN ('', '0')")" \
    "$(grep -oE '\[UID:[^]]*\]' "$log" | sort -u | grep -cv 'UID:0]')"
