#!/bin/bash
# The manual page and the completions know each option that the help knows and no other, and the completions work in
# their shells. Arguments: qzlog, the manual page, and the folder of the completions.
set -eu
qzlog=$1 page=$2 folder=$3
tests=$(dirname "$0")
fail() { echo "$1"; exit 1; }

text=$(groff -man -Tascii -P-cbou -ww "$page" 2>&1)
[[ $text != *warning:* && $text != *error:* ]] || fail "groff: $(grep -E 'warning:|error:' <<< "$text")"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$folder/qzlog.zsh" "$work/_qzlog"

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
commands=$("$qzlog" --help | sed -n '/^Subcommands/,/^$/s/^  \([a-z]*\) .*/\1/p' | sort)
for shell in bash zsh fish; do
    if ! command -v $shell > /dev/null; then
        echo "$shell is not there: its completion was not tested"
        continue
    fi
    [ "$(${shell}_offers 'qzlog ' | grep -v '^-')" = "$commands" ] || fail "$shell offers other commands"
    for command in $commands; do
        known=$("$qzlog" "$command" --help | grep -oE '^  (-.,)?--[a-z-]+' | grep -oE -- '--.*' | sort)
        offered=$(${shell}_offers "qzlog $command --" | grep -- '^--')
        [ "$offered" = "$known" ] || fail "$shell offers for $command: $(diff <(echo "$known") <(echo "$offered"))"
    done
    [ "$(${shell}_offers 'qzlog view --color a')" = $'always\nauto' ] || fail "$shell knows no colours"
    [[ $(${shell}_offers "qzlog check -q $work/s") == *server*1.log* ]] || fail "$shell completes no files"
done

for command in $commands; do
    section=$(sed -n "/^ *qzlog $command\$/,/^   *qzlog [a-z]*\$/p;/^FILTERS/,\$p" <<< "$text")
    for option in $("$qzlog" "$command" --help | grep -oE '^  (-.,)?--[a-z-]+' | grep -oE -- '--.*'); do
        grep -qE -- "$option( |,|\$)" <<< "$section" || fail "the manual does not know $command $option"
    done
done
