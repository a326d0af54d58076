#!/bin/bash
# `qzlog view --otlp` writes what OTLP says, checked by otlp.jq. Argument: qzlog.
set -eu
qzlog=$1 tests=$(cd "$(dirname "$0")" && pwd)
command -v jq > /dev/null || { echo "skipped: jq is not installed"; exit 77; }
fail() { echo "$1"; exit 1; }
is_otlp() { jq -e -s -L "$tests" 'include "otlp"; length > 0 and all(.[]; is_otlp("LogsData"))' > /dev/null; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
trace=0af7651916cd43dd8448eb211c80319c span=b7ad6b7169203331
zeros=00000000000000000000000000000000
header='[HOST:ws01][SERVER:Engine][PID:11][THR:21][Kernel]'
record() { printf '%s %s%s[UID:%s][SID:%s][OID:%s]%s %b\r\n' "$@"; }
{
    printf '\xEF\xBB\xBF# Tarnwickforge Log version 2.0\r\n'
    record '2026-11-18 03:02:07.123-05:00' "$header" '[Error][0x0000002A]' alice "trace=$trace-$span" Year/2010 \
        '[Writer.cpp:Flush at line:42]' 'It "failed".\r\nCause\tone'
    record '2026-11-18 08:02:08.000' "$header" '[Audit]' 0 "trace=$trace-0000000000000000" 0 '' 'nul \0 bad \xFF esc \e'
    record '2026-11-18 08:02:09.000' "${header/11/007}" '[Trace]' 0 "trace=$zeros-$span" 0 '' ''
    record '1969-11-18 08:02:09.000' "${header/11/99999999999999999999}" '[Info]' 0 "trace=${trace^^}-$span" 0 '' old
    for session in "trace=$trace$span" "x trace=$trace-$span" "trace=$trace-$span " "TRACE=$trace-$span"; do
        record '2026-11-18 08:02:10.000' "$header" '[Warning]' "$(printf 'a\001\xC3')" "$session" 0 '' 'see session'
    done
} > a.log
{ head -c 36 a.log; printf 'a line of nobody\r\n'; } > loose.log

"$qzlog" view --otlp a.log > all
is_otlp < all || fail "this is no OTLP: $(cat all)"
[ "$(wc -l < all)" = 8 ] || fail "not a line a record"
for change in 's/"timeUnixNano":"\([0-9]*\)"/"timeUnixNano":\1/' 's/host.name/service.name/'; do
    if sed "$change" all | is_otlp; then fail "the check does not see $change"; fi
done
sed -n 1p all | jq -S -c '.resourceLogs[0].scopeLogs[0].logRecords[0].observedTimeUnixNano |= "now"' > first
cat > expected << END
{"resourceLogs":[{"resource":{"attributes":[{"key":"host.name","value":{"stringValue":"ws01"}},\
{"key":"service.name","value":{"stringValue":"Engine"}},{"key":"process.pid","value":{"intValue":"11"}}]},\
"scopeLogs":[{"logRecords":[{"attributes":[{"key":"thread.id","value":{"intValue":"21"}},\
{"key":"user.id","value":{"stringValue":"alice"}},{"key":"qzlog.object_id","value":{"stringValue":"Year/2010"}},\
{"key":"qzlog.message_id","value":{"stringValue":"0x0000002A"}},\
{"key":"code.file.path","value":{"stringValue":"Writer.cpp"}},\
{"key":"code.function.name","value":{"stringValue":"Flush"}},{"key":"code.line.number","value":{"intValue":"42"}}],\
"body":{"stringValue":"It \"failed\".\nCause\tone"},"observedTimeUnixNano":"now","severityNumber":17,\
"severityText":"Error","spanId":"$span","timeUnixNano":"1763452927123000000","traceId":"$trace"}],\
"scope":{"name":"Kernel"}}]}]}
END
sed -i 's/1763452927123/'"$(date -d '2026-11-18 08:02:07.123Z' +%s%3N)"'/' expected
diff expected first || fail "the first record is another"
# The same bytes mean the same as in --json.
diff <(jq -c '.resourceLogs[0].scopeLogs[0].logRecords[0].body.stringValue' all) \
    <("$qzlog" view --json a.log | jq -c .message) || fail "a message is another in --json"
fields='.resourceLogs[0] | .scopeLogs[0].logRecords[0] as $r | [$r.severityNumber, $r.severityText, $r.timeUnixNano != null,
    $r.traceId, ($r.attributes[] | select(.key == "session.id").value.stringValue),
    (.resource.attributes[] | select(.key == "process.pid").value | keys[0])]'
diff <(tail -n +2 all | jq -c "$fields") - << END || fail "the fields are others"
[null,"Audit",true,null,"trace=$trace-0000000000000000","intValue"]
[1,"Trace",true,null,"trace=$zeros-$span","stringValue"]
[9,"Info",false,null,"trace=${trace^^}-$span","stringValue"]
[13,"Warning",true,null,"trace=$trace$span","intValue"]
[13,"Warning",true,null,"x trace=$trace-$span","intValue"]
[13,"Warning",true,null,"trace=$trace-$span ","intValue"]
[13,"Warning",true,null,"TRACE=$trace-$span","intValue"]
END

"$qzlog" view --otlp a.log loose.log | is_otlp || fail "merged logs are no OTLP"
