# To be sourced with the folder of the server.
set -euo pipefail
export LC_ALL=C.UTF-8 # or grep takes a log with an umlaut for a binary file
server=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

skip() { echo "skipped: $1"; exit 77; }

# run_server DESTINATION: runs the server on a hundred of its requests in $work, with what is logged as information or
# error going to one destination.
run_server() {
    cat >"$work/settings.json" <<SETTINGS
{ "server": "Reporting01", "language": "en", "basePath": "logs", "destinations": { "only": $1 },
  "routes": { "*/Info": ["only"], "*/Error": ["only"] } }
SETTINGS
    (cd "$work" && head -n 100 "$server/requests.txt" |
        "$server/reporting_server" --config settings.json - >server.txt 2>&1) ||
        { cat "$work/server.txt"; exit 1; }
}

expect() { [ "$2" = "$3" ] || { printf '%s: "%s" expected, "%s" found\n' "$1" "$3" "$2"; exit 1; }; }
