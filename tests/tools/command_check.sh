#!/usr/bin/env bash
# What only a shell can show of the command: the manual page is clean, shells complete, a reader that leaves early is no
# error, an interrupt is heard, what goes to terminals suits them, and all that is built has one version. Called with the
# command, the folder of its pages, the sample dictionary's source, and the version.
set -euo pipefail
zel=$1 manual=$2/zel.1 pages=$2 sample=$3 version=$4
source=$(dirname "$sample")/.. build=$pages/..
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0

expect() {  # name, expected, actual
    if [ "$2" != "$3" ]; then
        printf '%s: expected "%s", got "%s"\n' "$1" "$2" "$3"
        status=1
    fi
}

expect "version of the command" "zel $version" "$("$zel" --version | sed -n 1p)"
expect "version of the manual" "zel $version" "$(sed -nE '1s/.*"(zel [^"]*)".*/\1/p' "$manual")"
expect "version of zel.pc" "$version" "$(sed -n 's/^Version: //p' "$build/zel.pc")"
expect "version of the CMake package" "$version" "$(sed -n 's/^set(PACKAGE_VERSION "\(.*\)")/\1/p' "$build/zelConfigVersion.cmake")"
expect "version of the port of vcpkg" "$version" \
    "$(sed -nE 's/^  "version": "(.*)",/\1/p' "$source/packaging/vcpkg/zel/vcpkg.json")"
if command -v python3 >/dev/null; then
    expect "version of the Python package" "$version" "$(python3 -B "$source/python/zel/version.py")"
    expect "version of the recipe of Conan" "$version" "$(python3 -B "$source/tests/packaging/conan.py")"
fi

commit_of() {  # text of commit.txt
    mkdir -p "$work/cmake"
    echo "$1" >"$work/cmake/commit.txt"
    cmake -DSOURCE="$work" -DVERSION= -DOUTPUT="$work/build_info.cpp" -P "$source/cmake/BuildInfo.cmake"
    sed -nE 's/.*"", "(.*)".*/\1/p' "$work/build_info.cpp"
}
# shellcheck disable=SC2016
expect "commit of copied sources" unknown "$(commit_of '$Format:%H$')"
if [ -e "$source/.git" ] && head=$(git -C "$source" rev-parse HEAD 2>/dev/null); then
    expect "commit of an archive" "${head:0:12}" \
        "$(commit_of "$(git -C "$source" archive HEAD cmake/commit.txt | tar -xO)")"
fi

if command -v groff >/dev/null; then
    expect "warnings of groff" "" "$(groff -man -ww -Tascii "$manual" 2>&1 >/dev/null)"
    expect "verbs in the manual" "zel dict diff" "$(grep -o '^\.B zel dict diff' "$manual" | cut -c4-)"
fi

# shellcheck disable=SC1090
source "$pages/zel.bash"
complete_words() {
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    _zel
    echo "${COMPREPLY[*]}"
}
expect "verbs of dict" "build check show diff header wireshark" "$(complete_words zel dict '')"
expect "verb begun" "value" "$(complete_words zel va)"
expect "options" "--json" "$(complete_words zel dict show "$sample" --j)"
expect "files are left to readline" "" "$(complete_words zel dict show '')"
expect "hidden verb" "" "$(complete_words zel pa)"
expect "names" "LIMIT_PRICE" "$(complete_words "$zel" dict show "$sample" LIMIT)"
if command -v fish >/dev/null; then
    in_fish() {
        fish --no-config -c "source '$pages/zel.fish'; complete -C '$1' | cut -f1" | sort | tr '\n' ' '
    }
    ln -sf "$zel" "$pages/zel"
    PATH=$pages:$PATH
    expect "fish: verbs of dict" "build check diff header show wireshark " "$(in_fish 'zel dict ')"
    expect "fish: options" "--json " "$(in_fish "zel dict show $sample --j")"
    expect "fish: names" "LIMIT_PRICE " "$(in_fish "zel dict show $sample LIMIT")"
fi
if command -v zsh >/dev/null; then
    # What the completion hands to zsh's own functions.
    in_zsh() {  # words before the one that is completed, its beginning
        {
            echo '_describe() { local list=${@[-1]}; print -r -- ${${(P)list}%%:*} }'
            echo 'compadd() { print -r -- ${(M)@:#LIMIT*} }'
            echo "_files() { }; words=($1 ''); CURRENT=\${#words}; PREFIX=$2; complete_zel() {"
            cat "$pages/zel.zsh"
            echo '}; complete_zel'
        } | zsh -f
    }
    expect "zsh: verbs of dict" "build check show diff header wireshark" "$(in_zsh 'zel dict' '')"
    expect "zsh: options" "--help -h --json" "$(in_zsh "zel dict show" -)"
    expect "zsh: names" "LIMIT_PRICE" "$(in_zsh "$zel dict show $sample" '')"
fi

# A parent that ignores SIGPIPE hands that down. Nobody reads any more when the command begins.
complaint=$({ { sleep 0.3; trap '' PIPE; "$zel" dict show "$sample" --json; } 2>&3 | true; } 3>&1 || true)
expect "reader gone" "" "$complaint"
# An interrupt ends what would wait for ever, with its summary.
capture=$work/capture
echo '{"name":"HEARTBEAT"}' | "$zel" encode -d "$sample" >"$capture"
summary=$(set -m; "$zel" decode -d "$sample" --follow --summary "$capture" & sleep 1; kill -INT $!; wait $!)
expect "summary at an interrupt" "$("$zel" decode -d "$sample" --summary "$capture")" "$summary"
escape=$'\e'
in_terminal() {
    script -qec "$1" /dev/null </dev/null | grep -c "$escape" || true
}
show="\"$zel\" dict show \"$sample\" 10/2"
if command -v script >/dev/null; then
    expect "colour in a terminal" 2 "$(TERM=xterm in_terminal "$show")"
    expect "NO_COLOR" 0 "$(TERM=xterm NO_COLOR=1 in_terminal "$show")"
    expect "a terminal without colours" 0 "$(TERM=dumb in_terminal "$show")"
    expect "no terminal" 0 "$(TERM=xterm in_terminal "$show | cat")"
    narrow=$(TERM=dumb script -qec "stty cols 72; $show" /dev/null </dev/null | tr -d '\r')
    expect "width of a table" 72 "$(wc -L <<<"$narrow")"
    expect "words of a table" "$("$zel" dict show "$sample" 10/2 | tr -s ' \n' ' ')" "$(tr -s ' \n' ' ' <<<"$narrow")"
    complaint=$(script -qc "echo '{\"name\":\"HEARTBEAT\"}' | \"$zel\" encode" /dev/null </dev/null | sed -n 1p)
    expect "bytes in a terminal" "encode: writes bytes that no terminal shows; send them elsewhere, or use --hex" "${complaint%$'\r'}"
fi
exit $status
