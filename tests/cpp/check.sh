#!/usr/bin/env bash
# Generated headers compile without a warning, with g++ and with clang++, and are formatted; layouts with mistakes do not
# compile, and the compiler names the mistake. Called with the sources, the command and a folder to work in.
set -euo pipefail
source=$1 zel=$2 work=$3
status=0
mkdir -p "$work"
cp "$source/.clang-format" "$work"

complain() {
    printf '%s\n' "$*"
    status=1
}

compile() {  # compiler, file: what the compiler says
    $1 -std=c++20 -Wall -Wextra -Wconversion -Wshadow -Wsign-conversion -Wpedantic -Werror -fsyntax-only \
        -I"$source/include" "$2" 2>&1
}

compilers=
for compiler in g++ clang++; do
    if command -v $compiler >/dev/null; then compilers+=" $compiler"; fi
done

for dictionary in zeldata/sample.json tests/tools/cases/odd_names.json; do
    header=$work/$(basename "$dictionary" .json).hpp
    "$zel" dict header "$source/$dictionary" -o "$header" >"$work/said.txt"
    printf '#include "%s"\n#include "%s"\n' "$header" "$header" >"$work/includes.cpp"
    for compiler in $compilers; do
        said=$(compile "$compiler" "$work/includes.cpp") || complain "$dictionary, $compiler: $said"
    done
    if command -v clang-format >/dev/null; then
        said=$(clang-format "$header" | diff "$header" -) || complain "$dictionary is not formatted: $said"
    fi
done

# Each row: what the compiler names, or nothing where it takes the layout | what stands in the layout. All rows are one
# file, a line each; what a compiler says belongs to the row that it named last.
rows=$work/rows.cpp
cat >"$rows" <<'CPP'
#include <zel.hpp>
struct Leg {
    int ratio;
};
struct Record {
    short side;
    int quantity;
    std::string_view symbol;
    unsigned char token[4];
    std::uint32_t tokenSize;
    std::uint32_t count;
    Leg legs[2];
    bool isThere;
};
constexpr zel::Message<Record> kMessage{10, 1};
constexpr zel::DictionaryField<25, kZELLong> kQuantity{"QUANTITY"};
constexpr zel::DictionaryField<300, kZELChars, 3> kCurrency{"CURRENCY"};
CPP
preamble=$(wc -l <"$rows")
table=$(grep -v '^#' "$source/tests/cpp/cases/refusals.txt")
row=0
while IFS='|' read -r _ parts; do
    echo "[[maybe_unused]] constexpr zel::Layout kRow$((++row)){kMessage, $parts};" >>"$rows"
done <<<"$table"
for compiler in $compilers; do
    said=$(compile "$compiler" "$rows" || true)
    line=$preamble
    while IFS='|' read -r expected parts; do
        line=$((line + 1))
        of_row=$(awk -v line=$line '
            match($0, /rows\.cpp:[0-9]+/) { at = substr($0, RSTART + 9, RLENGTH - 9) } at == line' <<<"$said")
        if [ -z "$expected" ] && [ -n "$of_row" ] || ! grep -q "$expected" <<<"$of_row"; then
            complain "$compiler, $parts: expected \"$expected\", got \"$of_row\""
        fi
    done <<<"$table"
done
exit $status
