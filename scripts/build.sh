#!/usr/bin/env bash
# Configures a preset if that has not been done, and builds it.
set -euo pipefail
preset=$1

[ -f "build/$preset/build.ninja" ] || cmake --preset "$preset"
cmake --build --preset "$preset" -- --quiet
