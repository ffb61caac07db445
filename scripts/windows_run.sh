#!/usr/bin/env bash
# windows_run.sh [--diag] ARGS...: vxtctl (with --diag vxtdiag) with these arguments as a 32-bit Windows program: the real
# library, the driver's service, the simulated driver and firmware, on a freshly installed Windows under Wine.
# --machine NAME|FILE chooses the PC for all of them, --state FILE keeps it. Output and exit code are the tool's own; files it
# reads or writes lie below the current folder.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/.." && pwd)
tool=vxtctl
[[ ${1-} != --diag ]] || { tool=vxtdiag && shift; }
_refuse() { echo "$tool: $1" >&2; exit 2; }
machine= state= arguments=()
while [[ $# -gt 0 ]]; do
    case $1 in
    --machine | --state | --fault)
        [[ $# -ge 2 ]] || _refuse "$1: its value is missing"
        set -- "$1=$2" "${@:3}"
        continue ;;
    --machine= | --state= | --fault=) _refuse "${1%=}: an argument is empty" ;;
    --machine=*) machine=${1#*=} ;;
    --state=*) state=${1#*=} ;;
    --fault=*) _refuse "--fault: faults are injected natively only, not on Windows" ;;
    *) arguments+=("$1") ;;
    esac
    shift
done
[[ -n $machine || -s $state ]] || machine=family10h-ddr3  # a state tells its machine

"$here/packages.sh" windows
"$here/build.sh" windows-x86 "$tool" VXTAPI VXTAPI_e2e vxt_wmi_server
"$here/build.sh" windows-x64 VXTDriver
# Through pipes: on a terminal Wine would draw a console of its own. What a signal to this script alone asks for waits until
# the Windows program has ended; Ctrl-C reaches that too, and its last words need somebody to pass them on.
# Nor can it ask there; what comes through a pipe ('echo keep |') reaches it.
if [[ -t 0 ]]; then
    [[ " ${arguments[*]} " != *" --confirm"[\ =]* ]] || _refuse "--confirm: under Wine 'keep' has to come through a pipe"
    exec </dev/null
fi
trap 'echo "$tool: a command under Wine runs to its end" >&2' TERM HUP
"$here/wine_host.sh" --machine "$machine" --state "$state" --in "$PWD" "$root/build/windows-x86" \
    "$root/build/windows-x64" "$root/build/windows-x86/bin/$tool.exe" "${arguments[@]}" \
    2> >(trap '' INT; cat >&2) | (trap '' INT; cat)
