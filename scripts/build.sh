#!/usr/bin/env bash
# build.sh PRESET [TARGET ...]: configures the preset once and builds it quietly; the whole log only on failure.
# With VXT_PROGRESS set it tells on stderr what takes its time, and on a terminal how far it is.
# Killed at any moment it leaves a state from which the next call works.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
preset=$1
shift
cd "$root"
log=build/logs/build-$preset.log
configured=build/$preset/.configured  # made behind a configuration that went through to its end
targets=()
for target in "$@"; do targets+=(--target "$target"); done

tell() { if [[ ${VXT_PROGRESS-} ]]; then printf '%s\n' "$*" >&2; fi; }

if ! mkdir -p build/logs || [[ ! -w build ]]; then
    echo "cannot write in $root/build, where everything is built" >&2
    exit 1
fi
# Whoever starts while another one builds waits for it, and then finds nothing left to do.
exec 9>"build/.$preset.lock"
if ! flock -n 9; then
    tell "Waiting for another run that is building $preset ..."
    flock 9
fi
trap 'echo "building $preset was interrupted; the next run goes on from here" >&2; exit 130' INT

# One compiler cache for all checkouts of this machine, precompiled headers included.
launcher=()
export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros
if command -v ccache >/dev/null; then
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    cache=$(ccache --get-config cache_dir 2>/dev/null) || cache=
    if ! mkdir -p "$cache" 2>/dev/null || [[ ! -w $cache ]]; then export CCACHE_DIR=$root/build/ccache; fi
fi

# How long the first build takes, in seconds of one core without a compiler cache (measured).
declare -A seconds=([native]=200 [windows-x86]=300 [windows-x64]=60)
first_build() {
    local what=${*:-everything} cores minutes
    cores=$(nproc)
    minutes=$(((${seconds[$preset]-600} / cores + 59) / 60))
    tell "Building ${what// /, } ($preset) for the first time, about $minutes minute$([[ $minutes -eq 1 ]] || echo s) on $cores core$([[ $cores -eq 1 ]] || echo s) ..."
}

# Reads the build's output; a build of a few steps goes without a word.
show_progress() {
    local line terminal= told=$1 few=8
    trap '' INT  # the builder ends, this then has all of its output
    if [[ -t 2 && ${TERM-dumb} != dumb ]]; then terminal=1; fi
    while IFS= read -r line; do
        [[ $line =~ ^\[([0-9]+)/([0-9]+)\] && ${BASH_REMATCH[2]} -gt $few ]] || continue
        if [[ ! $told ]]; then tell "Building $preset, ${BASH_REMATCH[2]} steps ..." && told=1; fi
        if [[ $terminal ]]; then printf '\r  %d of %d\033[K' "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}" >&2; fi
    done
    if [[ $terminal && $told ]]; then printf '\r\033[K' >&2; fi
}

configure() {
    [[ -f $configured && -f build/$preset/build.ninja ]] && return
    rm -f "$configured"
    cmake --fresh --preset "$preset" "${launcher[@]}" && touch "$configured"
}

build() { configure && cmake --build "build/$preset" "${targets[@]}"; }

SECONDS=0 first=
if [[ ! -f $configured ]]; then first_build "$@" && first=1; fi
if [[ ${VXT_PROGRESS-} ]]; then
    if build 2>&1 | tee -i "$log" | show_progress "$first"; then
        if [[ $SECONDS -gt 2 ]]; then tell "Built in $SECONDS s"; fi
        exit
    fi
elif build >"$log" 2>&1; then
    exit
fi
tail -n 60 "$log" >&2
echo "building $preset failed; the whole log: $root/$log" >&2
exit 1
