#!/usr/bin/env bash
# Has clang-tidy look at all that is compiled. The files of a library or program are put together, sixteen in one: to read
# and match the standard headers takes most of the time that clang-tidy takes for a single file.
#
# What only a look at one file finds is left to others: clang's warnings about fields that nobody uses come from
# scripts/includes.sh, names that are brought into a file and not used from scripts/tidy.sh.
set -euo pipefail
cd "$(dirname "$0")/.."

# CMake's file for several others includes them. Here their text takes the place of that, because clang looks for
# functions that nobody uses, and the analyzer for faults, in the main file.
merge() {
    awk '
        /^#include "/ {
            split($0, part, "\""); file = part[2]
            folder = file; sub(/[^\/]*$/, "", folder)
            print "#line 1 \"" file "\""
            while ((getline line < file) > 0) {
                if (line ~ /^ *#include "/) {
                    split(line, part, "\""); beside = folder part[2]
                    if ((getline < beside) >= 0) line = "#include \"" beside "\""
                    close(beside)
                }
                print line
            }
            close(file)
        }' "$1" >"$1.merged"
    mv "$1.merged" "$1"
}

# Names the file and line of what is reported in a merged file.
name_places() {
    awk '
        match($0, /^[^:]*\/Unity\/[^:]*:[0-9]+/) {
            split(substr($0, 1, RLENGTH), at, ":")
            for (number = 1; number <= at[2] && (getline line < at[1]) > 0; ++number)
                if (line ~ /^#line /) { split(line, part, "\""); start = number }
            close(at[1])
            $0 = part[2] ":" at[2] - start substr($0, RLENGTH + 1)
        }
        { print }'
}

cmake --preset lint >/dev/null
cmake --preset clang >/dev/null
mapfile -t merged < <(sed -nE 's|^ *"file": "(.*/Unity/.*)".*|\1|p' build/lint/compile_commands.json |
    grep -v '/build/lint/tests/')
[ ${#merged[@]} -ne 0 ]
for file in "${merged[@]}"; do merge "$file"; done
# What was not merged, and what this configuration leaves out, is looked at as it is.
mapfile -t single < <(comm -23 <(git ls-files 'src/*.cpp' 'kit/*.cpp' 'examples/*.cpp' 'tools/*.cpp' | sort) \
    <(sed -nE "s|^#line 1 \"$PWD/(.*)\"|\1|p" "${merged[@]}" | sort))

# Each function is analysed by itself, also when it is called within the merged file. The largest files come first.
merged_files() {
    stat -c '%s %n' "${merged[@]}" | sort -rn | cut -d ' ' -f 2- |
        lint build/lint 1 --extra-arg-before=-Xclang --extra-arg-before=-analyzer-inlining-mode=all
}
single_files() { printf '%s\n' "${single[@]}" | lint build/clang 1; }
# Of tests no others are asked for than clang's warnings; nor of the files that scripts/includes.sh cannot see.
warnings() {
    git ls-files 'tests/*.cpp' ':!tests/consumer' '*/Lines.cpp' '*/Needle.cpp' '*/RecordStart.cpp' |
        lint build/clang 2 --checks='-*,clang-diagnostic-*,misc-unused-alias-decls'
}
lint() { xargs -P "$(nproc)" -n "$2" clang-tidy --quiet -p "$1" "${@:3}"; }

{ merged_files && single_files && warnings; } 2>&1 |
    { grep -v -E 'warnings? generated|^Suppressed|^Use -header-filter|^$' || true; } | name_places | tee build/clang-tidy.txt
[ ! -s build/clang-tidy.txt ]
