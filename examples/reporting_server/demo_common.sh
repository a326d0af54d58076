# What the demos share. To be sourced.
export LC_ALL=C.UTF-8 # or grep takes a log with an umlaut for a binary file

if [ -t 1 ]; then style='\n\033[1m%s\033[0m\n'; else style='\n== %s\n'; fi
caption() { printf "$style" "$1"; }
fail() { echo "demo: $1" >&2; exit 1; }

# Waits until one of the files holds a text, 30 seconds at most.
await() {
    local text=$1
    shift
    for _ in $(seq 600); do
        grep -qs -- "$text" "$@" && return
        sleep 0.05
    done
    fail "'$text' did not appear in $*"
}

# Log lines without that part of the header that is the same in all of them: host, server, process.
shorten() { sed -E 's/ \[HOST:[^]]*\]\[SERVER:[^]]*\]\[PID:[0-9]+\]/ /; s/\r$//'; }
