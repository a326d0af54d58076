#!/usr/bin/env bash
# The house rules that no compiler knows. Says what breaks them, and where. Needs nothing built.
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C.UTF-8

folders=(.ci bench cmake docs examples fuzz include integrations kit packaging scripts src tests tools)
mapfile -t files < <(find "${folders[@]}" ./*.* Makefile -type f -not -path '*/corpus/*' | sed 's|^\./||' | sort)
of_kind() { printf '%s\n' "${files[@]}" | grep -E "$1"; }
mapfile -t code < <(of_kind '\.(h|cpp)$')
mapfile -t headers < <(of_kind '\.h$')
mapfile -t text < <(of_kind '\.(h|cpp|sh|cmake|md)$|CMakeLists\.txt$|^Makefile$|^\.ci/')
# "file:what it includes", a line each
mapfile -t includes < <(grep -HE '^ *#include' "${code[@]}" | sed -E 's/^([^:]*):[^<"]*[<"]([^>"]*).*/\1:\2/')

# A .cpp that is no program has a header of its name, or first includes the one that declares what it defines, apart from
# the others. Exempt is the file with the destructors of all interfaces.
without_header()
{
    local file stem own='^#include ("|<Qz|<KafkaClient/)[A-Za-z_/]+\.h[">]$'
    for file in $(of_kind '^(src|kit|tools)/.*\.cpp$|^examples/.*/.*\.cpp$' | grep -vE '/main\.cpp$|/Interfaces\.cpp$'); do
        stem=${file%.cpp}
        [ -e "$stem.h" ] || [ -e "${stem/\/posix\///}.h" ] || compgen -G "include/*/${stem##*/}.h" >/dev/null && continue
        compgen -G "kit/include/*/${stem##*/}.h" >/dev/null && continue
        # With the next line, which $() drops if it is empty.
        [[ $(grep -m 1 -A 1 '^#include' "$file") =~ $own ]] || echo "$file"
    done
}

# Headers that nobody but their own .cpp includes. An implementation (_Impl) may be reached by its interface alone.
headers_of_nobody()
{
    local line from to folder own path
    local -A used
    for line in "${includes[@]}"; do
        from=${line%%:*} to=${line#*:}
        own=${from/\/posix\///}
        for folder in src include kit/include kit/src tools/qzlog tests "${from%/*}"; do
            [ "$folder/$to" = "${own%.cpp}.h" ] || used[$folder/$to]=1
        done
    done
    for path in "${headers[@]}"; do
        [[ -n ${used[$path]:-} || $path == *_Impl.h ]] || echo "$path"
    done
}

# A source or script stands, with or without its ending, in the CMakeLists.txt that is nearest above it; whatever is
# not compiled may be named anywhere else.
files_of_nobody()
{
    local file folder name
    local exempt='\.h$|CMakeLists\.txt$|README\.md$|\.abi\.xz$|^Makefile$|^\.ci/|/consumer/main\.cpp$'
    for file in $(of_kind . | grep -vE "$exempt"); do
        name=${file##*/} folder=${file%/*}
        [ "$folder" = "$file" ] && folder=.
        while [ ! -e "$folder/CMakeLists.txt" ]; do folder=$(dirname "$folder"); done
        grep -qwF "$(sed -E 's/(_test)?\.(cpp|sh|cmake)$//' <<<"$name")" "$folder/CMakeLists.txt" && continue
        [[ $file != *.cpp ]] && grep -lF "$name" "${files[@]}" | grep -vxF "$file" >/dev/null && continue
        echo "$file"
    done
}

# A forked child must find no lock taken by a thread that it does not have: support/synch and the kit's ForkSafeLock make
# locks that see to that, and the layer below support has its own means.
locks_not_held_at_fork()
{
    grep -nE '\bCreate(RWLock|CriticalSection)\(|std::[a-z_]*mutex|pthread_(mutex|rwlock)_' "${code[@]}" |
        grep -E '^(src|kit)/' | grep -vE '^src/(os|support/synch)/|^kit/src/(ForkSafeLock|settings/ApplyTurn)'
}

# All of the library in one include is for its users: whoever includes it is compiled anew with each public header.
includes_of_everything()
{
    printf '%s\n' "${includes[@]}" | grep -E '^(src|kit|tools|tests)/.*:QzLog/QzLog\.h$' |
        grep -vE '^tests/(interface/|consumer/|routing/CallPath\.h)'
}

# A name that a file brings into its scope, and then does not use.
names_of_nobody()
{
    local file name
    for file in $(of_kind '\.cpp$' | xargs grep -lE '^ *(using [A-Za-z_:]+::[A-Za-z_]+;|namespace [A-Za-z_]+ = )'); do
        for name in $(sed -nE 's/^ *(using [A-Za-z_:]+::([A-Za-z_]+);|namespace ([A-Za-z_]+) = ).*/\2\3/p' "$file"); do
            [ "$(grep -owF "$name" "$file" | wc -l)" -gt 1 ] || echo "$file: $name"
        done
    done
}

# Tables of Markdown and lines of a log cannot be broken.
long_lines() { grep -nE '^.{126,}$' "${text[@]}" | grep -vE ':[0-9]+:(\||\.\.\. \[|[0-9]{4}-[0-9]{2}-[0-9]{2} )'; }

long_files()
{
    local file
    for file in "${code[@]}"; do
        mapfile -t lines <"$file"
        [ ${#lines[@]} -le 400 ] || echo "$file: ${#lines[@]}"
    done
}

trailing_blanks() { grep -nE '[[:blank:]]$' "${text[@]}"; }

without_pragma_once() { grep -L '^#pragma once' "${headers[@]}"; }

broken=0
for rule in without_header headers_of_nobody files_of_nobody locks_not_held_at_fork \
    includes_of_everything names_of_nobody long_lines long_files trailing_blanks without_pragma_once; do
    breaches=$("$rule" || true)
    [ -z "$breaches" ] && continue
    printf '%s:\n%s\n' "${rule//_/ }" "$breaches"
    broken=1
done
exit $broken
