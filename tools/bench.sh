#!/bin/bash
# Runs every benchmark of a build folder, one after the other.
set -euo pipefail
programs=("$1"/bin/bench_*)
[[ -x ${programs[0]} ]] || { echo "no benchmark in $1/bin" >&2; exit 1; }
for program in "${programs[@]}"; do
    echo "== $(basename "$program")"
    "$program"
done
