# What the tests of the example server share. To be sourced with the server's folder and a work folder, which is
# entered empty and goes when the test has passed.
set -euo pipefail
export LC_ALL=C.UTF-8

# shellcheck disable=SC2034 # the tests use it
example=$1
work=$2
rm -rf "$work"
mkdir -p "$work"
cd "$work"

fail() { echo "FAILED: $1" >&2; exit 1; }

# show_failure WHAT: to be called where it has just failed, with its output in output.txt.
show_failure() {
    local status=$?
    cat output.txt
    fail "$1 ended with $status"
}

# expect WHAT EXPECTED ACTUAL
expect() { [ "$2" = "$3" ] || fail "$1: expected '$2', got '$3'"; }

# How many lines of the logs match a pattern.
count() { cat $2 | grep -cE -- "$1" || true; }

await() {
    local text=$1
    shift
    for _ in $(seq 1200); do
        grep -qs -- "$text" "$@" && return
        sleep 0.05
    done
    fail "'$text' did not appear in $*"
}

passed() { cd /; rm -rf "$work"; }
