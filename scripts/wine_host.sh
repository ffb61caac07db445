#!/usr/bin/env bash
# wine_host.sh [--machine NAME|FILE] [--in FOLDER] BUILD BUILD64 PROGRAM ARGS...
# wine_host.sh [--machine NAME|FILE] --in FOLDER --each FILE BUILD BUILD64 PROGRAM...
#
# Runs a host program on a freshly installed Windows (see in_wine.sh) from an installation as a user would have it, in
# "C:\Program Files\VXT Host": the program, the library of BUILD, the driver of BUILD64 in qor64\, the shipped library
# in shipped\. Without --machine the driver and the library take their default machine.
# --in: the program's current folder, one of this machine; else the installation.
# --each: several programs are installed; each line of FILE (in FOLDER) is a command line of one of them. Line N, from 0,
# leaves its output in N.out and its exit code in N.status.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
machine= processors=4 folder= each= binds=()
while [[ ${1-} == --* ]]; do
    case $1 in
    --machine) machine=$2 ;;
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
    processors=$(sed -nE 's/^cores *= *([0-9]+).*/\1/p' "$file" | head -n 1)
    processors=${processors:-1}
fi

stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
mkdir "$stage/qor64" "$stage/shipped"
cp "$program" "$build/e2e/VXTAPI.dll" "$stage"
[[ -z $each ]] || cp "$@" "$stage"
cp "$build/bin/VXTAPI.dll" "$stage/shipped"
cp "$build64/driver/VXTDriver.sys" "$stage/qor64"
[[ -z $machine ]] || cp "$file" "$stage/qor64/VXTDriver.machine"
bits=32
[[ $(realpath "$build") != "$(realpath "$build64")" ]] || bits=64
[[ ! -f $build/e2e/vxt_wmi_server.dll ]] || cp "$build/e2e/vxt_wmi_server.dll" "$stage"
[[ -z $folder ]] || binds=(--bind "$folder:/mnt/here")

"$here/in_wine.sh" --processors "$processors" --bind "$stage:/mnt/stage" "${binds[@]}" -- bash -euc '
    host="/prefix/drive_c/Program Files/VXT Host"
    cp -r /mnt/stage "$host"
    [[ ! -f $host/qor64/VXTDriver.machine ]] || export VXT_MACHINE="C:\\Program Files\\VXT Host\\qor64\\VXTDriver.machine"
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
    # What the driver found wrong with the machine file, under the name that the user gave.
    if [[ -f $host/qor64/VXTDriver.error ]]; then
        reason=$(tr -d "\r" <"$host/qor64/VXTDriver.error")
        echo "${reason/#*VXTDriver.machine/"$1"}" >&2
    fi
    exit $status
' bash "$machine" $bits "$each" "$(basename "$program")" "$@"
