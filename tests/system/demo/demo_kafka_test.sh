# The demo with a broker: what it says, and that it leaves no file and no process behind.
source "$(dirname "$0")/common.sh"
command -v kcat > /dev/null || { echo "kcat is missing"; exit 77; }

mkdir tmp
TMPDIR=$work/tmp "$example/demo_kafka.sh" > output.txt 2>&1 || show_failure demo_kafka.sh

topic=Kvel.ReportingEngine.Diag.$(uname -n).Reporting01
while IFS= read -r text; do
    grep -qF -- "$text" output.txt || fail "the demo does not show: $text"
done << END
property 'compresion.codec'
The settings 'wrong.json' are not usable; what was in force before stays in force.
$topic.RegtrySettings:
{"basePath":"logs","destinations":{"stream":{"path":"stream.log","type":"kafka"}},"language":"en",
     1  $topic.RegtrySettings
The server has stopped after 330 requests, 32 of them failed.
END

streamed=$(sed -nE "s/^ *([0-9]+)  in Kafka/\1/p" output.txt)
filed=$(sed -nE "s/^ *([0-9]+)  in logs.*/\1/p" output.txt)
[ "$filed" -gt 100 ] && [ "$streamed" -gt 500 ] || fail "$filed records went to the file and $streamed to Kafka"
grep -qF "Kafka took $((streamed + 1)) records, acknowledged $((streamed + 1)) and lost 0" output.txt ||
    fail "the counters do not say $streamed and the settings: $(grep 'Kafka took' output.txt)"

expect "files left" "" "$(ls tmp)"
expect "processes left" "" "$(readlink /proc/[0-9]*/cwd 2> /dev/null | grep -F "$work/tmp" || true)"
passed
