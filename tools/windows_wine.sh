#!/bin/sh
# windows_wine.sh x86_64|i686 PREFIX PROGRAM [ARGUMENT...]: runs a Windows program of that machine
# type under Wine, in the prefix PREFIX, which is made when it is missing. Nothing of the user's
# own ~/.wine is touched. Console programs need no display, and get none unless KV_WINE_DISPLAY
# names one.
set -eu
machine=$1
prefix=$2
shift 2
export WINEPREFIX="$prefix" WINEARCH=win64 WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe="
# A 64-bit Wine alone has no 32-bit PE files; tools/windows_dependencies.sh --wine32 fetched them.
deps=${KV_DEPENDENCIES_DIR:-$(cd "$(dirname "$0")/.." && pwd)/build/deps}
[ "$machine" != i686 ] || export WINEDLLPATH="$deps"
if [ -n "${KV_WINE_DISPLAY:-}" ]; then
    export DISPLAY="$KV_WINE_DISPLAY"
else
    unset DISPLAY
fi
# File names outside ASCII, and the same code page for everybody.
export LC_ALL=C.UTF-8
wine=$(command -v /usr/lib/wine/wine64 wine64 wine | head -n 1)

if [ ! -e "$prefix/ready" ]; then
    mkdir -p "$prefix"
    (
        flock 9
        if [ ! -e "$prefix/ready" ]; then
            "$wine" wineboot --init >/dev/null 2>&1
            touch "$prefix/ready"
        fi
    ) 9>"$prefix.lock"
fi
# Else the server would start with the first program, and keep that one's output open for as long as
# another program runs.
for server in /usr/lib/wine/wineserver wineserver; do
    command -v "$server" > /dev/null && { "$server" -p30 > /dev/null 2>&1 < /dev/null || true; break; }
done
exec "$wine" "$@"
