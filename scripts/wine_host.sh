#!/usr/bin/env bash
# wine_host.sh [--machine NAME|FILE] [--state FILE] [--in FOLDER] BUILD BUILD64 PROGRAM ARGS...
# wine_host.sh [--machine NAME|FILE] [--state FILE] --in FOLDER --each FILE BUILD BUILD64 PROGRAM...
#
# Runs a host program on a freshly installed Windows (see in_wine.sh) from an installation as a user would have it, in
# "C:\Program Files\VXT Host": the program, the library of BUILD, the driver of BUILD64 in qor64\, the shipped library
# in shipped\. Without --machine the driver and the library take their default machine.
# --state: the PC's state is kept in FILE (docs/machine_files.md), which this script holds as long as it runs.
# --in: the program's current folder, one of this machine; else the installation.
# --each: several programs are installed; each line of FILE (in FOLDER) is a command line of one of them. Line N, from 0,
# leaves its output in N.out and its exit code in N.status.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
machine= state= processors=4 folder= each= binds=()
while [[ ${1-} == --* ]]; do
    case $1 in
    --machine) machine=$2 ;;
    --state) state=$2 ;;
    --in) folder=$2 ;;
    --each) each=$2 ;;
    *) echo "wine_host.sh: unknown argument '$1'" >&2 && exit 2 ;;
    esac
    shift 2
done
build=$1 build64=$2 program=$3
shift 3

if [[ -n $machine ]]; then
    file=$machine
    [[ -f $file ]] || file=$here/../machines/$machine.machine
    if [[ ! -f $file ]]; then
        echo "no machine '$machine': not a file, and the named ones are" \
            "$(cd "$here/../machines" && ls ./*.machine | sed 's|^./||; s|\.machine$||' | paste -sd' ')" >&2
        exit 2
    fi
fi

stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT

# The state under its real name. Programs and driver work on a copy, Z:\mnt\stage\VXTDriver.state, and replace that whole;
# on every way out of here the copy takes the place of the file, whole again.
_refuse() { echo "$state_named: $1" >&2; exit 4; }
_give_back() {
    local status=$?
    # Without the digest nobody has come to use it.
    if ! grep -qs '^state_digest = ' "$stage/VXTDriver.state" || cmp -s "$stage/VXTDriver.state" "$state"; then
        [[ -s $state ]] || rm -f "$state"
    elif ! { cp "$stage/VXTDriver.state" "$state.new" && chmod --reference="$state" "$state.new" &&
             sync "$state.new" && mv "$state.new" "$state"; } 2>"$stage/reason"; then
        rm -f "$state.new"
        echo "$state_named: the PC's state could not be kept: $(sed 's/.*: //; q' "$stage/reason")" >&2
        [[ $status -ne 0 ]] || status=1
    fi
    rm -rf "$stage"
    exit $status
}
if [[ -n $state ]]; then
    state_named=$state
    state=$(realpath -m -- "$state")
    { exec 9<>"$state"; } 2>"$stage/reason" || _refuse "$(sed 's/.*: //; q' "$stage/reason")"
    flock -n 9 && [[ $state -ef /proc/self/fd/9 ]] || _refuse "another process uses it"
    trap _give_back EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM HUP
    { cat <&9 >"$state.new" && rm "$state.new"; } 2>"$stage/reason" ||
        _refuse "the PC's state cannot be kept there: $(sed 's/.*: //; q' "$stage/reason")"
    known=$machine
    if [[ -n $machine && -f $machine ]]; then
        cp "$file" "$stage/VXTDriver.named.machine"
        known='Z:\mnt\stage\VXTDriver.named.machine'
    fi
    if [[ -s $state ]]; then
        cp "$state" "$stage/VXTDriver.state"
        file=$state
    else
        printf '[begin]\n[machine]\nbased_on = %s\nstate_of = %s\n[end]\n' "${known##*\\}" "$machine" >"$stage/VXTDriver.state"
    fi
fi
# A machine has its own cores, or those of the one that it is based on.
_cores() {
    local cores base
    cores=$(sed -nE 's/^cores *= *([0-9]+).*/\1/p' "$1" | head -n 1)
    base=$here/../machines/$(sed -nE 's/^based_on *= *([^ #]+).*/\1/p' "$1" | head -n 1).machine
    if [[ $cores || ! -f $base ]]; then echo "$cores"; else _cores "$base"; fi
}
if [[ -n ${file-} ]]; then
    processors=$(_cores "$file")
    [[ $processors -ge 1 && $processors -le 64 ]] || processors=1  # the driver refuses what is no PC
fi

mkdir "$stage/qor64" "$stage/shipped"
cp "$program" "$build/e2e/VXTAPI.dll" "$stage"
[[ -z $each ]] || cp "$@" "$stage"
cp "$build/bin/VXTAPI.dll" "$stage/shipped"
cp "$build64/driver/VXTDriver.sys" "$stage/qor64"
if [[ -n $state ]]; then
    printf '%s\n' 'Z:\mnt\stage\VXTDriver.state' "$known" >"$stage/qor64/VXTDriver.keep"
elif [[ -n $machine ]]; then
    cp "$file" "$stage/qor64/VXTDriver.machine"
fi
bits=32
[[ $(realpath "$build") != "$(realpath "$build64")" ]] || bits=64
[[ ! -f $build/e2e/vxt_wmi_server.dll ]] || cp "$build/e2e/vxt_wmi_server.dll" "$stage"
[[ -z $folder ]] || binds=(--bind "$folder:/mnt/here")
# What the tools keep of this PC for their next run lasts as long as the PC does: longer than one Windows.
if [[ -n $state && -n ${HOME-} ]]; then
    notes=${XDG_STATE_HOME:-$HOME/.local/state}/vxt/windows/$(cksum <<<"$state" | cut -d" " -f1)
    if mkdir -p "$notes" 2>/dev/null; then binds+=(--bind "$notes:/prefix/drive_c/users/root/AppData/Local/vxt"); fi
fi

# Names the files as the user did, instead of where Windows has them.
_as_named() {
    local line
    while IFS= read -r line || [[ -n $line ]]; do
        line=${line//'C:\Program Files\VXT Host\qor64\VXTDriver.machine'/"$machine"}
        line=${line//'Z:\mnt\stage\VXTDriver.named.machine'/"$machine"}
        printf '%s\n' "${line//'Z:\mnt\stage\VXTDriver.state'/"${state_named-}"}"
    done
}

exec 3>&1
"$here/in_wine.sh" --processors "$processors" --bind "$stage:/mnt/stage" "${binds[@]}" -- bash -euc '
    host="/prefix/drive_c/Program Files/VXT Host"
    cp -r /mnt/stage "$host"
    [[ ! -f $host/qor64/VXTDriver.machine ]] || export VXT_MACHINE="C:\\Program Files\\VXT Host\\qor64\\VXTDriver.machine"
    if [[ -f $host/qor64/VXTDriver.keep ]]; then
        { read -r VXT_STATE && read -r VXT_MACHINE; } <"$host/qor64/VXTDriver.keep"
        export VXT_STATE VXT_MACHINE
    fi
    # The class of the management locator, for programs of this width.
    [[ ! -f $host/vxt_wmi_server.dll ]] || wine reg add \
        "HKLM\\Software\\Classes\\CLSID\\{4590F811-1D3A-11D0-891F-00AA004B2E24}\\InprocServer32" \
        /ve /d "C:\\Program Files\\VXT Host\\vxt_wmi_server.dll" /f "/reg:$2" >/dev/null
    if [[ -d /mnt/here ]]; then cd /mnt/here; else cd "$host"; fi
    status=0
    if [[ -n $3 ]]; then
        n=0
        while read -r line; do
            eval "words=($line)"
            status=0
            wine "C:\\Program Files\\VXT Host\\${words[0]}.exe" "${words[@]:1}" >"$n.out" </dev/null || status=$?
            echo $status >$((n++)).status
        done <"$3"
        exit
    fi
    wine "C:\\Program Files\\VXT Host\\$4" "${@:5}" || status=$?
    # What the driver found wrong with machine or state.
    [[ ! -f $host/qor64/VXTDriver.error ]] || tr -d "\r" <"$host/qor64/VXTDriver.error" >&2
    exit $status
' bash "$machine" $bits "$each" "$(basename "$program")" "$@" 9>&- 2>&1 >&3 | (trap "" INT; _as_named) >&2
