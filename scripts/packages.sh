#!/usr/bin/env bash
# packages.sh [build|test|windows ...]: installs the Debian packages these jobs need and that are missing. No argument: all.
set -euo pipefail

declare -A packages=(
    [build]="g++ cmake ninja-build ccache libcli11-dev nlohmann-json3-dev libxml2-dev libfftw3-dev"
    [test]="git googletest libgtest-dev libbenchmark-dev clang clang-format clang-tidy llvm lld libclang-rt-14-dev
            python3 python3-pytest python3-pytest-xdist python3-jsonschema jq zsh fish groff-base i2c-tools edid-decode
            hdparm chromium"
    [windows]="g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix mingw-w64-common debootstrap
               util-linux mount gcc clang lld llvm googletest"
)

wanted=()
for group in "${@:-build test windows}"; do
    for name in $group; do
        [[ -v packages[$name] ]] || { echo "packages.sh: no group '$name' (there are: build, test, windows)" >&2; exit 2; }
        wanted+=(${packages[$name]})
    done
done

missing() {
    comm -23 <(printf '%s\n' "${wanted[@]}" | sort -u) \
             <(dpkg-query -W -f='${db:Status-Abbrev} ${Package}\n' | sed -n 's/^ii  *//p' | sort -u)
}
[[ -n $(missing) ]] || exit 0

as_root=()
if [[ $EUID -ne 0 ]]; then
    command -v sudo >/dev/null || { echo "packages.sh: run as root, or install sudo; missing:" $(missing) >&2; exit 1; }
    as_root=(sudo)
fi
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
log=$root/build/logs/packages.log
mkdir -p "${log%/*}"
exec 9>"$root/build/.packages.lock"
if ! flock -n 9; then
    echo "Waiting for another run that is installing packages ..." >&2
    flock 9
fi
left=$(missing)
[[ -n $left ]] || exit 0
count=$(wc -w <<<"$left")
echo "Installing $count package$([[ $count -eq 1 ]] || echo s), a minute or more:" $left >&2
quietly=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive)
apt=("${quietly[@]}" apt-get -q -y -o Acquire::Retries=3 -o DPkg::Lock::Timeout=600)
install() {
    "${quietly[@]}" dpkg --configure -a || true  # an interrupted installation
    # The lists may be absent (a fresh machine) or stale: refresh them once something is really missing.
    "${apt[@]}" update && "${apt[@]}" install --no-install-recommends $left
}
trap 'echo "installing packages was interrupted; the next run goes on from here" >&2; exit 130' INT
if ! install >"$log" 2>&1 9>&-; then  # the lock is not for what the packages may start
    tail -n 30 "$log" >&2
    echo "packages.sh: could not install:" $left "; the whole log: $log" >&2
    exit 1
fi
