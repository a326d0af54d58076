#!/bin/bash
# A follower with a cursor file that is killed and started again many times, while four writers fill a log with a small
# limit, shows every record, and each kill makes no more than 1,000 of them come a second time. One that is asked to end
# makes none.
# Arguments: qzlog, how often the follower is ended, and how many hundred records each writer writes.
set -eu
qzlog=$1 ends=$2 hundreds=$3
folder=$(mktemp -d)
follower=
trap '[ -z "$follower" ] || kill -9 $follower 2> /dev/null || true; rm -rf "$folder"' EXIT
log=$folder/log
touch "$folder/shown"

# All that they write has room in the back-ups, however long the follower gets no processor.
write() {
    for ((hundred = 0; hundred < hundreds; ++hundred)); do
        for ((i = 0; i < 100; ++i)); do echo "writer $1 record $((hundred * 100 + i)) end"; done
        sleep 0.05
    done | "$qzlog" write --max-size 60k --backups 256 "$log"
}
writers=()
for writer in 1 2 3 4; do
    write $writer &
    writers+=($!)
done

kills=0
for ((end = 0; end < ends; ++end)); do
    size=$(stat -c %s "$folder/shown")
    "$qzlog" view -f --cursor-file "$folder/cursor" "$log" >> "$folder/shown" 2>> "$folder/told" &
    follower=$!
    for ((i = 0; i < 100 && $(stat -c %s "$folder/shown") == size; ++i)); do sleep 0.01; done
    sleep 0.0$((RANDOM % 10))
    if ((end % 3 == 2)); then
        kill -TERM $follower
    else
        kill -KILL $follower
        kills=$((kills + 1))
    fi
    wait $follower 2> /dev/null || true
    follower=
done
wait "${writers[@]}"
"$qzlog" view --cursor-file "$folder/cursor" "$log" >> "$folder/shown" 2>> "$folder/told" || [ $? -eq 1 ]

# A kill may cut what is being written to the output; that record comes once more.
grep -aoE 'writer [1-4] record [0-9]+ end' "$folder/shown" > "$folder/found"
different=$(sort -u "$folder/found" | wc -l)
doubles=$(($(wc -l < "$folder/found") - different))
echo "$different records, $doubles of them twice, $kills kills"
[ "$different" -eq $((hundreds * 400)) ]
[ "$doubles" -le $((kills * 1000)) ]
! grep -vE ' is (not there yet|there now)$' "$folder/told"
