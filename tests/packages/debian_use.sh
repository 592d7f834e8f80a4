#!/usr/bin/env bash
# What a user does who builds nothing: the examples of every help, Python, tshark.
set -euo pipefail
fail() {
    echo "packages: $*" >&2
    exit 1
}
! command -v cc >/dev/null || fail "this should have been tried without a compiler"
work=$(mktemp -d)
cd "$work"

# A verb, those below it, and their examples. A difference is what some are to find; --follow has no end.
try_help() { # <verb...>
    local help verb example status
    help=$(zel "$@" --help)
    for verb in $(sed -nE '/^Subcommands:/,/^$/s/^  ([a-z]+) .*/\1/p' <<<"$help"); do
        try_help "$@" "$verb"
    done
    while read -r example; do
        status=0
        timeout 2 bash -o pipefail -c "$example" >output 2>&1 || status=$?
        case "$status $example" in
        "0 "* | "1 zel diff "* | "124 "*--follow*) examples=$((examples + 1)) ;;
        *) fail "the help says: $example; it ends with $status:$(echo && cat output)" ;;
        esac
    done < <(sed -nE '/^Examples?:/,$s/^  (.*)/\1/p' <<<"$help")
}
examples=0
try_help
[ $examples -gt 40 ] || fail "only $examples examples were found in the help"

gzip -dc /usr/share/man/man1/zel.1.gz | grep -q '^\.TH ZEL' || fail "there is no manual page"
zel dict check /usr/share/zel/sample.json >/dev/null

# A capture made by the command, in Python and in tshark.
zel sample NEW_ORDER --count 50 --frames >day.zel
python3 -c 'import zel; assert len(zel.read("day.zel", "NEW_ORDER")) == 50'
[ "$(python3 -c 'import zel; print("zel", zel.__version__)')" = "$(zel --version | sed -n 1p)" ]
zel sample CANCEL_ORDER --count 3 | zel encode --hex | sed 's/^/000000 /' | text2pcap -q -T 40000,9000 - day.pcap 2>/dev/null
[ "$(tshark -r day.pcap -Y zel 2>/dev/null | grep -c CANCEL_ORDER)" = 3 ] || fail "tshark shows no messages"
# A dissector of the user's own stands in its place.
mkdir -p "$work/.local/lib/wireshark/plugins"
sed 's/CANCEL_ORDER/REVOKE_ORDER/g' /usr/share/zel/sample.json >own.json
zel dict wireshark own.json -o "$work/.local/lib/wireshark/plugins/zel.lua" >/dev/null
HOME=$work tshark -r day.pcap -Y zel 2>errors | grep -q REVOKE_ORDER || fail "the user's own dissector is not used"
! grep -i lua errors || fail "the user's own dissector disturbs"
echo "packages: $examples examples of the help, Python and tshark do what they should"
