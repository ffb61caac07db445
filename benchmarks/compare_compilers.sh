#!/usr/bin/env bash
# compare_compilers.sh [COMPILER ...]: the cache tester's loop beside the same one in inline assembly, built by each compiler
# (g++ and clang++ unless told) at -O1, -O2 and -O3. Prints both bandwidths and their ratio.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
if [ $# -eq 0 ]; then set -- g++ clang++; fi
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
printf '#include "benchmarks/read_loop.h"\nint main() { vxtbench::g_CompareReadLoops(); }\n' >"$folder/main.cpp"
for compiler in "$@"; do
    for level in -O1 -O2 -O3; do
        "$compiler" -std=c++20 $level -I "$root" -I "$root/src" "$folder/main.cpp" "$root/src/bench/memory_passes.cpp" \
            -o "$folder/program"
        printf '%-8s %s  ' "$compiler" $level
        "$folder/program"
    done
done
