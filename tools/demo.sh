#!/bin/bash
# Keeps a copy of samples/ in step with a folder of vCards, there and back, and its in-box in step
# with a Maildir, there and back, in a temporary folder.
# The user's own settings and state are not touched.
set -euo pipefail
cd "$(dirname "$0")/.."
kvsync=$(realpath "${BUILD:-build}/bin/kvsync")

place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
cp -r samples/Eudora "$place/"
export XDG_STATE_HOME=$place/state XDG_CONFIG_HOME=$place/config
book=$place/Eudora/nndbase.txt
cards=$place/contacts
mkdir "$cards"

bold='' plain=''
[[ -t 1 ]] && bold=$'\033[1m' plain=$'\033[0m'
title() { printf '\n%s== %s%s\n' "$bold" "$*" "$plain"; }

# run CODE ARGUMENTS: shows the call and runs it; a run that ends with another code ends the demo.
# Code 4 is "done with changes".
run() {
    local expected=$1 code=0
    shift
    echo "\$ kvsync $*"
    (cd "$place" && "$kvsync" "$@") || code=$?
    [[ $code -eq $expected ]] || { echo "kvsync ended with code $code" >&2; exit 1; }
}
sync() { run "$1" sync contacts --eudora Eudora --contacts contacts; }

# The nickname file as a person can read it: UTF-8, no CR, line breaks inside values as |.
readable() { iconv -c -f CP1252 -t UTF-8 "$1" | tr -d '\r' | tr '\003' '|'; }

title "A Eudora folder with $(grep -ac '^alias' "$book") entries, and an empty folder for vCards"
readable "$book" | head -n 8
echo "..."

title "First run: every contact becomes a vCard"
sync 4
ls "$cards" | head -n 4
echo "... $(ls "$cards" | wc -l) files"

title "One of them"
card=$(grep -l 'Carla Vance' "$cards"/*.vcf | head -n 1)
cat "$card"

title "Carla gets a new phone in the folder, and Bob moves in Eudora"
sed -i 's/555-0110/555-0119/' "$card"
sed -i 's/^note bob <name:Bob Smith>/note bob <address:3 Quay Street><name:Bob Smith>/' "$book"
cp "$book" "$place/before.txt"
grep -a '^TEL' "$card"
readable "$book" | grep '^note bob <address'

title "Second run: both changes cross over"
sync 4
diff --label before --label after -U 0 \
    <(readable "$place/before.txt" | grep -a 'Carla') <(readable "$book" | grep -a 'Carla') || true
grep -h 'Quay Street' "$cards"/*.vcf

title "Before Eudora's file was changed it was copied"
run 0 backups --eudora Eudora

title "What no record can hold is still there, behind the records"
readable "$book" | grep -a -A 1 -i '^alias "\?group\|^alias "The Reverend'

title "Third run: nothing to do"
sync 0

maildir=$place/Maildir
sync_mail() { run "$1" sync mail --eudora Eudora --maildir Maildir; }

title "The in-box: its mails are old, so the limits of age and size are taken off first"
run 4 configure mail --eudora Eudora --age off --size off --attachments on --attachment-size off

title "First run: every mail becomes a file of a Maildir"
sync_mail 4 | tail -n 4
find "$maildir" -type f -printf '%P\n' | sort | sed -n '1p;$p'
echo "... $(find "$maildir/new" -type f | wc -l) unread, $(find "$maildir/cur" -type f | wc -l) read"

title "One of them, as mutt, notmuch or mu read it"
with=$(grep -rl 'multipart/mixed' "$maildir" | sort | head -n 1)
sed -n '1,30p' "$with"

title "The way back: in the Maildir a mail is read, one is removed, one arrives, one is to be sent"
first=$(find "$maildir/new" -type f | sort | head -n 1)
mv "$first" "$maildir/cur/$(basename "$first"):2,S"
rm "$with"
mkdir -p "$maildir"/.Outbox/{cur,new,tmp}
printf '%s\n' 'From: Zoe <zoe@example.org>' 'To: me@example.org' 'Subject: Greetings from the Maildir' \
    'Date: Tue, 24 Nov 2026 10:00:00 +0000' '' 'This mail arrived beside Eudora.' >"$maildir/new/1.demo.host"
printf '%s\n' 'From: me@example.org' 'To: Zoe <zoe@example.org>' 'Subject: Re: Greetings' '' \
    'Eudora sends this when it next runs.' >"$maildir/.Outbox/new/2.demo.host"
sync_mail 4
run 0 list mail --eudora Eudora | tail -n 2
tail -n 8 "$place/Eudora/Out.mbx"
run 0 backups --eudora Eudora | tail -n 1 | cut -c 1-100

title "Next run: the last block of In.toc was cut short; with one behind it, its mail is seen again"
sync_mail 4

title "Last run: nothing to do"
sync_mail 0
