#!/usr/bin/env bash
# The rooms' allowed includes, as docs/architecture.md draws them: a file includes its own room and those named here.
set -euo pipefail
cd "$1"
declare -A allowed=(
    [include]=""
    [runtime]="include"
    [core]="include runtime crush32"
    [message]="include runtime core crush32"
    [convert]="include runtime"
    [stream]="include runtime core"
    [crush32]="runtime"
    [zeldata]="include runtime"
    [tools]="include runtime zeldata"
)
status=0
for room in "${!allowed[@]}"; do
    for file in "$room"/*.h "$room"/*.cpp; do
        [ -e "$file" ] || continue
        while read -r included; do
            case " $room ${allowed[$room]} " in
            *" ${included%%/*} "*) ;;
            *) echo "$file includes $included"; status=1 ;;
            esac
        done < <(sed -nE 's/^#include "([^"]+\/[^"]+)".*/\1/p' "$file")
    done
done
# The streams know the dictionary, not the rest of the core.
if grep -HE '#include "core/' stream/* 2>/dev/null | grep -v '"core/dictionary.h"'; then
    status=1
fi
exit $status
