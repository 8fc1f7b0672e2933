#!/bin/bash
# Builds the fuzz targets in a configured build folder and runs each for FUZZ_SECONDS (60), as many
# at a time as there are processors. What they learn stays in the build folder; a finding is a file
# *-crash-* there.
#
#   tools/fuzz.sh BUILD
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
seconds=${FUZZ_SECONDS:-60}
mapfile -t targets < <(sed -nE 's/^ *kv_fuzz\(([a-z_]+) .*/fuzz_\1/p' fuzz/CMakeLists.txt)
[[ ${#targets[@]} -gt 0 ]]
cmake --build "$build" --target "${targets[@]}"
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

printf '%s\0' "${targets[@]/#/$build/bin/}" | xargs -0 -n 1 -P "$(nproc)" bash -c 'run_one "$0"'
