#!/usr/bin/env bash
# What a programmer does: builds the installed examples, by CMake and by pkg-config, and runs them.
set -euo pipefail
work=$(mktemp -d)
examples=/usr/share/doc/zel/examples
cmake -S "$examples" -B "$work" >/dev/null
cmake --build "$work" -j 2 >/dev/null
ctest --test-dir "$work" --no-tests=error --output-on-failure -Q
# shellcheck disable=SC2046 # several words
c++ -std=c++20 "$examples/round_trip.cpp" -o "$work/by_pkg_config" $(pkg-config --cflags --libs zel)
"$work/by_pkg_config" >/dev/null
