#!/bin/bash
# The follower prints what processes write at full speed as `view` prints it when all is over, and ends when told to.
# With "-n 0" too, which leaves out what there is at first, and here that is nothing.
# Arguments: qzlog, stress, and how stress writes.
set -eu
qzlog=$1 stress=$2
shift 2
folder=$(mktemp -d)
follower=
trap '[ -z "$follower" ] || kill $follower 2> /dev/null || true; rm -rf "$folder"' EXIT

log=$folder/kept/stress.log
"$qzlog" view --follow -n 0 "$log" > "$folder/followed" 2> "$folder/told" &
follower=$!
until [ -s "$folder/told" ]; do sleep 0.02; done
"$stress" --keep "$folder/kept" "$@" > "$folder/stress" || { cat "$folder/stress"; exit 1; }
"$qzlog" view "$log" > "$folder/viewed" || [ $? -eq 1 ] # where the machine is too busy to write anything

# A record that a kill has cut has no end of line in the file, but has one where the follower has shown it at once.
lines='cat'
[[ " $* " != *" --kill "* ]] || lines='tr -d \n'
is_same() { cmp "$@" <($lines < "$folder/viewed") <($lines < "$folder/followed"); }
for ((i = 0; i < 300; ++i)); do
    is_same -s && break
    sleep 0.1
done
is_same
kill -TERM $follower
wait $follower || [ $? -eq 1 ]
follower=
diff - "$folder/told" <<< "qzlog: $log is not there yet
qzlog: $log is there now"
