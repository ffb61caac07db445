#!/usr/bin/env bash
# run_under_wine.sh BUILD32 BUILD64 [NATIVE]: the end-to-end tests, with the 32-bit host first, then with the 64-bit one;
# then the tools, whose Windows output must be the native one's (NATIVE: build folder of those, default build/native).
# One line per case; two lines "N passed, N failed" count them.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build32=$(realpath -e "$1") build64=$(realpath -e "$2")
native=$(realpath -e "${3:-$here/../../build/native}")
wine_host=$here/../../scripts/wine_host.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
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
    foreign=$(sed -n 's/.*DLL Name: //p' <<<"$dump" | grep -viE '^(kernel32|advapi32|cfgmgr32|gdi32|ntdll|ole32|oleaut32|setupapi|user32|msvcrt)\.dll$' | paste -sd' ' || true)
    [[ -z $foreign ]] && result=ok || result=FAIL
    _report $result "${file#"$(dirname "$build32")/"} needs no library besides the system's $foreign"
done

# Each width on its own, both at the same time.
_run() {  # BITS BUILD: lines for _report, and what failed
    local bits=$1 build=$2 program status options filter log=$work/$1.log
    for program in vxt_wmi_tests vxt_settings_tests vxt_device_tests vxt_windows_tests tune; do
        status=0 options=() filter=-CTune.*
        [[ $program != vxt_settings_tests ]] || options=(--in "$here/../..")  # its cases are the checkout's
        if [[ $program == tune ]]; then  # searches need a machine that can be tuned, and that outlives its driver
            program=vxt_windows_tests options=(--machine desktop-b --state "$work/$bits.state") filter=CTune.*
        fi
        "$wine_host" "${options[@]}" "$build" "$build64" "$build/e2e/$program.exe" --gtest_color=no "--gtest_filter=$filter" \
            </dev/null 2>&1 | tr -d '\r' >"$log" || status=$?
        sed -nE "s/^\[       OK \] (\S+) .*/ok $bits-bit \1/p; s/^\[  FAILED  \] (\S+) \(.* ms\)\$/FAIL $bits-bit \1/p" "$log"
        if [[ $status -ne 0 ]]; then
            grep -q '^\[==========\] .* ran\.' "$log" || echo "FAIL $bits-bit $program ended early, status $status"
            sed 's/^/     /' "$log"
        fi
    done
}
_run 32 "$build32" >"$work/32" & _run 64 "$build64" >"$work/64" &
wait
while IFS= read -r line; do
    case $line in
    ok\ * | FAIL\ *) _report "${line%% *}" "${line#* }" ;;
    *) echo "$line" ;;
    esac
done < <(cat "$work/32" "$work/64")

# The first program of a session: what the system starts for the process that applies outlives it, and must hold nobody up.
folder=$work/kept log=$work/kept.log
mkdir "$folder" && cp "$here/../../examples/family10h-ddr3.xml" "$folder/p.xml" && : >"$folder/pc.state"
echo keep | XDG_STATE_HOME=$work/notes timeout 60 "$wine_host" --machine family10h-ddr3 --state "$folder/pc.state" --in "$folder" "$build32" "$build64" \
    "$build32/bin/vxtctl.exe" profile apply p.xml --confirm 30 --yes --json >"$log" 2>&1 && grep -q '"ended": "kept"' "$log" \
    && result=ok || result=FAIL
_report $result "32-bit vxtctl profile apply --confirm, kept through a pipe"
[[ $result == ok ]] || sed 's/^/     /' "$log"

echo "$passed passed, $failed failed"
status=0
"$here/compare_tools.py" "$build32" "$build64" "$native" || status=$?
[[ $failed -eq 0 && $status -eq 0 ]]
