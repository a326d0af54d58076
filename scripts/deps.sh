#!/usr/bin/env bash
# Installs the Debian packages of one or more groups that are not there yet: build, kafka, integrations, bench, check,
# aarch64, coverage. Does nothing, and needs no rights, when all are there.
set -euo pipefail

declare -A groups=(
    [build]="g++ cmake make ninja-build pkg-config ccache
        libjsoncpp-dev librdkafka-dev libutfcpp-dev uuid-dev libcli11-dev libre2-dev zlib1g-dev liblzma-dev libzstd-dev
        libgtest-dev libgmock-dev"
    [kafka]="kcat"
    [integrations]="fish groff-base jq lnav python3-yaml rsyslog systemd xz-utils zsh zstd"
    [bench]="libbenchmark-dev libspdlog-dev liblog4cplus-dev"
    [check]="clang clang-format clang-tidy libclang-rt-14-dev iwyu git doxygen dpkg-dev file lintian shellcheck spin
        abigail-tools valgrind"
    [aarch64]="g++-aarch64-linux-gnu qemu-user-static
        libjsoncpp-dev:arm64 librdkafka-dev:arm64 uuid-dev:arm64 libre2-dev:arm64 zlib1g-dev:arm64 liblzma-dev:arm64
        libzstd-dev:arm64 libgtest-dev:arm64 libgmock-dev:arm64"
    [coverage]="gcovr"
)

# A package can be there for several architectures: without one in its name, that of the machine counts.
native=$(dpkg --print-architecture)
missing=()
for group in "$@"; do
    for package in ${groups[$group]}; do
        [[ $package == *:* ]] && architectures=${package#*:} || architectures="$native|all"
        dpkg-query -W -f '${Architecture} ${db:Status-Status}\n' "$package" 2>/dev/null |
            grep -xE "($architectures) installed" >/dev/null || missing+=("$package")
    done
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
if [ "$(id -u)" -eq 0 ]; then
    root=()
elif command -v sudo >/dev/null; then
    root=(sudo)
else
    echo "These packages are missing and only root can install them: ${missing[*]}" >&2
    exit 1
fi
[[ "${missing[*]}" != *:arm64* ]] || "${root[@]}" dpkg --add-architecture arm64
"${root[@]}" apt-get update
"${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
