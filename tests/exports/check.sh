#!/usr/bin/env bash
# Compares what each library exports with the list beside this script: nothing more, nothing less.
set -euo pipefail
lists=$(dirname "$0")
status=0
for library in libzel libzeldata libcrush32; do
    # Weak symbols are the C++ library's; sanitizers add their own.
    found=$(nm -DC --defined-only "$1/$library.so" | awk '$2 ~ /[TDBR]/' | cut -d' ' -f3- | grep -vE '__(asan|ubsan|tsan|odr)' | sort)
    diff --label "$library.txt" --label "$library.so" <(sort "$lists/$library.txt") <(printf '%s\n' "$found") || status=1
done
exit $status
