#!/bin/bash
# Runs every fuzz target of a build folder for FUZZ_SECONDS (60), as many at a time as there are
# processors. What they learn stays in the build folder; a finding is a file crash-* there.
#
#   tools/fuzz.sh BUILD
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
seconds=${FUZZ_SECONDS:-60}
export ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1

run_one() {
    local program=$1 name learned log
    name=$(basename "$program")
    learned=$build/fuzz-runs/$name
    log=$learned.log
    mkdir -p "$learned"
    if "$program" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2560 -print_final_stats=1 \
        -artifact_prefix="$learned-" "$learned" "fuzz/corpus/${name#fuzz_}" > "$log" 2>&1; then
        echo "$name: $(awk '/number_of_executed_units/ { print $2 }' "$log") runs, no finding"
    else
        echo "$name: FINDING, see $log"
        tail -n 40 "$log"
        return 1
    fi
}
export -f run_one
export build seconds

programs=("$build"/bin/fuzz_*)
[[ -x ${programs[0]} ]] || { echo "no fuzz target in $build/bin" >&2; exit 1; }
printf '%s\0' "${programs[@]}" | xargs -0 -n 1 -P "$(nproc)" bash -c 'run_one "$0"'
