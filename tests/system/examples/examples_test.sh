#!/usr/bin/env bash
source "$(dirname "$0")/../demo/common.sh"

"$example/example_hello_log_file"
expect "hello" 1 "$(count '\[Kernel\]\[Info\].* User alice waited 12\.8 ms\.' hello.log)"

"$example/example_file_log" shop/orders.log
expect "files" "orders.log orders.log.bak00 orders.log.bak01" "$(cd shop && echo *)"
cat shop/orders.log.bak01 shop/orders.log.bak00 shop/orders.log >all
expect "orders in their sequence" "" "$(grep -oE 'Order [0-9]+ costs' all | grep -oE '[0-9]+' | sort -nc 2>&1)"
expect "last order" 1 "$(count '\[SERVER:shop\].*\[Info\].* Order 100 costs 25 EUR\.' all)"
expect "place of an error" 1 "$(count '\[Orders\]\[Error\].*\[FileLog\.cpp:main at line:[0-9]+\] Order 90' all)"
expect "several lines" 1 "$(count '^has moved' all)"

"$example/example_own_hook" 2>hook
expect "trace before and after" "Quiet: 3 Enter 'Divide' near 42 / 2 Leave 'Divide' near Verbose: 21" \
    "$(grep -oE "(Quiet|Verbose): [0-9]+|(Enter|Leave) 'Divide' near|[0-9]+ / [0-9]+" hook | xargs -d '\n')"
expect "return code" 1 "$(count 'OwnHook\.cpp\([0-9]+\) with 0x00000015' hook)"

"$example/example_worker_identity" 2>workers
expect "alice" 3 "$(count '\[UID:alice\]\[SID:S1\]\[OID:0\] (Request for 2 pages|Page [12] is done)' workers)"
expect "bob" 4 "$(count '\[UID:bob\]\[SID:S2\]\[OID:0\] (Request for 3 pages|Page [123] is done)' workers)"
expect "nobody" 1 "$(count '\[UID:0\]\[SID:0\]\[OID:0\] Nobody' workers)"

# Built with the kit only.
[ ! -e "$example/example_unit_test" ] || "$example/example_unit_test"

expect "files left" "all hello.log hook shop workers" "$(echo *)"
passed
