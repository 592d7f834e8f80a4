#!/usr/bin/env bash
# Unpacks the zip files for Windows and uses them under a new Wine: the command, the examples built by MinGW with CMake, and
# the one in C built as Microsoft's compiler and linker would. Called with the folder of the packages.
set -euo pipefail
cd "$(dirname "$0")/../.."
packages=$(realpath "$1")
sources=$PWD
work=$PWD/build/check-windows
command=$PWD/build/release/bin/zel
export WINEPREFIX=$work/wine WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml=
unset DISPLAY

try_command() { # in the folder of the zip
    wine bin/zel.exe sample --count 5 | tr -d '\r' >"$work/orders.jsonl"
    wine bin/zel.exe encode "$work/orders.jsonl" | cmp - <("$command" encode "$work/orders.jsonl")
}

# The library's users have a toolchain file of their own; this is one.
try_examples() { # <width>
    local build=$work/examples$1
    cmake -S share/doc/zel/examples -B "$build" -G Ninja -DCMAKE_PREFIX_PATH="$PWD" -DZEL_COMMAND="$command" \
        -DCMAKE_TOOLCHAIN_FILE="$sources/cmake/windows$1.cmake" >/dev/null
    cmake --build "$build" >/dev/null
    WINEPATH=$(winepath -w bin) ctest --test-dir "$build" --no-tests=error --output-on-failure -Q
}

# There are no headers and import libraries of Microsoft's here: the tests have what the example takes of them.
try_microsoft() { # <width>
    local target=i686 machine=i386 build=$work/microsoft$1 source windows=$sources/tests/windows
    if [ "$1" = 64 ]; then
        target=x86_64 machine=i386:x86-64
    fi
    mkdir -p "$build"
    llvm-dlltool -m $machine -d "$windows/msvcrt.def" -l "$build/msvcrt.lib"
    for source in share/doc/zel/examples/records.c "$windows/msvc_start.c"; do
        clang --target=$target-pc-windows-msvc -std=c99 -O1 -ffreestanding -mno-stack-arg-probe -Iinclude/zel \
            -I"$windows/c_library" -c "$source" -o "$build/$(basename "$source" .c).obj"
    done
    lld-link /nodefaultlib /entry:Start /subsystem:console "/out:$build/records.exe" "$build"/*.obj \
        "$build/msvcrt.lib" lib/zel.lib
    WINEPATH=$(winepath -w bin) wine "$build/records.exe" | grep -q 'TRADER .14.: mandatory text'
}

rm -rf "$work"
mkdir -p "$work" "$WINEPREFIX"
wineserver -p
trap 'wineserver -k' EXIT
wine wineboot -i </dev/null >/dev/null 2>&1
for zip in "$packages"/*-windows??.zip; do
    name=$(basename "$zip" .zip)
    width=${name: -2}
    unzip -q "$zip" -d "$work"
    cd "$work/$name"
    try_command
    try_examples "$width"
    try_microsoft "$width"
    echo "packages: $name works: the command, the examples built by MinGW, one built with zel.lib"
done
