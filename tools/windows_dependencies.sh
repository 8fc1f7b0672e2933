#!/bin/sh
# Fetches what the Windows build needs and Debian has no Windows package for, into build/deps of
# the source tree:
#   sqlitecpp/      SQLiteCpp with SQLite's amalgamation, Debian's source package
#   i386-windows/   with --wine32: Wine's own 32-bit PE files, to run 32-bit programs in wine64
# It reads Debian's archive through package lists of its own, so that the system's package lists
# and architectures stay as they are, and needs no root. What is there already is kept.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
deps=${KV_DEPENDENCIES_DIR:-$root/build/deps}
mirror=${KV_DEBIAN_MIRROR:-http://deb.debian.org/debian}
suite=${KV_DEBIAN_SUITE:-$(. /etc/os-release && echo "${VERSION_CODENAME:-bookworm}")}
key=/usr/share/keyrings/debian-archive-keyring.gpg

mkdir -p "$deps"
work=$deps/apt
own_apt() {
    tool=$1
    shift
    "$tool" -qq -o Dir::Etc::SourceList="$work/sources.list" -o Dir::Etc::SourceParts=/dev/null \
        -o Dir::State::Lists="$work/lists" -o Dir::Cache="$work/cache" \
        -o APT::Architectures=amd64,i386 -o APT::Sandbox::User=root \
        -o Acquire::Languages=none "$@"
}

refresh_lists() {
    [ ! -e "$work/fresh" ] || return 0
    mkdir -p "$work/lists/partial" "$work/cache/archives/partial"
    {
        echo "deb-src [signed-by=$key] $mirror $suite main"
        echo "deb [arch=i386 signed-by=$key] $mirror $suite main"
    } >"$work/sources.list"
    own_apt apt-get update
    touch "$work/fresh"
}

fetch_sqlitecpp() {
    [ ! -e "$deps/sqlitecpp/sqlite3/sqlite3.c" ] || return 0
    refresh_lists
    rm -rf "$work/source" && mkdir -p "$work/source"
    (cd "$work/source" && own_apt apt-get --download-only source sqlitecpp)
    mkdir "$work/source/unpacked"
    tar -xf "$work"/source/sqlitecpp_*.orig.tar.* -C "$work/source/unpacked" --strip-components=1
    rm -rf "$deps/sqlitecpp"
    mv "$work/source/unpacked" "$deps/sqlitecpp"
}

# The PE files must be of the very Wine that is installed.
fetch_wine32() {
    wanted=$(dpkg-query -W -f '${Version}' libwine:amd64)
    [ ! -e "$deps/i386-windows/$wanted" ] || return 0
    refresh_lists
    rm -rf "$work/wine32" && mkdir -p "$work/wine32"
    (cd "$work/wine32" && own_apt apt-get download "libwine:i386=$wanted")
    dpkg-deb --fsys-tarfile "$work"/wine32/libwine_*_i386.deb |
        tar -x -C "$work/wine32" --wildcards './usr/lib/*/wine/i386-windows/*'
    rm -rf "$deps/i386-windows"
    mv "$work"/wine32/usr/lib/*/wine/i386-windows "$deps/i386-windows"
    touch "$deps/i386-windows/$wanted"
}

fetch_sqlitecpp
[ "${1:-}" != --wine32 ] || fetch_wine32
rm -rf "$work"
