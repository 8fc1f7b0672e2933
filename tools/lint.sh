#!/bin/bash
# Form and rules: clang-format, the layers of the folders, one definition of each name, the man page,
# clang-tidy.
# LINT_TIDY=off leaves the last one out, LINT_TIDY=all takes the tests into it.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build}

mapfile -t sources < <(git ls-files '*.cpp' '*.h')
echo "clang-format: ${#sources[@]} files"
clang-format --dry-run -Werror "${sources[@]}"

echo -n "layers: "
tools/check_layers.sh

# Where the programs are built.
if [[ -e $build/bin/kvsync ]]; then
    echo "one definition of each name:"
    tools/check_one_definition.sh "$build"
fi

if [[ -f docs/kvsync.1 ]]; then
    echo "man page: docs/kvsync.1"
    warnings=$(groff -man -Tutf8 -ww -z docs/kvsync.1 2>&1)
    if [[ -n $warnings ]]; then
        echo "$warnings"
        exit 1
    fi
fi

if [[ ${LINT_TIDY:-on} != off ]]; then
    pattern='\.cpp$'
    [[ ${LINT_TIDY:-on} == all ]] || pattern='^(addressbook|eumapi|frame|host|integration|mailbox|mailstore|mapi|module|platform|text)/.*\.cpp$'
    mapfile -t units < <(git ls-files | grep -E "$pattern" | grep -v '^platform/windows/')
    echo "clang-tidy: ${#units[@]} files"
    # The compiler's precompiled headers are nothing to clang-tidy.
    commands=$(mktemp -d)
    trap 'rm -r "$commands"' EXIT
    sed -E 's/ -Winvalid-pch| -include [^ ]*cmake_pch\.hxx//g' "$build/compile_commands.json" \
        >"$commands/compile_commands.json"
    printf '%s\0' "${units[@]}" |
        xargs -0 -n 4 -P "$(nproc)" clang-tidy -p "$commands" --quiet --warnings-as-errors='*' 2> \
            >(grep -vE '^[0-9]+ warnings? (generated|treated)|^Suppressed|^Use -header-filter' >&2)
fi
echo "lint: no findings"
