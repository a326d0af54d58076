#!/usr/bin/env bash
# Makes Markdown tables of what runs of scripts/bench.sh have printed: for each case QzLog's time as a ratio of that of
# every other subject, from the smallest to the largest of the runs, and the same of processor time in brackets. Of cases
# that only QzLog has: its times. Then the longest iteration of each subject, in milliseconds, where it is counted.
#   for i in 1 2 3; do scripts/bench.sh >build/bench$i.txt; done
#   scripts/bench_tables.sh build/bench[123].txt
set -euo pipefail
[ $# -ne 0 ] || { echo "usage: scripts/bench_tables.sh OUTPUT..." >&2; exit 2; }

printf '%s, Linux %s, %s processors, %s, %s runs.\n' \
    "$(sed -n 's/^model name.*: //p' /proc/cpuinfo | head -1)" "$(uname -r)" "$(nproc)" "$(findmnt -n -o FSTYPE -T /tmp)" $#

# The rows of RatioMain.cpp: "case/variant | subject wall cpu processor [ratio cpu ratio] max longest | ..."
awk '
function note(table, value) {
    if (!(table in low) || value < low[table]) low[table] = value
    if (!(table in high) || value > high[table]) high[table] = value
}
function range(table, form,   from, to) {
    from = sprintf(form, low[table]); to = sprintf(form, high[table])
    return from == to ? from : from " to " to
}
function time(table,   unit) {
    if (high[table] < 10000) return range(table, "%.0f") " ns"
    low[table] /= 1000; high[table] /= 1000
    if (high[table] < 10000) return range(table, "%.0f") " us"
    low[table] /= 1000; high[table] /= 1000
    return range(table, "%.0f") " ms"
}
/ \| QzLog [0-9.]+ cpu / {
    row = $1
    name = row; sub(/\/.*/, "", name)
    if (!(name in seen)) { seen[name] = 1; names[++count] = name }
    if (!(row in known)) { known[row] = 1; rows[name] = rows[name] " " row }
    parts = split($0, part, / \| /)
    for (i = 2; i <= parts; ++i) {
        split(part[i], word, " ")
        subject = word[1]
        if (subject != "QzLog" && !((name, subject) in has)) {
            has[name, subject] = 1
            subjects[name] = subjects[name] " " subject
        }
        note(row SUBSEP subject SUBSEP "time", word[2])
        if (match(part[i], /\[[0-9.]+ cpu [0-9.]+\]/)) {
            split(substr(part[i], RSTART + 1, RLENGTH - 2), ratio, " ")
            note(row SUBSEP subject SUBSEP "wall", ratio[1])
            note(row SUBSEP subject SUBSEP "cpu", ratio[3])
        }
        if (match(part[i], /max [0-9]+/)) {
            note(row SUBSEP subject SUBSEP "max", substr(part[i], RSTART + 4, RLENGTH - 4) / 1000)
            longest[name] = 1
        }
    }
}
END {
    for (n = 1; n <= count; ++n) {
        name = names[n]
        others = split(subjects[name], other, " ")
        printf "\n| %s |", name
        if (others == 0) printf " QzLog |"
        for (i = 1; i <= others; ++i) printf " %s |", other[i]
        if (name in longest) printf " longest, ms: QzLog |"
        for (i = 1; i <= others && name in longest; ++i) printf " %s |", other[i]
        printf "\n|"
        columns = 1 + (others == 0 ? 1 : others) + (name in longest ? 1 + others : 0)
        for (i = 1; i <= columns; ++i) printf "---|"
        printf "\n"
        lines = split(rows[name], line, " ")
        for (l = 1; l <= lines; ++l) {
            variant = line[l]
            sub(/^[^\/]*\/?/, "", variant)
            gsub(/:/, " ", variant); gsub(/\//, ", ", variant)
            printf "| %s |", variant
            if (others == 0) printf " %s |", time(line[l] SUBSEP "QzLog" SUBSEP "time")
            for (i = 1; i <= others; ++i) {
                key = line[l] SUBSEP other[i] SUBSEP
                if ((key "wall") in low) printf " %s (%s) |", range(key "wall", "%.2f"), range(key "cpu", "%.2f")
                else printf " |"
            }
            for (i = 0; i <= others && name in longest; ++i) {
                key = line[l] SUBSEP (i == 0 ? "QzLog" : other[i]) SUBSEP "max"
                if (key in low) printf " %s |", range(key, "%.1f")
                else printf " |"
            }
            printf "\n"
        }
    }
}' "$@"
