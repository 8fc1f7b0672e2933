"""Mails of a Maildir by Python's own modules, which share nothing with kvsync.

    maildirs.py make DIR COUNT      makes mails of many kinds, of what code page 1252 holds
    maildirs.py compare DIR DIR     in all that Eudora's fields carry, by Message-ID
    maildirs.py check DIR LIST [ID] against what `kvsync list mail --json` tells, in UTC, but for
                                    that mail, in whose place the folder has another one

Not compared, since it does not come through Eudora: the names in front of addresses, the layout of
the MIME parts, types of attachments, folding and other fields of the header, seconds and zone of the
date, line ends at the end. Two things are undone first: the blank in front of a line that Eudora would
take for a mark of its own, and the note on fields that could not be read.
"""
import json
import mailbox
import random
import re
import sys
from datetime import datetime, timedelta, timezone
from email.header import decode_header, make_header
from email.message import EmailMessage
from email.utils import format_datetime, getaddresses, parsedate_to_datetime

WORDS = "grün Straße naïve café mañana harbour ship “quoted” it’s — € 5 plain text over the sea".split()


def words(chance, count):
    return " ".join(chance.choice(WORDS) for _ in range(count))


def message(chance, number):
    mail = EmailMessage()
    mail["Message-ID"] = f"<generated.{number}@example.org>"
    mail["From"] = chance.choice(["zoe@example.org", '"Müller, Jörg" <jm@example.org>'])
    mail["To"] = ", ".join(f"Person {i} <p{i}@example.org>" for i in range(chance.randint(1, 4)))
    if chance.random() < 0.3:
        mail["Cc"] = "Åsa <asa@example.org>"
    if chance.random() < 0.1:
        mail["Bcc"] = "hidden@example.org"
    mail["Subject"] = words(chance, chance.randint(0, 30))
    date = datetime(1999, 1, 1, tzinfo=timezone.utc) + timedelta(minutes=chance.randrange(14000000))
    mail["Date"] = format_datetime(date)
    lines = [words(chance, chance.randint(0, 40)) for _ in range(chance.randint(1, 20))]
    mail.set_content("\n".join(lines) + "\n", charset=chance.choice(["utf-8", "cp1252"]),
                     cte=chance.choice(["quoted-printable", "base64", "8bit"]))
    for i in range(chance.choice([0, 0, 0, 1, 3])):
        mail.add_attachment(bytes(chance.randrange(256) for _ in range(chance.randrange(3000))),
                            maintype="application", subtype="octet-stream",
                            filename=f"file {number} {i}.bin")
    return mail


def make(folder, count):
    chance = random.Random(20260101)
    target = mailbox.Maildir(folder, factory=None, create=True)
    for number in range(int(count)):
        stored = mailbox.MaildirMessage(message(chance, number))
        if chance.random() < 0.5:
            stored.set_subdir("cur")
            stored.set_flags("S")
        target.add(stored)


def header(message, name):
    text = str(make_header(decode_header(message[name] or "")))
    return " ".join(text.split())


def addresses(text):
    return sorted(address for _, address in getaddresses([str(text or "")]) if address)


def text_of(part):
    charset = part.get_content_charset() or "ascii"
    return part.get_payload(decode=True).decode(charset, "replace")


def body_of(text):
    text = re.sub(r"\r\n?", "\n", text)
    text = re.sub(r"(?m)^ (?=Attachment Converted: |From \?\?\?@\?\?\? )", "", text)
    return re.sub(r"(?m)^\[Not all could be read: .*\]$", "", text).strip("\n")


def fields_of(message):
    texts, files = [], []
    for part in message.walk():
        if part.defects:
            texts.append(f"defects: {part.defects}")
        if part.is_multipart():
            continue
        if part.get_filename():
            files.append((part.get_filename(), part.get_payload(decode=True)))
        elif part.get_content_maintype() == "text":
            texts.append(text_of(part))
    date = parsedate_to_datetime(message["Date"]) if message["Date"] else None
    return {
        "from": addresses(message["From"]),
        "to": addresses(message["To"]),
        "cc": addresses(message["Cc"]),
        "bcc": addresses(message["Bcc"]),
        "subject": header(message, "Subject"),
        "date": date and date.astimezone(timezone.utc).strftime("%Y-%m-%d %H:%M %z"),
        "body": body_of("\n".join(texts)),
        "attachments": sorted(files),
        "read": "S" in message.get_flags(),
    }


def mails_of(folder):
    mails = {}
    for message in mailbox.Maildir(folder, factory=None):
        mails.setdefault(message["Message-ID"].strip("<> \n"), []).append(fields_of(message))
    for same in mails.values():
        same.sort(key=repr)
    return mails


def told_fields(mail):
    fields = {name: addresses((mail[name] or "").replace(";", ","))
              for name in ("from", "to", "cc", "bcc")}
    fields["subject"] = " ".join((mail["subject"] or "").split())
    fields["read"] = mail["status"] != "unread"
    if mail["date"]:
        fields["date"] = mail["date"][:16].replace("T", " ") + " +0000"
    return fields


def faults_of(told, mail):
    yield from (f"{name}: {mail[name]!r}, not {text!r}" for name, text in told_fields(told).items()
                if mail[name] != text)
    if "defects: " in mail["body"]:
        yield mail["body"]
    names = [name for name, _ in mail["attachments"]]
    if not set(told["attachments"]) <= set(names) and "missing" not in mail["body"]:
        yield f"attachments {names}, not {told['attachments']}"


def check(folder, told, other=None):
    mails = mails_of(folder)
    every = [mail for same in mails.values() for mail in same]
    told = [json.loads(line) for line in open(told, encoding="utf-8")]
    faults = [] if len(told) == len(every) else [f"{len(every)} files, {len(told)} mails"]
    for mail in told:
        if mail["id"] == other:
            continue
        # A mail without a Message-ID that a header can hold has another one.
        found = mails.get(mail["messageId"]) or [one for one in every
                                                 if one["subject"] == mail["subject"]]
        results = [list(faults_of(mail, one)) for one in found] or [["no file"]]
        if all(results):
            faults.extend(f"{mail['id']}: {line}" for line in results[0])
    print("\n".join(faults))
    sys.exit(bool(faults))


def compare(one_folder, other_folder):
    left, right = mails_of(one_folder), mails_of(other_folder)
    faults = [f"only on one side: {name}" for name in left.keys() ^ right.keys()]
    for name in left.keys() & right.keys():
        if len(left[name]) != len(right[name]):
            faults.append(f"{name}: {len(left[name])} and {len(right[name])} times")
        for one, other in zip(left[name], right[name]):
            faults.extend(f"{name}: {field}: {one[field]!r} became {other[field]!r}"
                          for field in one if one[field] != other[field])
    print("\n".join(faults), f"{len(left)} mails compared")
    sys.exit(bool(faults) or not left)


{"make": make, "compare": compare, "check": check}[sys.argv[1]](*sys.argv[2:])
