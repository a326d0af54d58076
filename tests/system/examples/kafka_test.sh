#!/usr/bin/env bash
# Does what docs/server-engineers.md says of the first record on a broker.
source "$(dirname "$0")/../demo/common.sh"
command -v kcat > /dev/null || { echo "kcat is missing"; exit 77; }

coproc BROKER { exec "$example/mock_broker/mock_broker"; }
read -r address <&"${BROKER[0]}"
"$example/example_kafka_log" "$address"
expect "in the file" 1 "$(count ' this record is in the file\.' kafka.log)"
kcat -b "$address" -C -t "Kvel.ReportingEngine.Diag.$(uname -n).Hello" -o beginning -e -q > consumed
expect "on the broker" 1 "$(count '\[SERVER:Hello\].*\[Kernel\]\[Info\].* User alice waited 12\.8 ms\.' consumed)"
expect "records" "1 1" "$(count HOST: kafka.log) $(count HOST: consumed)"
passed
