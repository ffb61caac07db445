#!/usr/bin/env bash
# run_under_wine.sh BUILD32 BUILD64 [NATIVE]: the end-to-end tests, with the 32-bit host first, then with the 64-bit one;
# then vxtctl, whose Windows output must be the native one's (NATIVE: build folder of that, default build/native).
# One line per case; the last line is "N passed, N failed".
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build32=$(realpath -e "$1") build64=$(realpath -e "$2")
native=$(realpath -e "${3:-$here/../../build/native}")
wine_host=$here/../../scripts/wine_host.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
log=$work/log
passed=0 failed=0

_report() {  # RESULT NAME
    if [[ $1 == ok ]]; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
    printf '%-4s %s\n' "$1" "$2"
}

# What Windows sees of a library before it runs: eight plain names out, and nothing in that Windows does not bring along.
exports="GetDeviceManager GetLog GetPerformanceControl GetProfileSettings InitVXTAPI IsBiosOCSupported \
IsOverclockWarningAccepted UnInitVXTAPI"
for file in "$build32"/{bin,e2e}/VXTAPI.dll "$build64"/{bin,e2e}/VXTAPI.dll; do
    dump=$(objdump -p "$file")
    found=$(sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/s/^\t\[ *[0-9]*\] //p' <<<"$dump" | paste -sd' ')
    [[ $found == "$exports" ]] && result=ok || result=FAIL
    _report $result "${file#"$(dirname "$build32")/"} exports the eight names and no others"
    foreign=$(sed -n 's/.*DLL Name: //p' <<<"$dump" | grep -viE '^(kernel32|advapi32|ntdll|ole32|oleaut32|msvcrt)\.dll$' | paste -sd' ' || true)
    [[ -z $foreign ]] && result=ok || result=FAIL
    _report $result "${file#"$(dirname "$build32")/"} needs no library besides the system's $foreign"
done

for build in "$build32" "$build64"; do
    bits=32
    [[ $build == "$build32" ]] || bits=64
    for program in vxt_wmi_tests vxt_windows_tests; do
        status=0
        "$wine_host" "$build" "$build64" "$build/e2e/$program.exe" --gtest_color=no \
            </dev/null 2>&1 | tr -d '\r' >"$log" || status=$?
        while read -r verdict name; do
            _report "$verdict" "$bits-bit $name"
        done < <(sed -nE 's/^\[       OK \] (\S+) .*/ok \1/p; s/^\[  FAILED  \] (\S+) \(.* ms\)$/FAIL \1/p' "$log")
        if [[ $status -ne 0 ]]; then
            grep -q '^\[==========\] .* ran\.' "$log" || _report FAIL "$bits-bit $program ended early, status $status"
            sed 's/^/     /' "$log"
        fi
    done
done
# The same machine, once with everything simulated and once through driver service, driver, management service and 32-bit
# library. Measured clocks may differ in the last digit (through mapped memory the timer is seen at requests only), or be
# missing on a busy machine.
_compare() {  # PROGRAM MACHINE ARGS...
    local program=$1 machine=$2 status_native=0 status_windows=0
    shift 2
    (cd "$work" && "$native/bin/$program" --machine "$machine" "$@" 2>/dev/null) >"$work/native" || status_native=$?
    "$wine_host" --machine "$machine" --in "$work" "$build32" "$build64" "$build32/bin/$program.exe" "$@" \
        </dev/null 2>/dev/null >"$work/windows" || status_windows=$?
    sed -Ei 's/^([0-9]+ +)([0-9.]+ MHz|-) +([0-9.]+ MHz|-) /\1(measured) /; s/^(Core) +/\1 /' "$work/native" "$work/windows"
    if diff "$work/native" "$work/windows" >"$log" && [[ $status_native -eq $status_windows ]] &&
        [[ -s $work/native || $status_native -ne 0 ]]; then  # a device that is not there leaves its exit code alone
        _report ok "$program $* on $machine answers as the native one, status $status_native"
    else
        _report FAIL "$program $* on $machine: status $status_windows, natively $status_native"
        sed 's/^/     /' "$log"
    fi
}
printf '[off]\nBIOS\n' >"$work/DeviceList.cfg"  # Windows has one of its own
shows=("devices" "memory" "links")
for machine in "$here"/../../machines/*.machine; do
    machine=$(basename "$machine" .machine)
    _compare vxtctl "$machine"  # the cores: identification, multiplier, voltage, P-states, temperature
    for command in "${shows[@]}"; do _compare vxtctl "$machine" $command --json; done
done
_compare vxtctl family10h-ddr3 cpu set --core 1 --pstate 2 --yes
_compare vxtctl k8-revf-dual cpu set --multiplier 99 --yes
_compare vxtctl family10h-ddr3 memory set tcl=8 slow_access=on --yes
_compare vxtctl family10h-ddr2 links set frequency=6 --yes
_compare vxtctl family11h-mobile northbridge
for command in clocks voltages; do _compare vxtctl family10h-ddr3 $command --json; done
_compare vxtctl k8-revf-dual clocks  # no firmware to ask
_compare vxtctl family10h-ddr3 clocks set external=205 pcie=101 --yes
_compare vxtctl family10h-ddr3 voltages set memory_voltage=1.6 --yes
for command in firmware cmos; do _compare vxtdiag family10h-ddr3 $command --json; done
_compare vxtdiag family10h-ddr3 cmos set "Core Trim Boost=Disabled" --yes
echo "$passed passed, $failed failed"
[[ $failed -eq 0 ]]
