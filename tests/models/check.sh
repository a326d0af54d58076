#!/usr/bin/env bash
# usage: check.sh [model...]
# Has spin explore each model whole: as it stands, and with each WITH_ switch that it knows. Then each BREAK_ switch,
# which takes a key step away: a search must find that, or the model shows nothing.
set -euo pipefail
cd "$(dirname "$0")"
folder=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Searches a model with some switches, and sets `errors` to the number that spin found.
search() {
    local model=$1 search_of_states=(-DSAFETY) run=(-E) out
    shift
    cd "$work"
    spin -a "${@/#/-D}" "$model" >spin.txt || { cat spin.txt; exit 1; }
    # A formula is about endless runs in which each thread that can go on does so in the end.
    if grep -q '^ltl ' spin.txt; then
        search_of_states=(-DNFAIR=3)
        run=(-a -f)
    fi
    cc -O1 -w -DNOREDUCE -DVECTORSZ=2048 -DMEMLIM=4000 "${search_of_states[@]}" -o pan pan.c
    out=$(./pan -m1000000 "${run[@]}" 2>&1) || true
    errors=$(sed -n 's/.*errors: \([0-9]*\).*/\1/p' <<<"$out")
    states=$(sed -n 's/ *\([0-9.e+]*\) states, stored.*/\1/p' <<<"$out")
    failure=$(sed -n 's/^pan:[0-9]*: //p' <<<"$out")
    if [ "$errors" != 1 ] && { [ "$errors" != 0 ] || grep -q 'not completed' <<<"$out"; }; then
        printf '%s\n' "$out"
        exit 1
    fi
    cd "$folder"
}

switches() { grep -o "\b$1_[A-Z_]*" "$2" | sort -u || true; }

[ $# -ne 0 ] || set -- ConvoyFreeMutex FileLock Loan ModulePin RWLock
for name in "$@"; do
    model=$folder/$name.pml
    cp Threads.pml "$work"
    for with in "" $(switches WITH "$model"); do
        search "$model" ${with:+"$with"}
        if [ "$errors" != 0 ]; then
            echo "$name ${with:-as it stands}: $failure"
            exit 1
        fi
        echo "$name ${with:-as it stands}: right, $states states"
    done
    for broken in $(switches BREAK "$model"); do
        for with in "" $(switches WITH "$model"); do
            search "$model" "$broken" ${with:+"$with"}
            [ "$errors" = 0 ] || break
        done
        if [ "$errors" = 0 ]; then
            echo "$name: nothing finds $broken"
            exit 1
        fi
        echo "$name $broken: found, $failure"
    done
done
