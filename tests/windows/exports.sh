#!/usr/bin/env bash
# Checks that zel.def is what script/windows-exports writes for the headers.
set -euo pipefail
cd "$1"
diff --label zel.def zel.def --label "the public headers" <(script/windows-exports)
