# Prints what zsh offers for a command line, a word a line. Arguments: a folder with the completion, for other files
# too, and the line. The shell that completes has a terminal of its own; it ends itself with the first completion.
zmodload zsh/zpty
export FOLDER=$1
cat > $FOLDER/setup <<'END'
PROMPT=
fpath=($FOLDER $fpath)
autoload -U compinit
compinit -D -u
bindkey '^I' complete-word
finish() { exit; }
comppostfuncs=(finish)
compadd()
{
    # What goes to an array is not offered yet.
    if [[ ${@[(I)-[ODA]]} -eq 0 ]]; then
        local -a fitting
        builtin compadd -O fitting "$@"
        print -rl -- $fitting >> $FOLDER/offers
    fi
    builtin compadd "$@"
}
echo ready to complete
END
: > $FOLDER/offers
zpty completing zsh -f -i
zpty -w completing "source $FOLDER/setup"
zpty -r completing output '*ready to complete*'
zpty -n -w completing "$2"$'\t'
while zpty -r completing output; do :; done
sort -u $FOLDER/offers
