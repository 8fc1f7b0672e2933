#!/bin/bash
# Fails if a program holds two types of one qualified name from different places of the source, or if
# two libraries of the build define one function: the linker takes one of them for both. Reads debug
# information and symbol tables.
#
#   tools/check_one_definition.sh BUILD
set -euo pipefail
build=$1
failures=0

# "NAME; at FILE:LINE" for each type of our own; what stands in an unnamed namespace belongs to its
# file alone.
types() {
    gdb -batch -nx -ex 'info types -q .' "$1" 2> /dev/null | awk -v root="$PWD/" '
        # A compiler cache writes some paths relative to the build folder.
        /^File / {
            file = substr($2, 1, length($2) - 1)
            ours = file !~ /^\/(usr|build)/
            if (index(file, root) == 1) file = substr(file, length(root) + 1)
            sub(/^(\.\.\/)+/, "", file)
        }
        ours && /^[0-9]+:[ \t]+[A-Za-z_0-9:]+;$/ {
            at = $1
            sub(/:$/, "", at)
            print $2 " at " file ":" at
        }' | sort -u
}

# report WHAT NAMES PLACES: a line for each name that stands more than once, and where it stands.
report() {
    local name
    while IFS= read -r name; do
        [[ -n $name ]] || continue
        echo "more than one $1 ${name%;}:" >&2
        awk -v name="$name at " 'index($0, name) == 1 { print "    " substr($0, length(name) + 1) }' <<< "$2" >&2
        failures=$((failures + 1))
    done < <(sed 's/ at [^ ]*$//' <<< "$2" | sort | uniq -d)
}

for program in "$build"/bin/{kvsync,libkvtEUD.so,libEUMAPI32.so,libkvUtil.so}; do
    [[ -e $program ]] || { echo "$program is not built" >&2; exit 1; }
    found=$(types "$program")
    [[ -n $found ]] || { echo "$program holds no debug information" >&2; exit 1; }
    echo "$(basename "$program"): $(wc -l <<< "$found") types"
    report "type" "$found"
done

functions=$(find "$build" -name '*.a' -not -path '*/tests/*' -not -path '*/benchmarks/*' -print0 |
    xargs -0 nm -A -C --defined-only 2> /dev/null |
    awk '$2 == "T" || $2 == "B" || $2 == "D" {
             at = $1
             sub(/:[0-9a-f]*$/, "", at)
             $1 = $2 = ""
             sub(/^ +/, "")
             print $0 " at " at
         }' | sort -u)
echo "libraries: $(wc -l <<< "$functions") functions and variables"
report "function or variable" "$functions"
exit $((failures > 0))
