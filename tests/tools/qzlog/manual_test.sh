#!/bin/bash
# The manual page and the completions know what the help knows of each option and no other, and the completions work in
# their shells. Arguments: qzlog, the folder of the manual page, and the folder of the completions.
set -eu
qzlog=$1 page=$2/qzlog.1 parser=$2/complete.awk folder=$3
tests=$(dirname "$0")
fail() { echo "$1"; exit 1; }

text=$(groff -man -Tascii -P-cbou -ww "$page" 2>&1)
[[ $text != *warning:* && $text != *error:* ]] || fail "groff: $(grep -E 'warning:|error:' <<< "$text")"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$folder/qzlog.zsh" "$work/_qzlog"
commands=$("$qzlog" --help | sed -n '/^Subcommands/,/^$/s/^  \([a-z]*\) .*/\1/p' | sort)

# Command, name of an option, value and default; command and a word that a value can be.
{ "$qzlog" --help; for command in $commands; do echo "= $command"; "$qzlog" "$command" --help; done; } |
    LC_ALL=C.UTF-8 awk -v shell=table -f "$parser" | sort > "$work/help"
# The same from the page, with every bold word. A default ends a clause.
awk -v commands="$(tr '\n' ' ' <<< "$commands")" '
    BEGIN { all["FILTERS"] = "view stats"; all["OPTIONS"] = commands } # the latter are the common ones
    function flush(   i, n, owners)
    {
        for (n = split(section in all ? all[section] : section, owners, " "); n > 0; --n)
            for (i = 1; i <= rows; ++i)
                print owners[n] " " names[i] (names[i] ~ /^-/ ? value : "")
        rows = 0
        value = ""
    }
    function add(separator, isName,   n, parts)
    {
        for (n = split($0, parts, separator); n > 0; --n)
            if (isName == (parts[n] ~ /^-/) && parts[n] != "--version")
                names[++rows] = parts[n]
    }
    /^\.(TP|SH|SS)/ { flush() }
    /^\.S[HS]/ { section = $NF }
    { isBold = sub(/^\.B[IR]? /, ""); gsub(/\\f[BIR]|\\\||"|\\~/, ""); gsub(/\\-/, "-") }
    isHead { add(" *, +", 1) }
    !isHead && isBold { add("[ ,]+", 0) }
    !isHead && !isBold && match(" " $0, / \([^() ]+\)[.;,]/) { value = substr(" " $0, RSTART, RLENGTH - 1) }
    { isHead = /^\.T[PQ]/ }' "$page" > "$work/page"
differences=$(diff <(grep ' -' "$work/help") <(grep ' -' "$work/page" | sort)) || fail "manual: $differences"
words=$(comm -23 <(grep -v ' -' "$work/help" | sort) <(sort "$work/page"))
[ -z "$words" ] || fail "the manual does not know: $words"

# Each prints what a shell offers for a line, a word a line.
bash_offers()
{
    # compopt only works while the shell itself completes
    bash -c 'compopt() { :; }; source "$1"; IFS=" " read -ra COMP_WORDS <<< "$2"
        [[ $2 != *" " ]] || COMP_WORDS+=("")
        COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _qzlog; printf "%s\n" "${COMPREPLY[@]}"' \
        - "$folder/qzlog.bash" "$1" | sort -u
}
zsh_offers() { zsh -f "$tests/complete.zsh" "$work" "$1"; }
fish_offers() { HOME=$work fish -c "source '$folder/qzlog.fish'; complete -C '$1'" | cut -f 1 | sort -u; }

touch "$work/server 1.log"
for shell in bash zsh fish; do
    if ! command -v $shell > /dev/null; then
        echo "$shell is not there: its completion was not tested"
        continue
    fi
    [ "$(${shell}_offers 'qzlog ' | grep -v '^-')" = "$commands" ] || fail "$shell offers other commands"
    for command in $commands; do
        known=$(grep -oP "^$command \K--[a-z-]+" "$work/help" | sort)
        offered=$(${shell}_offers "qzlog $command --" | grep -- '^--')
        [ "$offered" = "$known" ] || fail "$shell offers for $command: $(diff <(echo "$known") <(echo "$offered"))"
    done
    [ "$(${shell}_offers 'qzlog view --color a')" = $'always\nauto' ] || fail "$shell knows no colours"
    [[ $(${shell}_offers "qzlog check -q $work/s") == *server*1.log* ]] || fail "$shell completes no files"
done
