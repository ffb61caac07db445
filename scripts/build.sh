#!/usr/bin/env bash
# build.sh PRESET [TARGET ...]: configures the preset once and builds it quietly; the whole log only on failure.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
preset=$1
shift
cd "$root"
log=build/logs/build-$preset.log
mkdir -p build/logs
targets=()
for target in "$@"; do targets+=(--target "$target"); done
launcher=()
# One compiler cache for all checkouts of this machine, precompiled headers included.
export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros
if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
if ! { { [ -f "build/$preset/build.ninja" ] || cmake --preset "$preset" "${launcher[@]}"; } &&
       cmake --build "build/$preset" "${targets[@]}"; } >"$log" 2>&1; then
    tail -n 60 "$log" >&2
    echo "building $preset failed; the whole log: $log" >&2
    exit 1
fi
