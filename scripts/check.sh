#!/usr/bin/env bash
# Format, lint, the models of the locks, both compilers, the packages, the instructions of a log call, the sanitizers,
# the fuzz targets. The first failure ends it. What needs one processor runs beside the rest. At the end it says how many
# seconds each step took.
set -euo pipefail
# Each step is a job with a process group of its own, so that what runs beside a failure can be ended.
set -m
mkdir -p build/check

# Of the steps that run: by process its name, its start, and the file with its output if that waits for the end.
declare -A names=() starts=() outputs=()
times=()
# What is to run beside the other steps, one after the other: "function:name".
beside=("headers:public headers" "scripts:scripts" "models:models of the locks")

end_all() {
    local process
    for process in "${!names[@]}"; do kill -- "-$process" 2>/dev/null || true; done
}
trap end_all EXIT
trap 'exit 130' INT TERM

note() { names[$1]=$2 starts[$1]=$SECONDS; }

begin_beside() {
    [ ${#beside[@]} -ne 0 ] && [ ${#outputs[@]} -eq 0 ] || return 0
    local function=${beside[0]%%:*} name=${beside[0]#*:}
    beside=("${beside[@]:1}")
    $function >"build/check/$function.txt" 2>&1 &
    note $! "$name"
    outputs[$!]=build/check/$function.txt
}

# Waits for the next step that ends. If it has failed, all ends.
take_end() {
    local process status=0
    wait -n -p process "${!names[@]}" || status=$?
    local name=${names[$process]} took=$((SECONDS - starts[$process]))
    unset "names[$process]"
    times+=("$(printf '%5d s  %s' $took "$name")")
    if [ -n "${outputs[$process]:-}" ]; then
        printf '\n== %s (beside the others, %d s)\n' "$name" $took
        cat "${outputs[$process]}"
        unset "outputs[$process]"
        [ $status -ne 0 ] || begin_beside
    else
        printf '== %s: %d s\n' "$name" $took
    fi
    [ $status -eq 0 ] || { printf '\nFAILED: %s\n' "$name"; exit 1; }
}

# usage: step NAME COMMAND...
step() {
    printf '\n== %s\n' "$1"
    "${@:2}" &
    local process=$!
    note $process "$1"
    while [ -n "${names[$process]:-}" ]; do take_end; done
}

format() { git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run --Werror; }
scripts() { git ls-files '*.sh' .ci/run tools/qzlog/manual/qzlog.bash.in | xargs shellcheck -S warning; }
models() { tests/models/check.sh; }
headers() { doxygen docs/Doxyfile; }
instructions() { scripts/instructions.sh; }

# Not every machine that checks can install packages of another architecture.
aarch64() {
    if scripts/deps.sh aarch64; then
        cmake --workflow --preset aarch64
    else
        echo "not run: its packages cannot be installed here"
    fi
}

begin_beside
step "format" format
step "clang-tidy, several files as one" scripts/clang_tidy.sh
step "includes, and clang's warnings about each file" scripts/includes.sh
step "the Release type, within a foreign project" tests/consumer/subproject.sh
step "Debian packages, and a foreign project against them" scripts/package.sh
# It compiles what the packages are made of, and finds that in the compiler cache.
beside+=("instructions:instructions of a log call")
begin_beside
step "unit tests on 64-bit ARM, under emulation" aarch64
step "tests under asan" cmake --workflow --preset asan
step "tests under tsan" cmake --workflow --preset tsan
step "fuzz targets, ten seconds each" cmake --workflow --preset fuzz
while [ ${#names[@]} -ne 0 ]; do take_end; done

printf '\nAll right, after %d seconds:\n' $SECONDS
printf '%s\n' "${times[@]}"
