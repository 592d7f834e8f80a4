#!/usr/bin/env bash
# Compares the exports of each library with the list in this folder. Then checks the hardening of the files that ship.
#   check.sh <folder of the libraries> [<file that ships>...]
set -euo pipefail
lists=$(dirname "$0")
status=0
for library in libzel libzeldata libcrush32; do
    found=$(nm -DC --defined-only "$1/$library.so" | cut -d' ' -f3- | sort)
    diff --label "$library.txt" --label "$library.so" <(sort "$lists/$library.txt") <(printf '%s\n' "$found") || status=1
done
for file in "${@:2}"; do
    headers=$(readelf -hldW "$file")
    imports=$(nm -D --undefined-only "$file")
    expect() { # <pattern> <text> <what its absence means>
        grep -qE "$1" <<<"$2" || { echo "$file: $3" && status=1; }
    }
    expect '^ *Type: +DYN ' "$headers" "not position-independent"
    expect '^ *GNU_RELRO ' "$headers" "no read-only relocations"
    expect 'Flags:.* NOW' "$headers" "functions are bound when first called, so their addresses stay writable"
    expect '^ *GNU_STACK .* RW +0x' "$headers" "the stack is executable"
    expect ' __stack_chk_fail' "$imports" "no canaries on the stack"
    # The compression library calls nothing that could be checked.
    [[ $file == *crush32* ]] || expect ' __[a-z]+_chk' "$imports" "copies and formats are not checked"
done
exit $status
