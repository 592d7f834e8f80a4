#!/usr/bin/env bash
# Two builds write their files and read each other's; with a dictionary source, they must also compile the same image.
#   check.sh <folder> <dictionary source or nothing> <programs of a build> <what runs them> <programs of another build> <what runs them>
set -euo pipefail
work=$1 source=$2
shift 2
rm -rf "$work"
mkdir -p "$work"
programs=() runners=()
while [ $# -gt 0 ]; do
    programs+=("$1") runners+=("$2")
    shift 2
done

run() { # <build> <program> <arguments...>
    local program=${programs[$1]}/$2
    [ -e "$program" ] || program+=.exe
    # shellcheck disable=SC2086 # the runner may be empty
    ${runners[$1]} "$program" "${@:3}"
}

for build in 0 1; do
    run $build zel_platform_files write "$work/$build"
    [ -z "$source" ] || run $build zel dict build "$source" -o "$work/$build.img"
done
run 0 zel_platform_files read "$work/1"
run 1 zel_platform_files read "$work/0"
[ -z "$source" ] || cmp "$work/0.img" "$work/1.img"
