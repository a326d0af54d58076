#!/bin/bash
# The manual page and the completion know each option that the help knows, and the completion works in a shell.
# Arguments: qzlog, and the folder of the two.
set -eu
qzlog=$1 folder=$2
fail() { echo "$1"; exit 1; }

text=$(groff -man -Tascii -P-cbou -ww "$folder/qzlog.1" 2>&1)
[[ $text != *warning:* && $text != *error:* ]] || fail "groff: $(grep -E 'warning:|error:' <<< "$text")"

source "$folder/qzlog.bash.in"
compopt() { :; } # which only works while the shell itself completes
complete_words() { COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)); _qzlog; }

commands=$("$qzlog" --help | sed -n '/^Subcommands/,/^$/s/^  \([a-z]*\) .*/\1/p')
complete_words qzlog ''
known=" ${COMPREPLY[*]} "
for command in $commands; do
    [[ $known == *" $command "* ]] || fail "the completion does not know $command"
    section=$(sed -n "/^ *qzlog $command\$/,/^   *qzlog [a-z]*\$/p;/^FILTERS/,\$p" <<< "$text")
    [ -n "$section" ] || fail "the manual does not know $command"
    complete_words qzlog "$command" -
    for option in $("$qzlog" "$command" --help | grep -oE '^  (-.,)?--[a-z-]+' | grep -oE -- '--.*'); do
        grep -qE -- "$option( |,|\$)" <<< "$section" || fail "the manual does not know $command $option"
        [[ " ${COMPREPLY[*]} " == *" $option "* ]] || fail "the completion does not know $command $option"
    done
    for option in "${COMPREPLY[@]}"; do
        "$qzlog" "$command" --help | grep -q -e "$option\b" || fail "there is no $command $option"
    done
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
touch "$work/server 1.log"
complete_words qzlog view --dispatcher Error "$work/"
[ "${COMPREPLY[*]}" = "$work/server 1.log" ] || fail "completed to ${COMPREPLY[*]}"
complete_words qzlog view --color a
[ "${COMPREPLY[*]}" = "auto always" ] || fail "completed to ${COMPREPLY[*]}"
