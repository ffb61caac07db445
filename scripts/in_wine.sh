#!/usr/bin/env bash
# in_wine.sh [--processors N] [--bind FOLDER:AS]... -- COMMAND ARGS...
#
# Runs a command inside a private copy of the Wine root: Windows as freshly installed, with N processors (default: 4) and
# wineserver running. --bind shows a folder of this machine under the absolute path AS. The copy (an overlay in memory),
# its mounts and every process started in it end with the command: nothing has to be cleaned up and runs do not meet.
set -euo pipefail

processors=4 folders=()
while [[ $# -gt 0 ]]; do
    case $1 in
    --processors) processors=$2 && shift 2 ;;
    --bind) folders+=("$(realpath -e "${2%:*}")" "${2##*:}") && shift 2 ;;
    --) shift && break ;;
    *) echo "in_wine.sh: unknown argument '$1'" >&2 && exit 2 ;;
    esac
done
root=$("$(dirname "${BASH_SOURCE[0]}")/wine_root.sh")
as_root=()
[[ $EUID -eq 0 ]] || as_root=(sudo)

# In order: the overlay, /proc for this namespace's processes, the processors that Windows is to count, the folders.
# wineserver alone is preloaded: it keeps the threads' masks.
exec "${as_root[@]}" unshare --mount --pid --fork --kill-child bash -euc '
    root=$1 processors=$2 folders=$3
    shift 3
    top=${root%/*}/run
    mkdir -p "$top"
    mount -t tmpfs tmpfs "$top"
    mkdir "$top"/{upper,work,root}
    mount -t overlay overlay -o "lowerdir=$root,upperdir=$top/upper,workdir=$top/work" "$top/root"
    mount --rbind /dev "$top/root/dev"
    mount -t proc proc "$top/root/proc"
    echo "0-$((processors - 1))" >"$top/root/sys/devices/system/cpu/online"
    for ((; folders > 0; folders -= 2)); do
        mkdir -p "$top/root$2"
        mount --rbind "$1" "$top/root$2"
        shift 2
    done
    exec chroot "$top/root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root TERM="${TERM:-dumb}" LC_ALL=C.UTF-8 WINEDEBUG=-all \
        WINEPREFIX=/prefix WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d" bash -euc "
            cd /root
            LD_PRELOAD=/usr/lib/vxt/wine_processors.so /usr/lib/wine/wineserver64 --persistent
            \"\$@\"
        " bash "$@"
' bash "$root" "$processors" "${#folders[@]}" "${folders[@]}" "$@"
