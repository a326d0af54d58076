#!/usr/bin/env bash
# Builds the foreign project with this tree as a folder of it: in the Release type, where warnings are errors, with
# settings that its author may have for other reasons.
set -euo pipefail
cd "$(dirname "$0")/../.."

build=build/subproject
configure() {
    cmake -S tests/consumer -B $build -G Ninja -DQZLOG_SOURCE_DIR="$PWD" -DQZLOG_WARNINGS_AS_ERRORS=ON \
        -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF -DCMAKE_CXX_STANDARD=17 -DCMAKE_UNITY_BUILD=ON "$@"
}
rm -rf $build
# What only the tool needs is not asked for, unless the tool is.
configure -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON 2>&1 | grep "QzLog is a shared library"
configure -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=OFF -DQZLOG_BUILD_TOOLS=ON -DQZLOG_BUILD_KIT=ON -DWITH_KIT=ON >/dev/null
cmake --build $build
$build/consumer 2>&1 | grep "librdkafka is loaded"
$build/kit_consumer 2>/dev/null
$build/QzLog/tools/qzlog/qzlog --version

cmake --install $build --prefix $build/installed
[ ! -e $build/installed ] || { echo "it installs what is not its own"; exit 1; }
