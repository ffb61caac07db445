#!/usr/bin/env bash
# tidy.sh [FILES...]: clang-tidy over the library, the simulated PC and the tools (some minutes; so it is no part of
# ./test), or over the given files. Needs the compile commands of a Clang build: that of the fuzzers.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
scripts/packages.sh build test
[[ -f build/fuzz/compile_commands.json ]] || cmake --preset fuzz >/dev/null
if [[ $# -eq 0 ]]; then
    mapfile -t files < <(jq -r '.[].file' build/fuzz/compile_commands.json | grep -vE '/(tests|build)/' | sort -u)
    set -- "${files[@]}"
fi
printf '%s\n' "$@" | xargs -P "$(nproc)" -n 1 clang-tidy -p build/fuzz --quiet
