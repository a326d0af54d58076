#!/usr/bin/env bash
# Compares the binary interface of a library with that of the last release: usage: abi.sh LIBRARY, which has its debug
# information. Fails for whatever a program that was built against the release could notice and CHANGELOG.md does not
# admit: a type is admitted where the list "Binary interface" of what is not released names it.
#
# After a release, describe it anew, and remove what was there:
#   abidw --exported-interfaces-only --drop-private-types --headers-dir include --no-show-locs --no-corpus-path \
#       --no-comp-dir-path --type-id-style hash LIBRARY | xz -9e >packaging/abi/VERSION-amd64.abi.xz
set -euo pipefail
cd "$(dirname "$0")/.."

released=(packaging/abi/*-"$(dpkg --print-architecture)".abi.xz)
[ -e "${released[0]}" ] || { echo "The release is not described for this architecture."; exit 0; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
xz -dc "${released[0]}" >"$work/released.abi"

# A template's name stands for all its instances.
sed -n '/^## Not released/,/^## [0-9]/{/^Binary interface/,/^$/p}' CHANGELOG.md >"$work/list"
{ grep -oE '`(Qz|Kafka)[A-Za-z0-9_:]+`' "$work/list" || true; } | tr -d '`' | while read -r type; do
    printf '[suppress_type]\nname_regexp = ^%s(<.*>)?$\n' "$type"
done >"$work/admitted"

# Its exit code does not tell what is admitted from what is not; the first line of its report does.
status=0
abidiff --no-added-syms --leaf-changes-only --suppressions "$work/admitted" "$work/released.abi" "$1" >"$work/report" ||
    status=$?
[ $((status & 3)) -eq 0 ] || { cat "$work/report"; exit 1; }
[ $status -eq 0 ] && exit 0
if ! grep -q '^Leaf changes summary: 0 artifact' "$work/report"; then
    cat "$work/report"
    echo "CHANGELOG.md does not admit these changes since $(basename "${released[0]}" .abi.xz)."
    exit 1
fi
echo "Binary interface: the release's, but for what CHANGELOG.md admits"
