#!/usr/bin/env bash
# Makes the Debian packages below build/package, has lintian look at them, and builds the foreign project of
# tests/consumer against what they would install, in both ways, and uses the tool. Needs no root: the packages are
# unpacked into a folder.
set -euo pipefail
cd "$(dirname "$0")/.."

rm -f build/package/*.deb
cmake --workflow --preset package
# Both of these keep one processor busy, beside the foreign project.
scripts/abi.sh build/package/src/libQzLog2_64.so &
interface=$!
cd build/package
ls -1 ./*.deb
lintian --no-cfg --allow-root --fail-on error ./*.deb &
lintian=$!

root=$PWD/root
rm -rf "$root" consumer
for package in ./*.deb; do
    dpkg-deb -x "$package" "$root"
done
libraries=$(dirname "$(find "$root/usr/lib" -name libQzLog2_64.so)")
export LD_LIBRARY_PATH=$libraries

cmake -S ../../tests/consumer -B consumer -DCMAKE_PREFIX_PATH="$root/usr" -DWITH_KIT=ON >/dev/null
cmake --build consumer >/dev/null
consumer/consumer 2>consumer/output
grep -q "property 'no.such.property'" consumer/output || { cat consumer/output; exit 1; }
consumer/kit_consumer 2>/dev/null
echo "find_package(QzLog): built and ran, with Kafka and the kit"

for module in qzlog:main qzlog-kit:kit; do
    read -ra flags <<<"$(PKG_CONFIG_PATH=$libraries/pkgconfig pkg-config --cflags --libs "${module%:*}")"
    "${CXX:-c++}" -std=c++20 "../../tests/consumer/${module#*:}.cpp" -o consumer/by_pkg_config "${flags[@]}"
    consumer/by_pkg_config 2>/dev/null
done
echo "pkg-config qzlog, qzlog-kit: built and ran"

wait $interface
wait $lintian

# librdkafka comes with the Kafka module alone, which the library recommends.
field() { dpkg-deb -f libqzlog2-64-"$1"_*.deb "$2"; }
[[ $(field 1 Depends) != *librdkafka* && $(field 1 Recommends) == libqzlog2-64-1-kafka ]] ||
    { echo "the library depends on: $(field 1 Depends)"; exit 1; }
[[ $(field 1-kafka Depends) == *libqzlog2-64-1*librdkafka1* ]] ||
    { echo "its Kafka module depends on: $(field 1-kafka Depends)"; exit 1; }

# Without its dependency on the library the tool's package would install and not run.
depends=$(dpkg-deb -f qzlog_*.deb Depends)
[[ $depends == *libqzlog2-64-* ]] || { echo "qzlog depends on: $depends"; exit 1; }
qzlog=$root/usr/bin/qzlog
version=$("$qzlog" --version)
[ "$version" = "qzlog $(dpkg-deb -f qzlog_*.deb Version | cut -d - -f 1)" ] || { echo "version: $version"; exit 1; }
rm -f tool.log*
seq 100 | "$qzlog" write --max-size 4k --backups 4 tool.log
"$qzlog" check -q tool.log
[ "$("$qzlog" view -c tool.log)" = 100 ]
for file in man/man1/qzlog.1.gz bash-completion/completions/qzlog zsh/vendor-completions/_qzlog \
    fish/vendor_completions.d/qzlog.fish; do
    [ -s "$root/usr/share/$file" ] || { echo "there is no $file"; exit 1; }
done
echo "qzlog: ran"
