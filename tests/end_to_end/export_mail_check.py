#!/usr/bin/env python3
"""Exports the sample in-box with the built kvsync and reads each mail with Python's own parser.

    export_mail_check.py KVSYNC SAMPLES TOOLS
"""
import email
import email.policy
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

kvsync, samples = sys.argv[1], Path(sys.argv[2])
sys.path.insert(0, sys.argv[3])
sys.dont_write_bytecode = True
import make_sample_inbox as sample  # noqa: E402

faults = []


def expect(what, given, wanted):
    if given != wanted:
        faults.append(f"{what}: {given!r} instead of {wanted!r}")


def run(place, *arguments):
    environment = dict(os.environ, XDG_STATE_HOME=f"{place}/state", XDG_CONFIG_HOME=f"{place}/config")
    done = subprocess.run([kvsync, *arguments, "--eudora", f"{place}/Eudora"], env=environment,
                          capture_output=True, text=True)
    return done


def words(text):
    """Text without the marks of Eudora and without a difference in white space."""
    for mark in ("<x-flowed>", "</x-flowed>", "<x-html>", "</x-html>", "<x-rich>", "</x-rich>"):
        text = text.replace(mark, " ")
    return text.split()


def text_of(message):
    parts = [part for part in message.walk()
             if part.get_content_maintype() == "text" and not part.get_filename()]
    return " ".join(part.get_payload(decode=True).decode("utf-8") for part in parts)


with tempfile.TemporaryDirectory() as place:
    shutil.copytree(samples, f"{place}/Eudora")
    done = run(place, "configure", "mail", "--age", "off", "--size", "off", "--attachments", "on",
               "--attachment-size", "off")
    expect("configure", done.returncode in (0, 4), True)
    done = run(place, "export", "mail", "--to", f"{place}/Maildir")
    print(done.stdout, done.stderr, sep="")
    expect("export", done.returncode, 4)
    expect("remarks", done.stderr, "")
    found = {}
    for path in Path(place).glob("Maildir/*/*"):
        message = email.message_from_bytes(path.read_bytes(), policy=email.policy.default)
        for part in message.walk():
            expect(f"defects in {path.name}", part.defects, [])
        found.setdefault(message["Subject"] or "", []).append((path, message))
    for mail in sample.MAILS[:-1]:
        # The text of another code page is checked with that one.
        if mail.charset != "cp1252" or mail.block:
            continue
        wanted = str(email.header.make_header(email.header.decode_header(mail.fields["subject"])))
        if wanted not in found:
            faults.append(f"no mail {wanted!r}")
            continue
        path, message = found[wanted].pop(0)
        whole = text_of(message)
        expect(f"text of {wanted!r}", set(words(mail.text)) - set(words(whole)), set())
        expect(f"read state of {wanted!r}", path.parent.name == "new", mail.state == sample.UNREAD)
        names = [part.get_filename() for part in message.walk() if part.get_filename()]
        for name in mail.attached:
            if (samples / "Attach" / name).exists():
                expect(f"attachment {name}", name in names, True)
    # A second export into the same folder is refused.
    expect("second export", run(place, "export", "mail", "--to", f"{place}/Maildir").returncode, 3)

for fault in faults:
    print(fault)
sys.exit(1 if faults else 0)
