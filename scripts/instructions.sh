#!/usr/bin/env bash
# Has callgrind count the user instructions of a log call of each kind, and fails if one takes more than 5 % more than
# bench/instructions.txt says. That file holds for one compiler and one C library; with others the counts are printed and
# not compared.
#   scripts/instructions.sh [--update | --all]
# --update writes the file. --all only prints the counts, those of the baseline and the peers too, and the system calls of
# one call.
set -euo pipefail
cd "$(dirname "$0")/.."
committed=bench/instructions.txt
program=build/bench/bench/instruction_counts
calls=1000 # kCalls of the program

build() { cmake --preset bench && cmake --build --preset bench --target instruction_counts -- --quiet; }
mkdir -p build
build >build/instructions.txt 2>&1 || { cat build/instructions.txt; exit 1; }

folder=$(mktemp -d /tmp/qzlog-XXXXXX)
trap 'rm -rf "$folder"' EXIT

compiler=$(sed -n -E 's/^set\(CMAKE_CXX_COMPILER_(ID|VERSION) "(.*)"\)/\2/p' build/bench/CMakeFiles/*/CMakeCXXCompiler.cmake)
toolchain="${compiler//$'\n'/ }, $(getconf GNU_LIBC_VERSION), $(uname -m)"

# What would make the counts depend on the machine: its time zone, and the C library's functions for its processor.
export TZ=UTC LC_ALL=C GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2
count() {
    valgrind -q --tool=callgrind --toggle-collect=CountedCalls --callgrind-out-file="$folder/out" \
        "$program" "$1" "$folder" >"$folder/messages" 2>&1 || { cat "$folder/messages" >&2; exit 1; }
    local total
    total=$(sed -n 's/^totals: //p' "$folder/out")
    [ "${total:-0}" -gt 0 ] || { echo "callgrind has not counted $1" >&2; exit 1; }
    echo $(((total + calls / 2) / calls))
}

# The system calls of a whole run, where the library's are started in any case.
count_system_calls() {
    strace -f -c -o "$folder/strace" "$program" "$1" "$folder"
    awk '$NF == "total" { print $4 }' "$folder/strace"
}

if [ "${1:-}" = --all ]; then
    echo "$toolchain"
    start=$(count_system_calls disabled_call)
    for kind in $("$program"); do
        counted=$(count "$kind")
        system_calls=$(count_system_calls "$kind")
        # A hundred calls come before those that are counted. A few calls more or less are of the program's start.
        printf '%-48s %7d instructions %3d system calls\n' "$kind" "$counted" \
            $(((system_calls - start + 50) / (calls + 100)))
    done
    exit 0
fi

{
    echo "# User instructions of one call, as scripts/instructions.sh --update has counted them with:"
    echo "$toolchain"
    for kind in $("$program" | grep -v :); do
        counted=$(count "$kind")
        printf '%-32s %6d\n' "$kind" "$counted"
    done
} >"$folder/counted"

if [ "${1:-}" = --update ]; then
    cp "$folder/counted" "$committed"
    cat "$committed"
    exit 0
fi
if [ "$(sed -n 2p "$committed")" != "$toolchain" ]; then
    tail -n +2 "$folder/counted"
    echo "Not compared: $committed is of $(sed -n 2p "$committed")."
    exit 0
fi
tail -n +3 "$folder/counted" | join -j 1 -a 1 -a 2 -e none -o 0,1.2,2.2 <(sort -k 1,1 <(tail -n +3 "$committed")) <(sort) |
    awk '{
        verdict = $2 == "none" || $3 == "none" ? "in one of the two only" : $3 > $2 * 1.05 ? "more by over 5 %" : ""
        printf "%-32s %6s -> %6s  %s\n", $1, $2, $3, verdict
        if (verdict != "")
            failed = 1
        else if ($3 < $2 * 0.95)
            less = 1
    }
    END {
        if (less)
            print "Some take less: commit what scripts/instructions.sh --update writes."
        exit failed
    }'
