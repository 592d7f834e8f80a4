#!/usr/bin/env bash
# Each library exports the names that it exports on Windows, but for those of Microsoft's compiler. Then checks the
# hardening of the files that ship.
#   check.sh <folder of the libraries> [<file that ships>...]
set -euo pipefail
source=$(cd "$(dirname "$0")/../.." && pwd)
status=0
for pair in zel64.def:libzel zeldata/zeldata.def:libzeldata crush32/crush32.def:libcrush32; do
    diff --label "${pair%:*}" --label "${pair#*:}.so" <(sed -nE 's/^    ([^ "]+).*/\1/p' "$source/${pair%:*}" | sort) \
        <(nm -D --defined-only "$1/${pair#*:}.so" | cut -d' ' -f3 | sort) || status=1
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
