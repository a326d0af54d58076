# What the demos share. To be sourced.
export LC_ALL=C.UTF-8 # or grep takes a log with an umlaut for a binary file

if [ -t 1 ]; then style='\n\033[1m%s\033[0m\n'; else style='\n== %s\n'; fi
caption() { printf "$style" "$1"; }
fail() { echo "demo: $1" >&2; exit 1; }

server= # the process that runs meanwhile, once there is one

# await WHAT COMMAND...: waits until the command succeeds, as long as the server runs: a busy machine may take its time.
await() {
    local what=$1 next=$((SECONDS + 5))
    shift
    until "$@"; do
        kill -0 "$server" 2> /dev/null || fail "the server has ended before $what"
        if [ $SECONDS -ge $next ]; then
            echo "...still waiting until $what" >&2
            next=$((SECONDS + 5))
        fi
        sleep 0.1
    done
}
holds() { grep -qs -- "$2" "$1"; }

# Log lines without that part of the header that is the same in all of them: host, server, process.
shorten() { sed -E 's/ \[HOST:[^]]*\]\[SERVER:[^]]*\]\[PID:[0-9]+\]/ /; s/\r$//'; }
