#!/bin/bash
# Builds the project for Windows and runs its suite under Wine: for x86-64, then for i686, where
# the tests run only if Wine's 32-bit parts can be had. Needs no display and no ~/.wine.
#
#   tools/test_windows.sh [x86_64|i686 ...]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build}-windows
export KV_DEPENDENCIES_DIR=${KV_DEPENDENCIES_DIR:-$PWD/build/deps}
[[ $# -gt 0 ]] || set -- x86_64 i686

tools/setup.sh build windows
tools/windows_dependencies.sh

build_for() {
    local flags=(-DCMAKE_TOOLCHAIN_FILE="cmake/mingw-$1.cmake" -DCMAKE_BUILD_TYPE=Release
        -DKV_DEPENDENCIES_DIR="$KV_DEPENDENCIES_DIR")
    if command -v ccache > /dev/null; then
        flags+=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    echo "== Windows $1: build"
    cmake -S . -B "$build/$1" -G Ninja "${flags[@]}" > "$build/$1.configure" ||
        { cat "$build/$1.configure" >&2; return 1; }
    cmake --build "$build/$1"
}

test_for() {
    echo "== Windows $1: tests under Wine"
    local result=0
    ctest --test-dir "$build/$1" --output-on-failure --no-tests=error -j"$(nproc)" || result=$?
    # What Wine started for this prefix goes with it.
    WINEPREFIX=$(realpath "$build/$1")/wineprefix "$(wine_server)" -k || true
    return "$result"
}

wine_server() {
    local place
    for place in /usr/lib/wine/wineserver wineserver; do
        command -v "$place" && return
    done
}

mkdir -p "$build"
failed=()
for machine in "$@"; do
    build_for "$machine"
    if [[ $machine == i686 ]] && ! tools/windows_dependencies.sh --wine32; then
        echo "Windows i686: the tests were built but not run: Wine's 32-bit parts could not be had."
        continue
    fi
    test_for "$machine" || failed+=("$machine")
done
if [[ ${#failed[@]} -gt 0 ]]; then
    echo "Windows: tests failed for ${failed[*]}" >&2
    exit 1
fi
