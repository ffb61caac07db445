#!/usr/bin/env bash
# windows_run.sh ARGS...: vxtctl with these arguments as a 32-bit Windows program: the real library, the driver's service,
# the simulated driver and firmware, on a freshly installed Windows under Wine. --machine NAME|FILE chooses the PC for
# all of them. Output and exit code are vxtctl's own; files it reads or writes lie below the current folder.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/.." && pwd)
machine=family10h-ddr3 arguments=()
while [[ $# -gt 0 ]]; do
    case $1 in
    --machine)
        [[ $# -ge 2 ]] || { echo "--machine: 1 required NAME|FILE missing" >&2; exit 2; }
        machine=$2 && shift ;;
    --machine=*) machine=${1#*=} ;;
    *) arguments+=("$1") ;;
    esac
    shift
done

"$here/packages.sh" windows
"$here/build.sh" windows-x86 vxtctl VXTAPI VXTAPI_e2e vxt_wmi_server
"$here/build.sh" windows-x64 VXTDriver
# Through pipes: on a terminal Wine would draw a console of its own.
"$here/wine_host.sh" --machine "$machine" --in "$PWD" "$root/build/windows-x86" "$root/build/windows-x64" \
    "$root/build/windows-x86/bin/vxtctl.exe" "${arguments[@]}" </dev/null 2> >(cat >&2) | cat
