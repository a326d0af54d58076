# To be sourced. run_server FOLDER DESTINATION: runs the server in the folder $server on a hundred of its requests, with
# what is logged as information or error going to one destination, and FOLDER for whatever it makes.
export LC_ALL=C.UTF-8 # or grep takes a log with an umlaut for a binary file

# shellcheck disable=SC2154 # who sources this has set $server
run_server() {
    cat >"$1/settings.json" <<SETTINGS
{ "server": "Reporting01", "language": "en", "basePath": "logs", "destinations": { "only": $2 },
  "routes": { "*/Info": ["only"], "*/Error": ["only"] } }
SETTINGS
    (cd "$1" && head -n 100 "$server/requests.txt" | "$server/reporting_server" --config settings.json - >server.txt 2>&1) ||
        { cat "$1/server.txt"; exit 1; }
}

expect() { [ "$2" = "$3" ] || { printf '%s: "%s" expected, "%s" found\n' "$1" "$3" "$2"; exit 1; }; }
