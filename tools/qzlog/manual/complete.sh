#!/bin/sh
# Prints the completion of qzlog for a shell: its frame, with what the help of qzlog says of commands and options in
# the place of lines such as "# @options@". The frames are qzlog.bash.in, qzlog.zsh.in and qzlog.fish.in.
# Arguments: qzlog, and the shell.
set -eu
qzlog=$1 shell=$2
folder=$(dirname "$0")
{
    "$qzlog" --help
    for command in $("$qzlog" --help | sed -n '/^Subcommands/,/^$/s/^  \([a-z]*\) .*/\1/p'); do
        echo "= $command"
        "$qzlog" "$command" --help
    done
} | LC_ALL=C.UTF-8 awk -v shell="$shell" -f "$folder/complete.awk" | awk '
    NR == FNR && /^@ / { piece = $2; next }
    NR == FNR { pieces[piece] = pieces[piece] $0 "\n"; next }
    /^ *# @[a-z]+@$/ { gsub(/[^a-z]/, ""); printf "%s", pieces[$0]; next }
    { print }' - "$folder/qzlog.$shell.in"
