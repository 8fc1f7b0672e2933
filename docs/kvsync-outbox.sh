#!/bin/sh
# A sendmail for mutt and others: puts the mail on standard input into the .Outbox of the Maildir
# that KVSYNC_MAILDIR names, from where the next `kvsync sync mail` queues it in Eudora. Recipients
# behind -- that no field of the header names get a field Bcc.
set -eu
box=${KVSYNC_MAILDIR:?names no Maildir}/.Outbox
umask 077
mkdir -p "$box/cur" "$box/new" "$box/tmp"
name=$(date +%s).$$.outbox
trap 'rm -f "$box/tmp/$name" "$box/tmp/$name.in"' EXIT
cat >"$box/tmp/$name.in"
while [ $# -gt 0 ] && [ "$1" != -- ]; do shift; done
# The addresses of the header's To, Cc and Bcc, one a line.
named() {
    awk '/^\r?$/ { exit }
        /^[^ \t]/ { isOne = tolower($0) ~ /^(to|cc|bcc):/ }
        isOne { gsub(/[ \t,;:<>\r]+/, "\n"); print }' "$box/tmp/$name.in"
}
{
    for one; do
        [ "$one" = -- ] || named | grep -qixF -- "$one" || echo "Bcc: $one"
    done
    cat "$box/tmp/$name.in"
} >"$box/tmp/$name"
mv "$box/tmp/$name" "$box/new/$name"
