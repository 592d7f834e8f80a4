#!/usr/bin/env bash
# What only a shell can show of the command: the manual page is clean, the completion completes, a reader that leaves
# early is no error, and colours go to terminals alone. Called with the command, the manual page, the completion and the
# sample dictionary's source.
set -euo pipefail
zel=$1 manual=$2 completion=$3 sample=$4
status=0

expect() {  # name, expected, actual
    if [ "$2" != "$3" ]; then
        printf '%s: expected "%s", got "%s"\n' "$1" "$2" "$3"
        status=1
    fi
}

if command -v groff >/dev/null; then
    expect "warnings of groff" "" "$(groff -man -ww -Tascii "$manual" 2>&1 >/dev/null)"
    expect "verbs in the manual" "zel dict diff" "$(grep -o '^\.B zel dict diff' "$manual" | cut -c4-)"
fi

# shellcheck disable=SC1090
source "$completion"
complete_words() {
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    _zel
    echo "${COMPREPLY[*]}"
}
expect "verbs of dict" "build check show diff header wireshark" "$(complete_words zel dict '')"
expect "verb begun" "value" "$(complete_words zel va)"
expect "options" "--json" "$(complete_words zel dict show "$sample" --j)"
expect "files are left to readline" "" "$(complete_words zel dict show '')"
expect "hidden verb" "" "$(complete_words zel pa)"

# A parent that ignores SIGPIPE hands that down. Nobody reads any more when the command begins.
complaint=$({ { sleep 0.3; trap '' PIPE; "$zel" dict show "$sample" --json; } 2>&3 | true; } 3>&1 || true)
expect "reader gone" "" "$complaint"
# An interrupt ends what would wait for ever, with its summary.
capture=$(mktemp)
trap 'rm -f "$capture"' EXIT
echo '{"name":"HEARTBEAT"}' | "$zel" encode -d "$sample" >"$capture"
summary=$(set -m; "$zel" decode -d "$sample" --follow --summary "$capture" & sleep 1; kill -INT $!; wait $!)
expect "summary at an interrupt" "$("$zel" decode -d "$sample" --summary "$capture")" "$summary"
escape=$'\e'
in_terminal() {
    script -qec "$1" /dev/null </dev/null | grep -c "$escape" || true
}
show="\"$zel\" dict show \"$sample\" 10/2"
if command -v script >/dev/null; then
    expect "colour in a terminal" 2 "$(TERM=xterm in_terminal "$show")"
    expect "NO_COLOR" 0 "$(TERM=xterm NO_COLOR=1 in_terminal "$show")"
    expect "a terminal without colours" 0 "$(TERM=dumb in_terminal "$show")"
    expect "no terminal" 0 "$(TERM=xterm in_terminal "$show | cat")"
    narrow=$(TERM=dumb script -qec "stty cols 72; $show" /dev/null </dev/null | tr -d '\r')
    expect "width of a table" 72 "$(wc -L <<<"$narrow")"
    expect "words of a table" "$("$zel" dict show "$sample" 10/2 | tr -s ' \n' ' ')" "$(tr -s ' \n' ' ' <<<"$narrow")"
    complaint=$(script -qec "echo '{\"name\":\"HEARTBEAT\"}' | \"$zel\" encode" /dev/null </dev/null | head -1)
    expect "bytes in a terminal" "encode: writes bytes that no terminal shows; send them elsewhere, or use --hex" "${complaint%$'\r'}"
fi
exit $status
