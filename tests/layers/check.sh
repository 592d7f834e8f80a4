#!/usr/bin/env bash
# Checks who includes whom, as docs/architecture.md allows, and that there is no circle. NAME.h and NAME.cpp count as one
# file.
set -euo pipefail
cd "$1"

# Each folder and what its files may include besides one another: folders, or single files.
rooms='
include
runtime          include
crush32          runtime
core/tables      include runtime
core/wire        include runtime crush32 core/tables
core/slots       include runtime core/tables core/wire/user_data
core             include runtime core/tables core/wire core/slots
message          include runtime crush32 core core/tables core/wire core/slots
record           include runtime core core/tables core/wire core/slots message/exchange message/lifecycle convert/seconds
convert          include runtime
stream           include runtime core/tables
zeldata          include runtime core/tables/field_shape
tools/io         include
tools/text       include runtime zeldata tools/io
tools/dictionary include runtime zeldata core/tables tools/io tools/text
tools/message    include runtime zeldata core/wire tools/io tools/text tools/dictionary
tools/capture    include runtime zeldata core/wire tools/io tools/text tools/dictionary tools/message
tools/verbs      include runtime zeldata core/tables core/wire tools/io tools/text tools/dictionary tools/message tools/capture
tools            tools/io tools/verbs
'

# Pairs of files without their suffixes. A name without a folder is in the same folder.
includes=$(grep -rHE --include='*.h' --include='*.hpp' --include='*.cpp' '^#include "' include runtime crush32 core message record convert stream \
    zeldata tools | awk -F '[:"]' '{
        from = $1; sub(/\.[a-z]+$/, "", from)
        to = $3; sub(/\.[a-z]+$/, "", to)
        folder = from; sub("[^/]*$", "", folder)
        if (to !~ "/") to = folder to
        if (from != to) print from, to }')

# A file belongs to the deepest listed folder.
awk '
    function room_of(file) { do sub("/[^/]*$", "", file); while (!(file in known) && file ~ "/"); return file }
    NR == FNR { for (i = 1; i <= NF; ++i) { known[$1] = 1; may[$1, $i] = 1 } next }
    !((room_of($1), room_of($2)) in may || (room_of($1), $2) in may) { print $1 " includes " $2; bad = 1 }
    END { exit bad }' <(echo "$rooms") <(echo "$includes")

if ! circle=$(tsort <<<"$includes" 2>&1 >/dev/null); then
    echo "These files include one another in a circle:"
    grep -oE '[^ ]+/[^ ]+$' <<<"$circle"
    exit 1
fi
