#!/bin/bash
# Kills `kvsync sync` in front of each call that changes something on the disk, lets a second run
# finish, and compares what both sides hold with what they hold after a run that nobody disturbed:
# mails, read states, attachments and their names (of files that are composed again too), what was sent, Eudora's Out, Trash and Attach,
# contacts. Works on copies of samples/Eudora.
#
#     tools/kill_sweep.sh                 all calls
#     tools/kill_sweep.sh rename unlink   these system calls
#     EVERY=7 tools/kill_sweep.sh         each 7th of them
#     KILLER=LIBRARY tools/kill_sweep.sh  by a preloaded library (tests/end_to_end/kill_at_posix.cpp)
#                                         instead of strace
set -euo pipefail
here=$(realpath "$(dirname "$0")")
kvsync=$(realpath "${BUILD:-$here/../build}/bin/kvsync")
sides=$here/kill_sweep_sides.py
calls=(write pwrite64 ftruncate rename renameat renameat2 link unlink unlinkat rmdir mkdir symlink
    copy_file_range fsync fdatasync syncfs)
[[ $# -gt 0 ]] && calls=("$@")
every=${EVERY:-1} killer=${KILLER:-}
[[ -n $killer ]] && calls=(call)
[[ -n $killer ]] || command -v strace >/dev/null || { echo "strace is missing" >&2; exit 2; }

place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
export XDG_STATE_HOME=$place/state XDG_CONFIG_HOME=$place/config
sync=(sync --eudora "$place/E" --maildir "$place/M" --contacts "$place/C")

# run CODES ARGUMENTS: ends the sweep if kvsync ends with another code.
run() {
    local code=0
    "$kvsync" "${@:2}" >"$place/out" 2>&1 || code=$?
    [[ " $1 " == *" $code "* ]] && return
    echo "kvsync ${*:2} ended with $code:" && cat "$place/out" && exit 1
}
tell() {
    rm -rf "$place/X"
    run "0 4" export mail --eudora "$place/E" --to "$place/X"
    python3 "$sides" tell "$place"
}
# killed CALL N: a run that is killed in front of the Nth of these calls; 1 if there is none.
killed() {
    local code=0
    if [[ -n $killer ]]; then
        KILL_AT=$2 LD_PRELOAD=$killer "$kvsync" "${sync[@]}" >"$place/out" 2>&1 || code=$?
    else
        strace -f -qq -o "$place/trace" -e trace="$1" -e inject="$1:signal=SIGKILL:when=$2" \
            "$kvsync" "${sync[@]}" >"$place/out" 2>&1 || code=$?
    fi
    [[ $code -eq 137 ]]
} 2>/dev/null

cp -r "$here/../samples/Eudora" "$place/E"
python3 "$sides" start "$place"
mkdir "$place/C" "$place/start"
run 4 configure mail --age off --size off --eudora "$place/E"
run 4 "${sync[@]}"
# Their mails are composed again.
run 4 configure mail --attachments on --attachment-size off --eudora "$place/E"
python3 "$sides" change "$place"
cp -a "$place"/{E,M,C,state} "$place/start/"
run 4 "${sync[@]}"
tell >"$place/wanted"
run 0 "${sync[@]}"

count=0 wrong=0
for call in "${calls[@]}"; do
    for ((n = every; ; n += every)); do
        rm -rf "$place"/{E,M,C,state}
        cp -a "$place"/start/{E,M,C,state} "$place/"
        killed "$call" "$n" || break
        run "0 4" "${sync[@]}"
        tell >"$place/found"
        count=$((count + 1))
        if cmp -s "$place/wanted" "$place/found"; then
            [[ -n ${QUIET:-} ]] || echo "$call $n: the same"
        else
            wrong=$((wrong + 1))
            echo "$call $n: differs"
            diff "$place/wanted" "$place/found" | sed -n 's/^\([<>].*\)/    \1/p' || true
        fi
    done
done
echo "$count kills, $wrong with another outcome"
[[ $count -gt 0 && $wrong -eq 0 ]]
