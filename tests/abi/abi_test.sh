#!/usr/bin/env bash
# abi_test.sh [BUILD32 BUILD64]: the SDK's interfaces and records lie the same for hosts of other compilers.
# Compiles the SDK for the Microsoft and the MinGW ABI, both widths, and compares every slot with slots.txt and every
# record with layout.cpp; with the build folders it also runs a host of the Microsoft ABI on the real library under Wine.
# One line per case; the last line is "N passed, N failed".
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$here/../..
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
passed=0 failed=0

_report() {  # STATUS NAME: 0 is good
    if [[ $1 -eq 0 ]]; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
    printf '%-4s %s\n' "$([[ $1 -eq 0 ]] && echo ok || echo FAIL)" "$2"
}

# Freestanding: all that the SDK may ask for is <stdint.h>.
sdk=(-std=c++17 -ffreestanding -fno-exceptions -fno-rtti -nostdinc++ -isystem "$here/freestanding" -I"$root/include"
     -Wall -Wextra -Wpedantic -Werror)

# Every class of the SDK that has virtual operations, each with a child whose constructor makes compilers lay it out.
classes=$(sed -nE 's/^class (C[A-Za-z]+)( :.*)? \{$/\1/p' "$root"/include/vxtapi/*.h | while read -r class; do
    # grep reads to the end: under pipefail a pipe that breaks would lose the class.
    if sed -n "/^class $class[ :].*{\$/,/^};/p" "$root"/include/vxtapi/*.h | grep 'virtual .* = 0;' >/dev/null; then echo "$class"; fi
done)
{
    echo '#include <vxtapi/vxtapi.h>'
    for class in $classes; do echo "struct S$class : vxtapi::$class { S$class(); }; S$class::S$class() {}"; done
} >"$work/slots.cpp"

awk '/^#/ { next }
     $2 == ":" { n = split(rows[$3], base, "\n"); for (i = 1; i < n; ++i) { sub(/^[^ ]+/, $1, base[i]); print base[i] } next }
     { rows[$1] = rows[$1] $0 "\n"; print }' "$here/slots.txt" >"$work/expected"
diff <(sort -u <<<"$classes") <(sed -nE 's/^(C[A-Za-z]+) .*/\1/p' "$work/expected" | sort -u) >"$work/diff" && status=0 || status=1
_report $status "slots.txt covers every interface of the SDK"
[[ $status -eq 0 ]] || cat "$work/diff"

# Brings both compilers' tables to "CLASS SLOT OPERATION". Before slot 0 stand the type information (both) and the offset
# to the object (MinGW). A destructor has one slot here and two, at the very end, there.
_slots() {  # TARGET
    clang++ --target="$1" "${sdk[@]}" -Wno-non-virtual-dtor -frtti -Xclang -fdump-vtable-layouts -c "$work/slots.cpp" -o /dev/null |
        awk -v overloads="$(sed -nE 's/^(C\w+) [0-9]+ (\w+)\(.*/\1::\2/p' "$here/slots.txt")" '
            BEGIN { split(overloads, list, "\n"); for (i in list) overloaded[list[i]] = 1 }
            /^VFTable for .* in .SC/ || /^Vtable for .SC/ {
                line = $0; sub(/^.*'\''S/, "", line); sub(/'\''.*/, "", line); class = line; next_slot = 0; done = 0; shown = 1; next }
            /^V[FT]/ || /^Vtable/ || /^$/ { if (!/^$/) shown = 0; next }
            shown && /^ *[0-9]+ \| / {
                sub(/^ *[0-9]+ \| /, "")
                if (/RTTI$/ || /^offset_to_top/) next
                if (/::~/) { if (!done++) print class, next_slot++, "destructor"; next }
                if (done) { print class, "has an operation after its destructor:", $0; next }
                text = $0; sub(/ \[pure\]$/, "", text)
                name = text; sub(/\(.*/, "", name); sub(/.*::/, "", name)
                arguments = text; sub(/^[^(]*/, "", arguments)
                print class, next_slot++, name (((class "::" name) in overloaded) ? arguments : "")
            }'
}
for target in {i686,x86_64}-pc-windows-msvc {i686,x86_64}-w64-mingw32; do
    _slots "$target" >"$work/slots-$target"
    for class in $classes; do
        diff <(grep "^$class " "$work/expected") <(grep "^$class " "$work/slots-$target") >"$work/diff" && status=0 || status=1
        _report $status "$class: every operation in its slot, $target"
        [[ $status -eq 0 ]] || cat "$work/diff"
    done
done

_layout() {  # NAME WCHAR_SIZE COMPILER...
    local name=$1 size=$2
    shift 2
    "$@" -DVXT_WCHAR_SIZE="$size" -fsyntax-only "$here/layout.cpp" >"$work/log" 2>&1 && status=0 || status=1
    _report $status "records: every field in its place, $name"
    [[ $status -eq 0 ]] || cat "$work/log"
}
for width in i686 x86_64; do
    _layout "$width Microsoft ABI" 2 clang++ --target=$width-pc-windows-msvc "${sdk[@]}"
    _layout "$width MinGW ABI" 2 clang++ --target=$width-w64-mingw32 "${sdk[@]}"
    _layout "$width MinGW as the library is built" 2 $width-w64-mingw32-g++-posix -std=c++20 -mms-bitfields -I"$root/include"
done
_layout "native" 4 c++ -std=c++20 -I"$root/include"

if [[ $# -ge 2 ]]; then
    for build in "$1" "$2"; do
        width=x86_64 entry=start
        [[ $build == "$2" ]] || width=i686 entry=_start  # C names begin with a line there
        clang++ --target=$width-pc-windows-msvc "${sdk[@]}" -O2 -c "$here/foreign_host.cpp" -o "$work/foreign_host.obj"
        $width-w64-mingw32-g++-posix -nostdlib -Wl,-e,$entry -Wl,--subsystem,console -o "$work/foreign_host.exe" \
            "$work/foreign_host.obj" -lkernel32 -lmsvcrt
        "$root/scripts/wine_host.sh" "$build" "$2" "$work/foreign_host.exe" </dev/null 2>&1 | tr -d '\r' >"$work/log" \
            && status=0 || status=$?
        while read -r verdict name; do
            [[ $verdict == ok ]] && result=0 || result=1
            _report $result "$width host of the Microsoft ABI: $name"
        done < <(grep -E '^(ok|FAIL) ' "$work/log")
        if [[ $status -gt 1 ]] || ! grep -q '^ok ' "$work/log"; then
            _report 1 "$width host of the Microsoft ABI ends early, status $status"
            cat "$work/log"
        fi
    done
fi
echo "$passed passed, $failed failed"
[[ $failed -eq 0 ]]
