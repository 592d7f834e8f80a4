#!/usr/bin/env bash
# Checks the built files: their exports, that they import only one another and Windows, and that they load at any address
# without an executable stack.
#   shipped_files.sh <folder of the files> <objdump> <width>
set -euo pipefail
folder=$1 objdump=$2 width=$3
source=$(cd "$(dirname "$0")/../.." && pwd)
status=0

expect() { # <what> <expected lines> <found lines>
    diff --label "$1, expected" --label "$1, found" <(sort <<<"$2") <(sort <<<"$3") || status=1
}

headers() {
    "$objdump" -p "$folder/$1" | tr -d '\r'
}

exports_of() {
    headers "$1" | sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/s/^\t\[ *[0-9]*\] //p'
}

ordinals_of() {
    headers "$1" | sed -n 's/^\t\[.*+base\[ *\([0-9]*\)\] .*Export RVA$/\1/p'
}

# "FILE" for each imported file, and "FILE name" or "FILE @ordinal" for what is imported from ours, the ordinal as two
# hexadecimal digits.
imports_of() {
    headers "$1" | awk '
        /DLL Name:/ { file = $3; print toupper(file) }
        /<none>/ && toupper(file) == "CRUSH32.DLL" { print "CRUSH32.DLL @" substr($1, length($1) - 1) }
        /^\t[0-9a-f]+\t/ && !/<none>/ && toupper(file) ~ /^(CRUSH32|ZELDATA)\.DLL$/ { print toupper(file) " " $3 }'
}

imported() { # <ordinals of CRUSH32.dll...>
    printf 'CRUSH32.DLL @%02x\n' "$@"
}

ordinals=(3 4 5 6 10 24)
windows=$'KERNEL32.DLL\nMSVCRT.DLL'

expect "exports of zel.dll" "$(sed -nE 's/^    "?([^ "]+).*/\1/p' "$source/zel$width.def")" "$(exports_of zel.dll)"
expect "exports of zeldata.dll" $'VORMA_DLL_ENTRY\nVORMA_MESSAGE_FROM_NAME' "$(exports_of zeldata.dll)"
expect "names that CRUSH32.dll exports" "" "$(exports_of CRUSH32.dll)"
expect "ordinals that CRUSH32.dll exports" "$(printf '%s\n' "${ordinals[@]}")" "$(ordinals_of CRUSH32.dll)"
expect "imports of zel.dll" "$windows"$'\nUSER32.DLL\nCRUSH32.DLL\n'"$(imported "${ordinals[@]}")" \
    "$(imports_of zel.dll)"
expect "imports of zeldata.dll" "$windows" "$(imports_of zeldata.dll)"
expect "imports of CRUSH32.dll" "$windows" "$(imports_of CRUSH32.dll)"
# The command expands payloads itself, by the procedures of core/ that also compress.
expect "imports of zel.exe" "$windows"$'\nZEL.DLL\nCRUSH32.DLL\n'"$(imported 3 4 5 6)" "$(imports_of zel.exe)"
hardening=$'DYNAMIC_BASE\nNX_COMPAT'
[ "$width" = 32 ] || hardening+=$'\nHIGH_ENTROPY_VA'
for file in zel.dll zeldata.dll CRUSH32.dll zel.exe; do
    expect "hardening of $file" "$hardening" \
        "$(headers $file | sed -nE 's/^\t+(DYNAMIC_BASE|NX_COMPAT|HIGH_ENTROPY_VA)$/\1/p')"
done
# Texts of resources are UTF-16, each with a zero at its end.
version=$(sed -nE 's/^project\(zel VERSION ([0-9.]+).*/\1/p' "$source/CMakeLists.txt")
for file in zel.dll zeldata.dll CRUSH32.dll zel.exe; do
    expect "version of $file" "FileVersion|$version|"$'\n'"OriginalFilename|$file|"$'\n'"ProductVersion|$version|" \
        "$(LC_ALL=C sed 's/\x00\x00\+/|/g; s/\x00//g' "$folder/$file" |
            LC_ALL=C grep -aoE '(FileVersion|OriginalFilename|ProductVersion)\|[A-Za-z0-9.]+\|')"
done
# They get no notifications of threads, so no thread-local object may need a destructor. The one that does is the C++ library's.
for file in zel.dll zeldata.dll CRUSH32.dll; do
    expect "thread-local storage of $file" none \
        "$(headers $file | sed -n 's/^Entry 9 0* 0* Thread Storage Directory.*/none/p')"
    expect "thread-local objects of $file" _ZZN12_GLOBAL__N_110get_globalEvE6global \
        "$("$objdump" -t "$folder/$file" | sed -n 's/.*__emutls_v\.//p')"
done
exit $status
