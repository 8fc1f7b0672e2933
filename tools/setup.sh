#!/bin/bash
# Makes sure that the Debian packages of the named groups are installed: with apt when run as root,
# else by saying in one line what to install. Does nothing, quickly, when all are there.
#
#   tools/setup.sh build|lint|fuzz|windows ...
set -euo pipefail

packages() {
    case $1 in
        build)
            echo build-essential cmake ninja-build pkg-config binutils-mingw-w64-i686 \
                libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev libedit-dev libgmime-3.0-dev \
                libnewt-dev libsqlite3-dev libsqlitecpp-dev libtomlplusplus-dev locales \
                nlohmann-json3-dev python3
            ;;
        lint) echo binutils clang-format clang-tidy gdb groff ;;
        fuzz) echo clang libclang-rt-14-dev llvm ;;
        windows)
            echo g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix googletest wine wine64
            ;;
        *)
            echo "setup.sh: no group '$1'" >&2
            exit 2
            ;;
    esac
}

wanted=()
for group in "$@"; do
    names=$(packages "$group")
    read -r -a group_packages <<< "$names"
    wanted+=("${group_packages[@]}")
done

if ! command -v dpkg-query > /dev/null; then
    echo "setup.sh: not a Debian system; what is needed, by its Debian names: ${wanted[*]}" >&2
    exit 0
fi

# dpkg-query fails when it has never heard of one of them; what it prints counts all the same.
states=$(dpkg-query -W -f '${Package} ${db:Status-Status}\n' "${wanted[@]}" 2> /dev/null || true)
installed=" $(awk '$2 == "installed" { print $1 }' <<< "$states" | tr '\n' ' ') "
missing=()
for package in "${wanted[@]}"; do
    [[ $installed == *" $package "* ]] || missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

if [[ $(id -u) -ne 0 ]]; then
    echo "Packages are missing; install them with: sudo apt-get install ${missing[*]}" >&2
    exit 1
fi
export DEBIAN_FRONTEND=noninteractive
apt-get update -q
apt-get install -q -y --no-install-recommends "${missing[@]}" < /dev/null
