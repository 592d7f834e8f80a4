#!/usr/bin/env bash
# Installs Debian packages in a new Debian, uses them as users would, and purges them, which must leave nothing.
# Called with the folder of the packages, as root. The bare system is kept for the next time.
set -euo pipefail
cd "$(dirname "$0")/../.."
packages=$(realpath "$1")
release=bookworm
base=$PWD/build/$release.tar
root=$PWD/build/check-root

fail() {
    echo "packages: $*" >&2
    exit 1
}

[ "$(id -u)" -eq 0 ] || fail "only root can make a root of its own"

make_base() {
    local mirror
    # shellcheck disable=SC2016 # apt fills it in
    mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' | head -n 1)
    rm -rf "$root"
    debootstrap --variant=minbase "$release" "$root" "$mirror" >"$base.log" || fail "see $base.log"
    chroot "$root" apt-get clean
    tar -C "$root" -cf "$base.new" .
    mv "$base.new" "$base"
}

in_root() { # <command...>: with the processes of the root alone, all of which end with it
    # shellcheck disable=SC2016 # for the shell inside
    unshare --mount --pid --fork bash -c '
        mount -t proc proc "$0/proc"
        exec chroot "$0" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/tmp LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"
    ' "$root" "$@"
}

apt() { # <command> <arguments...>
    in_root apt-get -y --no-install-recommends -o Dpkg::Use-Pty=0 "$@" >"$root.log" 2>&1 || { cat "$root.log" && return 1; }
}

files() { # What is there but for the package manager's own notes, and what the tries write.
    (cd "$root" && find . -xdev \( -path ./var/lib/dpkg -o -path ./var/lib/apt -o -path ./var/cache -o -path ./var/log \
        -o -path ./tmp -o -path ./packages -o -name ld.so.cache \) -prune -o -print | sort)
}

try() { # <script> <packages of Debian that it needs>... -- <our packages>...
    local script=$1 tools=() ours=() name needed
    shift
    while [ "$1" != -- ]; do
        tools+=("$1")
        shift
    done
    shift
    for name; do
        ours+=(/packages/"$(cd "$packages" && ls "${name}"_*.deb)")
    done
    rm -rf "$root"
    mkdir -p "$root"
    tar -C "$root" -xf "$base"
    mkdir "$root/packages"
    cp "$packages"/*.deb "$root/packages"
    cp "tests/packages/$script" "$root/packages"
    apt update
    apt install "${tools[@]}"
    # What ours need of Debian comes first, so that the list of files knows it. It is what they say that they need.
    needed=$(in_root apt-get -s --no-install-recommends install "${ours[@]}" |
        sed -n 's/^Inst \([^ ]*\) .*/\1/p' | grep -v zel || true)
    # shellcheck disable=SC2086 # several names
    apt install $needed
    files >"$root.before"
    apt install "${ours[@]}"
    in_root runuser -u nobody -- bash "/packages/$script"
    # Root, too, who could leave files beside those of the packages.
    [[ " $* " != *" python3-zel "* ]] || in_root python3 -c 'import zel'
    apt purge "$@"
    files | diff "$root.before" - || fail "purged, this is left of $*"
    rm -rf "$root" "$root.before"
    echo "packages: $* installed, used, purged"
}

[ -f "$base" ] || make_base
try debian_use.sh jq xxd tshark -- libzel0 libzeldata zel-tools libzel-doc python3-zel
try debian_build.sh g++ cmake make pkg-config -- libzel0 libzeldata libzel-dev zel-tools
