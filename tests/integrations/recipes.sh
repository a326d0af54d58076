#!/usr/bin/env bash
# Runs a recipe of docs/deployment.md or docs/operators.md by the very files that stand there, with other paths.
# Call: recipes.sh <systemd|container|sidecar|rsyslog|shipping> <server> <qzlog>
set -euo pipefail
recipe=$1 server=$2 qzlog=$3
docs=$(cd "$(dirname "$0")/../../docs" && pwd)

skip() { echo "skipped: $1"; exit 77; }
fail() { echo "$1"; head -n 20 "$work"/*.txt; exit 1; }
await() { for _ in $(seq 300); do "$@" && return; sleep 0.1; done; return 1; }
in_namespaces() # of its own, where root may have them
{
    [ "$(id -u)" -eq 0 ] || skip "only root can do that"
    unshare "$@" true 2>/dev/null || skip "no namespaces here"
}
if [ "$recipe" = rsyslog ] && [ -z "${QZLOG_RSYSLOG_NAMESPACE:-}" ]; then
    command -v rsyslogd >/dev/null || skip "rsyslog is not installed"
    in_namespaces --mount
    unshare --mount mount -t tmpfs tmpfs /run 2>/dev/null || skip "nothing can be mounted here"
    QZLOG_RSYSLOG_NAMESPACE=1 exec unshare --mount "$0" "$@"
fi
work=$(mktemp -d)
end() # what still runs would make the folder again
{
    # shellcheck disable=SC2046
    kill $(jobs -p) 2>/dev/null || true
    wait
    rm -rf "$work"
}
trap end EXIT

# The block of a page whose first line ends in this name, with the paths of this run.
block()
{
    awk -v name="/$1" '/^```/ { inside = !inside; first = inside; wanted = 0; next }
        first { wanted = substr("/" $2, length("/" $2) - length(name) + 1) == name; first = 0 }
        inside && wanted' "$docs/deployment.md" "$docs/operators.md" |
        sed "s|/logs|$work/logs|g; s|/var/log|$work|; s|/etc/reporting|$work|; s|/usr/bin/reporting-server|$server|
            s|\[reporting-server,|[$server,|; s|/usr/bin/qzlog|$qzlog|; s|\[qzlog,|[$qzlog,|" >"$work/$1"
    [ -s "$work/$1" ] || fail "no block for $1"
}
verify()
{
    command -v systemd-analyze >/dev/null || skip "systemd is not installed"
    # It also speaks of other units of the machine.
    systemd-analyze verify --man=no "$work/$1" 2>&1 | grep -F "$1" >"$work/verify.txt" || true
    [ ! -s "$work/verify.txt" ] || fail "the unit is not right"
}
# The command of a line of a unit: command_of UNIT LINE
command_of() { sed -n "/^$2=/,/[^\\\\]\$/p" "$work/$1" | sed "s/^$2=//; s/\\$\\$/\$/g"; }
has_lines() { [ -s "$1" ] && [ "$(wc -l <"$1")" -ge "$2" ]; }
requests() { printf 'alice S1 <a/>\nbob S2 no request\n'; }

systemd()
{
    block reporting.service
    block settings.json
    verify reporting.service
    mkdir "$work/reporting"
    sed -i 's/"type": "systemLog", "source": "reporting"/"type": "debugOutput"/' "$work/settings.json" # no journal's
    requests | "$server" "$work/settings.json" 2>"$work/err.txt"
    [ "$(grep -c ' no request' "$work/err.txt")" = 1 ] || fail "the second destination has not the error alone"
    local stop
    stop=$(command_of reporting.service ExecStopPost)
    SERVICE_RESULT=core-dump EXIT_CODE=dumped EXIT_STATUS=ABRT bash -c "$stop"
    SERVICE_RESULT=success bash -c "$stop"
    "$qzlog" view --dispatcher Error "$work/reporting/server.log" >"$work/errors.txt"
    [ "$(grep -cE '\[SID:S2\].* no request$|\[Service\].*ended: core-dump, dumped ABRT$' "$work/errors.txt")" = 2 ] ||
        fail "the log has not the error and the end"
}

container()
{
    in_namespaces --pid --uts --fork
    block container.json
    requests | unshare --pid --uts --fork sh -c 'hostname pod-1; exec "$@"' - "$server" "$work/container.json" \
        2>"$work/err.txt" || fail "the server fails"
    [ "$(grep -c '\[HOST:pod-1\].*\[PID:1\]' "$work/err.txt")" = 3 ] || fail "standard error has not the records"
}

sidecar()
{
    python3 -c 'import yaml' 2>/dev/null || skip "python3-yaml is not installed"
    block reporting-pod.yaml
    block pod.json
    mkdir "$work/logs"
    arguments_of()
    {
        python3 -c 'import sys, yaml
print(*yaml.safe_load(open(sys.argv[1]))[sys.argv[2]][0]["command"], sep="\n")' "$work/reporting-pod.yaml" "$1"
    }
    mapfile -t reads < <(arguments_of initContainers)
    mapfile -t serves < <(arguments_of containers)
    for expected in 3 6; do # the side-car starts before the log is there, then once more
        "${reads[@]}" >>"$work/records.txt" &
        requests | "${serves[@]}"
        await has_lines "$work/records.txt" "$expected" || fail "$expected records expected"
        kill $!
        wait $! || true
    done
    [ "$(sort -u "$work/records.txt" | wc -l)-$(wc -l <"$work/records.txt")" = 6-6 ] || fail "a record came twice"
}

rsyslog()
{
    # A /dev/log of our own, and no journal.
    mount -t tmpfs tmpfs /run
    mkdir /run/dev
    for device in null urandom; do
        touch "/run/dev/$device"
        mount --bind "/dev/$device" "/run/dev/$device"
    done
    mount --rbind /run/dev /dev
    block 30-reporting.conf
    printf 'module(load="imuxsock")\n' | cat - "$work/30-reporting.conf" >"$work/rsyslog.conf"
    rsyslogd -n -f "$work/rsyslog.conf" -i /run/rsyslog.pid >"$work/rsyslog.txt" 2>&1 &
    await test -S /dev/log || fail "rsyslog does not start"
    printf '{ "messages": { "0x101": { "en": "Two\\nlines: %%1" } } }' >"$work/texts.json"
    echo '{ "destinations": { "log": { "type": "systemLog", "source": "reporting" } }, "routes": { "*": ["log"] },
        "catalogs": { "*": "texts.json" } }' >"$work/syslog.json"
    requests | "$server" "$work/syslog.json"
    await has_lines "$work/reporting-errors.log" 4 || fail "rsyslog has not written the records"
    [ "$("$qzlog" view --json "$work/reporting-errors.log" | wc -l)" = 3 ] || fail "rsyslog has changed the records"
    [ ! -s "$work/rsyslog.txt" ] || fail "rsyslog complains"
}

shipping() # while three processes roll the log over, and rsyslog is restarted
{
    command -v rsyslogd >/dev/null || skip "rsyslog is not installed"
    block 40-qzlog-ship.conf
    block qzlog-ship.service
    verify qzlog-ship.service
    local port=$((20000 + RANDOM % 12000)) writers=() running # below what the system gives to clients
    sed -i "s/5514/$port/; s|%S|$work|" "$work/40-qzlog-ship.conf" "$work/qzlog-ship.service"
    mkdir "$work/reporting" "$work/qzlog-ship"
    write()
    {
        exec "$qzlog" write --max-size 30000 --backups 99 "$work/reporting/server.log" \
            < <(for i in $(seq 30); do seq -f "writer $1 record $i-%g" 50; sleep 0.05; done)
    }
    is_read() # to the ends of the connections, and written
    {
        local size
        size=$(stat -c %s "$work/shipped.json")
        ! grep -qE ":$(printf %04X "$port") [0-9A-F:]+ 0[18] " /proc/net/tcp && sleep 1 &&
            [ "$(stat -c %s "$work/shipped.json")" = "$size" ]
    }
    for writer in 1 2 3; do
        write $writer &
        writers+=($!)
    done
    for expected in 500 4500; do
        rsyslogd -n -f "$work/40-qzlog-ship.conf" -i "$work/pid" >>"$work/rsyslog.txt" 2>&1 &
        running=$!
        await bash -c ": </dev/tcp/127.0.0.1/$port" 2>/dev/null || fail "rsyslog does not listen"
        bash -c "exec $(command_of qzlog-ship.service ExecStart)" 2>>"$work/follower.txt" &
        await has_lines "$work/shipped.json" "$expected" || fail "$expected records expected"
        kill $! # first, as the unit says
        wait $! || true
        await is_read || fail "rsyslog does not come to the end"
        kill "$running"
        wait "$running" || true
    done
    wait "${writers[@]}"
    [ "$(sort -u "$work/shipped.json" | wc -l)-$(wc -l <"$work/shipped.json")" = 4500-4500 ] || fail "a record came twice"
}

$recipe
