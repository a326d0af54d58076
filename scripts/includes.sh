#!/usr/bin/env bash
# Names the headers of our own that a file includes and does not use. What does it is made of clang, and also gives all of
# clang's warnings about each file.
# Public headers are exempt, because their users have come to rely on what they include; QzLog.h in the examples; and the
# tests, for the time it takes. They name what they use instead of including QzLog.h (scripts/tidy.sh).
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset clang >/dev/null
[ $# -gt 0 ] || mapfile -t files < <(git ls-files 'src/*.cpp' 'kit/*.cpp' 'tools/*.cpp' 'examples/*.cpp')
[ $# -eq 0 ] || files=("$@")
options=(-Xiwyu --no_fwd_decls)
for folder in src kit tools examples; do
    options+=(-Xiwyu "--check_also=$PWD/$folder/*")
done

# The tool's exit code says that it would change something, which it always would.
report=build/includes.txt
iwyu_tool -j "$(nproc)" -p build/clang "${files[@]}" -- "${options[@]}" >"$report" 2>&1 || true
if grep -E 'error: ' "$report"; then exit 1; fi
# The tool stops at vectors of bytes, which these files use, and does not see what this configuration leaves out.
exempt='/(Lines|Needle|RecordStart)\.cpp$'
for file in "${files[@]}"; do
    [[ $file =~ $exempt ]] || ! grep -qF "\"file\": \"$PWD/$file\"" build/clang/compile_commands.json && continue
    grep -qE "^(\(|The full include-list for )$PWD/$file( has correct|:)" "$report" && continue
    echo "$file was not looked at"
    exit 1
done

unused=$(sed -nE '/ should remove these lines:$/,/^$/ {
        s/^(.*) should remove these lines:$/\1/; t keep
        s/^- (#include ("|<Qz|<Kafka).*[">]).*/\1/; T
        G; s/(.*)\n(.*)/\2: \1/p; d
        :keep
        h
    }' "$report" | sed "s|^$PWD/||" | grep -vE '^(kit/)?include/|^examples/[^:]*: .*QzLog/QzLog\.h' | sort -u || true)
[ -z "$unused" ] || { printf 'Included and not used:\n%s\n' "$unused"; exit 1; }
