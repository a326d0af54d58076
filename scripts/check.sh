#!/usr/bin/env bash
# Format, lint, the models of the locks, both compilers, the packages, the instructions of a log call, the sanitizers,
# the fuzz targets. The first failure ends it.
set -euo pipefail

step() { printf '\n== %s\n' "$1"; }

step "format"
git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run --Werror

step "scripts"
git ls-files '*.sh' .ci/run tools/qzlog/manual/qzlog.bash.in | xargs shellcheck -S warning

step "models of the locks"
tests/models/check.sh

step "public headers"
mkdir -p build && doxygen docs/Doxyfile

step "clang, warnings are errors"
cmake --workflow --preset clang

step "clang-tidy"
git ls-files 'src/*.cpp' 'kit/*.cpp' 'examples/*.cpp' 'tools/*.cpp' |
    xargs -P "$(nproc)" -n 4 clang-tidy --quiet -p build/clang 2>&1 |
    { grep -v -E 'warnings? generated|^Suppressed|^Use -header-filter|^$' || true; } | tee build/clang-tidy.txt
[ ! -s build/clang-tidy.txt ]

step "includes"
scripts/includes.sh

step "the Release type, within a foreign project"
tests/consumer/subproject.sh

step "Debian packages, and a foreign project against them"
scripts/package.sh

step "instructions of a log call"
scripts/instructions.sh

step "unit tests on 64-bit ARM, under emulation"
# Not every machine that checks can install packages of another architecture.
if scripts/deps.sh aarch64; then
    cmake --workflow --preset aarch64
else
    echo "not run: its packages cannot be installed here"
fi

for sanitizer in asan tsan; do
    step "tests under $sanitizer"
    cmake --workflow --preset $sanitizer
done

step "fuzz targets, ten seconds each"
cmake --workflow --preset fuzz
