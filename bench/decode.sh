#!/usr/bin/env bash
# Measures `zel decode` on a capture of orders with 35 fields each, by default of 200 MB, and `zel encode` on its JSON output,
# beside reading the same bytes and pretty-printing that output. Seconds are processor time, user and system, of one run.
#   bench/decode.sh BUILD [MEGABYTES]
set -euo pipefail

zel=$1/bin/zel
megabytes=${2:-200}
work=$1/bench-decode
mkdir -p "$work"
trap 'rm -rf "$work"' EXIT

order() {
    cat <<'ORDER'
{"name":"NEW_ORDER","serviceId":[1,2],"fields":{"CLIENT_ORDER_REF":"ORD-2024-000117","SYMBOL":"BARLEY-MAY25","SIDE":1,
"QUANTITY":1500,"SHOWN_QUANTITY":100,"LIMIT_PRICE":"101 18/32","STOP_PRICE":"99.75","TIME_IN_FORCE":2,
"ENTERED_AT":"2024-05-17T09:30:00","EXPIRES_AT":"2024-05-31T17:00:00","ACCOUNT":"SALT-0042","TRADER":"M. Thrale",
"DESK":"GRAIN","CLEARING_FIRM":"HARBOUR CLEARING","STRATEGY_TAG":"calendar","NOTE":"hand over at the mill",
"TARGET_YIELD":4.125,"COMMISSION_RATE":0.125,"ROUTE_TOKEN":"00112233445566778899aabbccddeeff"},"group":[
{"ALLOCATION_KIND":0,"ALLOCATION_ACCOUNT":"SALT-0042-A","ALLOCATION_CAPACITY":1,"ALLOCATION_QUANTITY":700,"ALLOCATION_FEE":"1.25"},
{"ALLOCATION_KIND":0,"ALLOCATION_ACCOUNT":"SALT-0042-B","ALLOCATION_CAPACITY":1,"ALLOCATION_QUANTITY":500,"ALLOCATION_FEE":"1.05"},
{"ALLOCATION_KIND":0,"ALLOCATION_ACCOUNT":"SALT-0042-C","ALLOCATION_CAPACITY":2,"ALLOCATION_QUANTITY":300,"ALLOCATION_FEE":"3/8"}]}
ORDER
}

# One order on each line; a thousand are encoded, and the result is repeated.
line=$(order | tr -d '\n')
for _ in $(seq 1000); do echo "$line"; done | "$zel" encode >"$work/part.zel"
part=$(wc -c <"$work/part.zel")
parts=$((megabytes * 1000000 / part + 1))
for _ in $(seq "$parts"); do cat "$work/part.zel"; done >"$work/capture.zel"
messages=$((parts * 1000))
printf 'capture: %d messages, %d bytes\n' "$messages" "$((parts * part))"

# Prints the name, the command's processor time, and its speed.
measure() {
    local what=$1 messages=$2 input=$3
    shift 3
    TIMEFORMAT='%U %S'
    { time "$@" <"$input" >/dev/null; } 2>"$work/time"
    awk -v what="$what" -v messages="$messages" -v bytes="$(wc -c <"$input")" '
        { seconds = $1 + $2; if (seconds == 0) seconds = 0.001
          printf "%-44s %7.2f s %9.0f messages/s %8.1f MB/s\n", what, seconds, messages / seconds, bytes / seconds / 1e6 }' \
        "$work/time"
}

measure "read the capture (cat into wc -c)" "$messages" "$work/capture.zel" bash -c 'cat | wc -c'
measure "zel decode --json" "$messages" "$work/capture.zel" "$zel" decode --json
measure "zel decode --summary" "$messages" "$work/capture.zel" "$zel" decode --summary
measure "zel decode" "$messages" "$work/capture.zel" "$zel" decode
"$zel" decode --json "$work/part.zel" >"$work/part.jsonl"
for _ in $(seq 20); do cat "$work/part.jsonl"; done >"$work/lines.jsonl"
for _ in $(seq 10); do cat "$work/lines.jsonl"; done >"$work/many.jsonl"
measure "zel encode, 200,000 of the messages" 200000 "$work/many.jsonl" "$zel" encode
if command -v jq >/dev/null; then
    measure "pretty-print 20,000 of the messages, jq" 20000 "$work/lines.jsonl" jq .
fi
if command -v python3 >/dev/null; then
    measure "pretty-print 20,000, python3 -m json.tool" 20000 "$work/lines.jsonl" python3 -m json.tool --json-lines
fi
