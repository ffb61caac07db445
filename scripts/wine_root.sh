#!/usr/bin/env bash
# Makes the Wine root and prints its path: a minimal Debian 12 with 64-bit and 32-bit Wine and a fresh Windows installation
# ("prefix") inside, kept in a cache folder (VXT_CACHE, default /var/cache/vxt) and used by in_wine.sh.
# It has a root of its own because wine32:i386 often cannot be installed beside a machine's security updates.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
cache=${VXT_CACHE:-/var/cache/vxt}
root=$cache/wine-root
log=$cache/wine-root.log

# Each stage leaves a stamp with the number of its recipe: raise it when the stage changes.
system_recipe=1
prefix_recipe=1-$(sha256sum <"$here/wine_processors.c" | cut -c1-16)
_done() { [[ $(cat "$root/.vxt-$1" 2>/dev/null) == "$2" ]]; }

if _done system $system_recipe && _done prefix "$prefix_recipe"; then
    echo "$root"
    exit 0
fi
if [[ $EUID -ne 0 ]]; then
    command -v sudo >/dev/null || { echo "wine_root.sh: run as root, or install sudo" >&2; exit 1; }
    exec sudo VXT_CACHE="$cache" "${BASH_SOURCE[0]}"
fi

mkdir -p "$cache"
exec 9>"$cache/.lock"
flock 9  # another run may be making it: then there is nothing left to do afterwards
trap '[[ $? -eq 0 ]] || { tail -n 30 "$log"; echo "wine_root.sh: failed, the whole log is $log"; } >&2' EXIT

# Runs a command with mounts and processes of its own, which end with it, also when it is interrupted: a half-made root
# never holds a mount and can always be deleted. Whatever outlives a killed script still holds the lock.
_private() { unshare --mount --pid --fork --kill-child "$@" >>"$log" 2>&1; }
_inside() {  # ROOT SHELL_TEXT
    _private bash -euc '
        mount --rbind /dev "$1/dev"
        mount -t proc proc "$1/proc"
        exec chroot "$1" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root DEBIAN_FRONTEND=noninteractive \
            WINEDEBUG=-all WINEPREFIX=/prefix WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d" bash -euc "$2"
    ' bash "$@"
}

if ! _done system $system_recipe; then
    echo "Making the Wine root in $root (once, some minutes)" >&2
    rm -rf --one-file-system "$root" "$root.partial"
    : >"$log"
    _private debootstrap --variant=minbase bookworm "$root.partial" "${VXT_DEBIAN_MIRROR:-http://deb.debian.org/debian}"
    cp /etc/resolv.conf "$root.partial/etc/resolv.conf" 2>/dev/null || true
    _inside "$root.partial" '
        dpkg --add-architecture i386
        apt-get -q -o Acquire::Retries=3 update
        apt-get -q -y -o Acquire::Retries=3 install --no-install-recommends wine wine64 wine32:i386
        apt-get clean
    '
    echo $system_recipe >"$root.partial/.vxt-system"
    mv "$root.partial" "$root"
fi

if ! _done prefix "$prefix_recipe"; then
    echo "Making the Windows installation in it" >&2
    mkdir -p "$root/usr/lib/vxt" "$root/sys/devices/system/cpu"
    gcc -O2 -Wall -Wextra -shared -fPIC -o "$root/usr/lib/vxt/wine_processors.so" "$here/wine_processors.c"
    rm -rf "$root/prefix"
    _inside "$root" 'cd /root; wineboot --init; wineserver --wait; test -s /prefix/system.reg'
    echo "$prefix_recipe" >"$root/.vxt-prefix"
fi
echo "$root"
