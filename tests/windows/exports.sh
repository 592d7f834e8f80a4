#!/usr/bin/env bash
# zel.def must be what script/windows-exports makes of the headers.
set -euo pipefail
cd "$1"
diff --label zel.def zel.def --label "the public headers" <(script/windows-exports)
