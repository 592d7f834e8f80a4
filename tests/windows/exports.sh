#!/usr/bin/env bash
# Checks that the list of exports is what script/windows-exports writes for the headers.
#   exports.sh <root of the sources> <width>
set -euo pipefail
cd "$1"
diff --label "zel$2.def" "zel$2.def" --label "the public headers" <(script/windows-exports "$2")
