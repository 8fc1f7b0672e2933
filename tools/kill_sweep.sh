#!/bin/bash
# Kills `kvsync sync mail` in front of each call that changes something on the disk, lets a second
# run finish, and compares both sides with those of a run that nobody disturbed: mails, read states,
# attachments and their names, what was sent, Eudora's Out. Works on copies of samples/Eudora.
#
#     tools/kill_sweep.sh                 all calls
#     tools/kill_sweep.sh rename unlink   these system calls
#     EVERY=7 tools/kill_sweep.sh         each 7th of them
#     KILLER=LIBRARY tools/kill_sweep.sh  by a preloaded library (tests/end_to_end/kill_at.cpp)
#                                         instead of strace
set -euo pipefail
here=$(realpath "$(dirname "$0")")
kvsync=$(realpath "${BUILD:-$here/../build}/bin/kvsync")
mails=$here/kill_sweep_mails.py
calls=(write pwrite64 ftruncate rename renameat renameat2 link unlink unlinkat rmdir mkdir symlink
    copy_file_range fsync fdatasync syncfs)
[[ $# -gt 0 ]] && calls=("$@")
every=${EVERY:-1} killer=${KILLER:-}
[[ -n $killer ]] && calls=(all)
[[ -n $killer ]] || command -v strace >/dev/null || { echo "strace is missing" >&2; exit 2; }

place=$(mktemp -d)
[[ -n ${KEEP:-} ]] || trap "rm -rf $place" EXIT
export XDG_STATE_HOME=$place/state XDG_CONFIG_HOME=$place/config TMPDIR=$place/temp
mkdir "$TMPDIR"

# run CODES ARGUMENTS: ends the sweep if kvsync ends with another code.
run() {
    local code=0
    "$kvsync" "${@:2}" --eudora "$place/E" >"$place/out" 2>&1 || code=$?
    [[ " $1 " == *" $code "* ]] || { echo "kvsync $2 ended with $code:" && cat "$place/out" && exit 1; }
}
sync() { run "$1" sync mail --maildir "$place/M"; }
# What both sides hold, in lines that can be compared.
tell() {
    rm -rf "$place/X"
    run "0 4" export mail --to "$place/X"
    python3 "$mails" tell "$place"
}
restore() {
    rm -rf "$place"/{E,M,state}
    cp -a "$place"/start/{E,M,state} "$place/"
}
# killed CALL N: a run that is killed in front of the Nth of these calls; 1 if there is none.
killed() {
    local code=0
    local command=("$kvsync" sync mail --maildir "$place/M" --eudora "$place/E")
    if [[ -n $killer ]]; then
        KILL_AT=$2 LD_PRELOAD=$killer "${command[@]}" >"$place/out" 2>&1 || code=$?
    else
        strace -f -qq -o "$place/trace" -e trace="$1" -e inject="$1:signal=SIGKILL:when=$2" \
            "${command[@]}" >"$place/out" 2>&1 || code=$?
    fi
    [[ $code -eq 137 ]]
} 2>/dev/null

cp -r "$here/../samples/Eudora" "$place/E"
run 4 configure mail --age off --size off --attachments on --attachment-size off
sync 4
python3 "$mails" change "$place"
mkdir "$place/start"
cp -a "$place"/{E,M,state} "$place/start/"
sync 4
tell >"$place/wanted"
sync 0

count=0 wrong=0
for call in "${calls[@]}"; do
    for ((n = every; ; n += every)); do
        restore
        killed "$call" "$n" || break
        sync "0 4"
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
