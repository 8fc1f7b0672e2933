#!/bin/sh
# A sendmail for mutt and others: puts the mail on standard input into the .Outbox of the Maildir
# that KVSYNC_MAILDIR names, from where the next `kvsync sync mail` queues it in Eudora.
set -eu
box=${KVSYNC_MAILDIR:?names no Maildir}/.Outbox
umask 077
mkdir -p "$box/cur" "$box/new" "$box/tmp"
name=$(date +%s).$$.outbox
trap 'rm -f "$box/tmp/$name"' EXIT
cat >"$box/tmp/$name"
mv "$box/tmp/$name" "$box/new/$name"
