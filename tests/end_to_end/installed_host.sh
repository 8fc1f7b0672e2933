#!/bin/bash
# A host of one's own, from an installed tree alone: installed_host.sh BUILD COMPILER. 77 without pkg-config.
set -euo pipefail
command -v pkg-config >/dev/null || { echo "not run: pkg-config is not installed"; exit 77; }
here=$(mktemp -d)
trap 'rm -rf "$here"' EXIT
cmake --install "$1" --prefix "$here/usr" >"$here/log"
cd "$here"
export PKG_CONFIG_PATH=$here/usr/lib/pkgconfig XDG_STATE_HOME=$here/state HOME=$here
read -ra flags <<<"$(pkg-config --cflags --libs kvteud)"
"$2" usr/share/doc/kvtEUD/example_host_posix.cpp -o example_host "${flags[@]}"

# A Wine prefix with Eudora's folder in it.
mkdir -p P/dosdevices P/NickName
ln -s .. P/dosdevices/c:
printf 'alias ann ann@example.org\r\n' >P/nndbase.txt
touch P/Eudora.exe
printf '%s\n' 'WINE REGISTRY Version 2' \
    '[Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\Eudora.exe] 1' \
    '@="C:\\Eudora.exe"' '"Path"="C:\\"' >P/system.reg
told=$(WINEPREFIX=$here/P ./example_host "$(pkg-config --variable=module kvteud)")
[[ $told == 'ann <ann@example.org>' ]] || { echo "the example tells: $told"; exit 1; }

# The installed program finds its parts, and the shells read their completions.
usr/bin/kvsync list contacts --eudora P | grep -q ann@example.org
bash -c 'source usr/share/bash-completion/completions/kvsync
    COMP_WORDS=(kvsync res) COMP_CWORD=1
    _kvsync
    [[ ${COMPREPLY[*]} == "resolve restore" ]]'
grep -q '^#compdef kvsync' usr/share/zsh/site-functions/_kvsync
grep -q 'complete -c kvsync' usr/share/fish/vendor_completions.d/kvsync.fish
for file in man/man1/kvsync.1 doc/kvtEUD/writing-a-host.md doc/kvtEUD/formats/nickname.md; do
    [[ -s usr/share/$file ]] || { echo "$file is not installed"; exit 1; }
done
