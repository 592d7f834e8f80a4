#!/usr/bin/env bash
# Compares what programs are linked against and compiled with, names, layouts of records and constants, with what the last
# release had, and says which version a difference needs. At a release `write` makes the lists anew.
#   released.sh check|write <version> <width> <folder of the libraries or nothing> <what runs it...> <program: layouts>
set -euo pipefail
mode=$1 version=$2 width=$3 libraries=$4
source=$(cd "$(dirname "$0")/../.." && pwd)
lists=$source/tests/exports/released
status=0

exports_of() { # <library>
    nm -D --defined-only "$libraries/$1.so" | cut -d' ' -f3 | LC_ALL=C sort
}
constants() {
    sed -nE 's/^ *((static )?constexpr [a-z0-9_]+ |#define )?(k[A-Z][A-Za-z0-9]*|ZEL_[A-Z0-9_]*)( =)? ([^,;/]*[^,;/ ])[,;]?( *\/\/.*)?$/\3: \5/p' \
        "$source"/include/*.h | grep -v '^ZEL_\(API\|NOEXCEPT\):' | LC_ALL=C sort
}

# The lines of a list begin with what they tell of, up to a colon or the end.
compare() { # <list> <what its lines are> <the lines now>
    local list=$lists/$1.txt
    if [ "$mode" = write ]; then
        mkdir -p "$lists"
        printf '# %s\n%s\n' "$version" "$3" >"$list"
        return
    fi
    awk -v what="$2" -v now="$version" -v list="tests/exports/released/$1.txt" '
        function key(line) { sub(/: .*/, "", line); return line }
        function version_after(part) {
            return part == 1 ? was[1] + 1 ".0.0" : was[1] "." was[2] + 1 ".0"
        }
        function complain(text, part, needs) {
            if (is[1] > was[1] || part == 2 && is[2] > was[2]) return
            print text " - needs " needs ": version " version_after(part) " (the last release is " released ", this is " now ")"
            bad = 1
        }
        function break_of(text) { complain(text, 1, "SOVERSION + 1") }
        NR == FNR && FNR == 1 { released = $2; split(released, was, "."); split(now, is, "."); next }
        NR == FNR { before[key($0)] = $0; next }
        { after[key($0)] = $0 }
        !(key($0) in before) { complain("added: " what " " key($0), 2, "a minor version") }
        key($0) in before && before[key($0)] != $0 {
            break_of(what " " key($0) " changed\n  was " before[key($0)] "\n  is  " $0 "\n ")
        }
        END {
            for (name in before) if (!(name in after)) break_of("removed: " what " " name)
            if (bad && now == released) print "If nobody has " now " yet, write " list " anew, with the arguments of this test and write for check."
            exit bad
        }' "$list" <(echo "$3") | c++filt || status=1
}

if [ -n "$libraries" ]; then
    for library in libzel libzeldata libcrush32; do
        compare $library "export of $library" "$(exports_of $library)"
    done
    compare constants constant "$(constants)"
fi
layouts=$("${@:5}" | tr -d '\r')
compare "layouts$width" "layout of" "$layouts"
exit $status
