# The demo's own run: what it says and what its logs hold. Others want to run in its folder at the same time.
source "$(dirname "$0")/common.sh"

"$example/demo.sh" "$work" > first.txt 2>&1 &
first=$!
"$example/demo.sh" "$work" > output.txt 2>&1 || show_failure demo.sh
wait $first || fail "one of two demos ended with $?: $(cat first.txt)"

expect "the summary" "330 requests, 32 of them failed, and 6 lines that held none" "$(cat summary.txt)"

# Each of these is part of a line that the demo prints.
while IFS= read -r text; do
    grep -qF -- "$text" output.txt || fail "the demo does not show: $text"
done << 'END'
[Kernel][Info][0x00000111][UID:jürgen][SID:2E79][OID:0] User 'jürgen' signed in to project 'Finanzen'.
[OID:Archive/Year_2006] Request 2 (RunReport) has failed.
Report 'Archive/Year_2006' could not be run.
Database 'ARCHIVEDB' did not answer within 500 ms.
[OID:Archive/Year_2006] Anfrage 2 (RunReport) ist fehlgeschlagen.
Die Datenbank 'ARCHIVEDB' hat nicht innerhalb von 500 ms geantwortet.
routes.Kernel/Error: expected a name that stands in "destinations" (engine
logs/engine/engine.log.bak02
ReportingServer::RequestHandler::Handle(
/100(
END

# The same once more with every message kept, since what has rolled over cannot be searched.
cat > everything.json << 'END'
{ "server": "S", "language": "en", "basePath": "everything",
  "destinations": {
    "all": { "type": "file", "path": "all.log", "maxFileSize": 100000000 },
    "german": { "type": "file", "path": "all.log", "maxFileSize": 100000000, "language": "de" },
    "english": { "type": "file", "path": "all.log", "maxFileSize": 100000000, "language": "en" } },
  "routes": { "*/Trace": ["all"], "*/Info": ["german"], "*/Error": ["english", "german"] } }
END
"$example/reporting_server" --config everything.json "$example/requests.txt" > /dev/null
expect "masked values" 37 "$(grep -oE '[pP]assword="\*\*\*"' everything/all.log | wc -l)"
expect "masked bodies" 2 "$(count 'POST /api/logins with the body .*\*\*\*' everything/all.log)"
expect "withheld bodies" 3 "$(count '/api/users/[a-z]+ with the body \(withheld\)' everything/all.log)"

# The secrets of the sample, whatever their form and however broken their line.
tr '|' '\n' << 'END' |
tulip-7|correct horse|Sommer2026!|p&ssw<rd>|geheim-42|rosebud|naïve§|Kirsche9|xyzzy|Ω-mega|kiwi|pässword"
ends-in-backslash|second-secret|90210777|hidden-name|tabbed-secret|never-closed|loose-form|cut-o
END
while IFS= read -r secret; do
    grep -qF -- "$secret" "$example/requests.txt" || fail "'$secret' is no secret of the sample"
    if grep -rqF -- "$secret" .; then
        fail "'$secret' can be read in $(grep -rlF -- "$secret" . | tr '\n' ' ')"
    fi
done
passed
