#!/bin/bash
# The programs that docs/recipes.md names work on what kvsync makes, and kvsync on what they change:
#
#   takers.sh KVSYNC DOCS SAMPLES
#
# Those that are not installed are told; 77 if none is.
set -euo pipefail
kvsync=$(realpath "$1") docs=$(realpath "$2") samples=$(realpath "$3")
here=$(mktemp -d)
trap 'rm -rf "$here"' EXIT
cd "$here"
export HOME=$here XDG_STATE_HOME=$here/state XDG_CONFIG_HOME=$here/config KVSYNC_MAILDIR=$here/M
export LC_ALL=C.UTF-8 NO_COLOR=1
cp -r "$samples" E
mkdir -p config/kvsync
cat >config/kvsync/config.toml <<END
eudora = "$here/E"
contacts = "$here/C"
maildir = "$here/M"
END

fail() {
    echo "FAILED: $*"
    exit 1
}
# Runs kvsync, which ends with that code.
run() {
    local wanted=$1 code=0
    shift
    "$kvsync" "$@" >out 2>&1 || code=$?
    [[ $code == "$wanted" ]] || fail "kvsync $* ended with $code: $(cat out)"
}
ran=0
# Whether a program is there.
have() {
    if command -v "$1" >/dev/null; then
        ran=$((ran + 1))
    else
        echo "not run: $1 is not installed"
        return 1
    fi
}

run 4 configure mail --age off --size off --attachments on
run 4 sync
# As cron and the timer call it.
run 0 sync --quiet --wait 300
[[ ! -s out ]] || fail "a run with nothing to do says: $(cat out)"

if have khard; then
    mkdir -p config/khard
    printf '[addressbooks]\n[[eudora]]\npath = %s/C\n[general]\neditor = true\nmerge_editor = true\n' \
        "$here" >config/khard/khard.conf
    # Each vCard is read without a complaint.
    [[ $(khard list --parsable 2>&1 | wc -l) == $(ls C/*.vcf | wc -l) ]] || fail "khard list"
    khard email --parsable carla | grep -q carla.vance@example.net || fail "khard email"
    printf 'First name: Nora\nLast name: Quist\nNickname: nora\nEmail:\n    work: nora@example.org\n' |
        khard new -a eudora -i - >out 2>&1 || fail "khard new"
    run 4 sync
    grep -q '^add to Eudora: nora' out || fail "a contact of khard's: $(cat out)"
    khard list nora 2>&1 | grep -q Quist || fail "khard after the sync"
    run 0 sync
fi

if have vdirsyncer; then
    cat >vdirsyncer.conf <<END
[general]
status_path = "$here/vdirsyncer/"
[pair contacts]
a = "eudora"
b = "elsewhere"
collections = null
[storage eudora]
type = "filesystem"
path = "$here/C"
fileext = ".vcf"
[storage elsewhere]
type = "filesystem"
path = "$here/D"
fileext = ".vcf"
END
    mkdir D
    take() {
        vdirsyncer -c vdirsyncer.conf sync >out 2>&1 || fail "vdirsyncer: $(cat out)"
    }
    vdirsyncer -c vdirsyncer.conf discover >out 2>&1 || fail "vdirsyncer: $(cat out)"
    take
    diff <(cat C/*.vcf | sort) <(cat D/*.vcf | sort) >out || fail "vdirsyncer copied: $(cat out)"
    sed -i 's/555-0110/555-0119/' "$(grep -l 555-0110 D/*.vcf)"
    take
    run 4 sync
    grep -q '^change in Eudora: Carla Vance (phone)' out || fail "a change of vdirsyncer's: $(cat out)"
    take
    run 0 sync
fi

if have notmuch; then
    printf '[database]\npath=%s/M\n[user]\nname=a\nprimary_email=a@example.org\n[new]\ntags=unread;inbox\nignore=.kvsync\n[maildir]\nsynchronize_flags=true\n' \
        "$here" >notmuch.conf
    export NOTMUCH_CONFIG=$here/notmuch.conf
    notmuch new >out 2>&1 || fail "notmuch: $(cat out)"
    ! grep -q 'not a mail file' out || fail "notmuch: $(cat out)"
    [[ $(notmuch count --output=files '*') == $(find M -path '*/cur/*' -o -path '*/new/*' | wc -l) ]] ||
        fail "notmuch counts $(notmuch count '*')"
    [[ $(notmuch count subject:Minutes) == 1 ]] || fail "notmuch finds no mail"
    notmuch tag -unread tag:unread
    run 4 sync
    grep -q '^mark read in Eudora: Keys' out || fail "notmuch read mails: $(cat out)"
    # Of two mails of one Message-ID notmuch marks one file. The last mail's block is cut: list reads it all
    # the same, the sync does not.
    [[ $("$kvsync" list mail | grep ' N ' | grep -v 0x00000022 | grep -vc 'Club evening') == 0 ]] || fail "unread mails"
    run 0 sync
fi

if have mu; then
    mu init --maildir="$here/M" --muhome="$here/mu" >out 2>&1 || fail "mu init: $(cat out)"
    mu index --muhome="$here/mu" >out 2>&1 || fail "mu index: $(cat out)"
    [[ $(mu find --muhome="$here/mu" subject:Minutes | wc -l) == 1 ]] || fail "mu finds no mail"
fi

if have mutt; then
    printf 'set folder=%s/M spoolfile=%s/M mbox_type=Maildir copy=no from=a@example.org\nset sendmail="%s/kvsync-outbox.sh"\n' \
        "$here" "$here" "$docs" >muttrc
    echo "See you there." | mutt -F muttrc -s "By mutt" -b a@example.org bob@example.org || fail "mutt"
    run 4 sync
    grep -q "^queue in Eudora's Out: By mutt" out || fail "mutt's mail: $(cat out)"
    grep -q 'By mutt' E/Out.mbx && grep -q '^Bcc: a@example.org' E/Out.mbx || fail "Eudora's Out"
    grep -rq 'By mutt' M/.Sent/cur || fail ".Sent"
    run 0 sync
fi
[[ $ran -gt 0 ]] || exit 77
echo "$ran programs worked on it"
