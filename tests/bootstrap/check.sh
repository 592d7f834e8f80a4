#!/usr/bin/env bash
# What script/bootstrap tells those who cannot install: in a place where no package is installed, with stand-ins for programs.
set -euo pipefail
bootstrap=$(cd "$(dirname "$0")/../.." && pwd)/script/bootstrap
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
status=0
for program in bash cat grep head sed sort; do
    ln -s "$(type -P $program)" "$place"
done
stand_in() { # <program> <what it does>
    printf '#!%s\n%s\n' "$(type -P bash)" "$2" >"$place/$1"
    chmod +x "$place/$1"
}
expect() { # <exit status> <what is said of it> <arguments...>
    local said result=0
    said=$(env -i PATH="$place" "$place/bash" "$bootstrap" "${@:3}" 2>&1 </dev/null) || result=$?
    if [ "$result" != "$1" ] || ! grep -qxF "$2" <<<"$said"; then
        printf '%s instead of %s, or without "%s":\n%s\n' "$result" "$1" "$2" "$said"
        status=1
    fi
}

stand_in id 'echo 1000'
expect 1 "bootstrap: this system has no apt-get. Not found, in this version or a later one:"
stand_in cmake 'echo cmake version 3.9.6'
expect 1 "    CMake 3.25"
stand_in apt-get 'echo was called'
all="g++ cmake ninja-build pkg-config zlib1g-dev libcli11-dev rapidjson-dev libgtest-dev nlohmann-json3-dev gdb libbenchmark-dev"
expect 1 "    apt-get update && apt-get install --no-install-recommends $all"
stand_in sudo 'echo "a password is required" >&2; exit 1'
expect 1 "    apt-get update && apt-get install --no-install-recommends $all valgrind" --guard
stand_in dpkg-query 'echo install ok installed'
expect 0 "" --guard
rm "$place/dpkg-query"
stand_in cmake 'echo cmake version 3.100'
for program in ninja pkg-config gdb; do
    stand_in $program 'echo 20'
done
stand_in g++ 'echo 12.2.0; cat >/dev/null'
expect 0 ""
exit $status
