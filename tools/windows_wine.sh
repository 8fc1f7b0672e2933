#!/bin/sh
# windows_wine.sh PREFIX PROGRAM [ARGUMENT...]: runs a Windows program under Wine, in the prefix
# PREFIX, which is made when it is missing. Nothing of the user's own ~/.wine is touched. Console
# programs need no display, and get none unless KV_WINE_DISPLAY names one.
set -eu
prefix=$1
shift
export WINEPREFIX="$prefix" WINEARCH=win64 WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe="
# The 32-bit PE files that tools/windows_dependencies.sh --wine32 fetched, if Wine has none itself.
deps=${KV_DEPENDENCIES_DIR:-$(cd "$(dirname "$0")/.." && pwd)/build/deps}
[ ! -d "$deps/i386-windows" ] || export WINEDLLPATH="$deps"
if [ -n "${KV_WINE_DISPLAY:-}" ]; then
    export DISPLAY="$KV_WINE_DISPLAY"
else
    unset DISPLAY
fi
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
exec "$wine" "$@"
