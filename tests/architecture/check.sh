#!/usr/bin/env bash
# docs/architecture.md names the file that holds each rule, and often the procedure. Checks that the files exist, that the
# procedures are defined in them, and with a debugger that each is called in one of the programs.
#   check.sh <source folder> <program>...
set -euo pipefail
cd "$1"
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
complain() {
    echo "docs/architecture.md: $*" >&2
    status=1
}

# FILE, or FILE PROCEDURE, for each name in the table. A procedure belongs to the file before it.
named=$(awk -F '|' '
    /^## / { wanted = /Where to find what/ }
    wanted && NF > 2 {
        count = split($3, part, "`")
        for (i = 2; i <= count; i += 2)
            if (part[i] ~ "[/.]") { file = part[i]; print file } else print file, part[i]
    }' docs/architecture.md)

# Whether the file defines the procedure: its head, and a body before the next semicolon.
defines() {
    awk -v head="^[^ /].*[ *&]$2[(]" '$0 ~ head { open = 1 } open && /[{]/ { found = 1 } /;/ { open = 0 } END { exit !found }' "$1"
}

while read -r file procedure; do
    if [ ! -e "$file" ]; then
        complain "there is no $file"
    elif [ -n "$procedure" ] && ! defines "$file" "$procedure"; then
        complain "$procedure is not defined in $file"
    fi
done <<<"$named"

# A program stops at the first call of each procedure and continues. The breakpoints left are of procedures never called.
awk 'NF == 2 { print "tbreak " $2 }' <<<"$named" | sort -u >"$work/left"
[ -s "$work/left" ] || complain "the table names no procedure"
for program in "$@"; do
    watch=() proceed=()
    while read -r breakpoint; do
        watch+=(-ex "$breakpoint")
        proceed+=(-ex continue)
    done <"$work/left"
    : >"$work/left"
    ASAN_OPTIONS=detect_leaks=0 gdb -nx -batch -ex 'set breakpoint pending on' "${watch[@]}" -ex 'run >/dev/null' \
        "${proceed[@]}" -ex "save breakpoints $work/left" "$program" >"$work/log" 2>&1 || true
    if ! grep -q 'exited normally' "$work/log"; then
        tail -5 "$work/log" >&2
        complain "$program did not run to its end in the debugger"
    fi
done
while read -r _ procedure; do
    complain "$procedure is not called when messages are sent and received"
done <"$work/left"
exit $status
