"""Compares two Maildirs, read by Python's own modules, in all that Eudora's fields carry.

Mails are paired by Message-ID. Not compared, since Eudora's translator does not tell it: the names
in front of addresses, the layout of the
MIME parts, types of attachments, folding and other fields of the header, seconds of the date, line
ends at the end. Two things are undone first: the blank in front of a line that Eudora would take
for a mark of its own, and the note on fields that could not be read.
"""
import mailbox
import re
import sys
from email.header import decode_header, make_header
from email.utils import getaddresses, parsedate_to_datetime


def header(message, name):
    text = str(make_header(decode_header(message[name] or "")))
    return " ".join(text.split())


def addresses(message, name):
    return sorted(address for _, address in getaddresses([str(message[name] or "")]) if address)


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
        if part.is_multipart():
            continue
        if part.get_filename():
            files.append((part.get_filename(), part.get_payload(decode=True)))
        elif part.get_content_maintype() == "text":
            texts.append(text_of(part))
    date = parsedate_to_datetime(message["Date"]) if message["Date"] else None
    return {
        "from": addresses(message, "From"),
        "to": addresses(message, "To"),
        "cc": addresses(message, "Cc"),
        "bcc": addresses(message, "Bcc"),
        "subject": header(message, "Subject"),
        "date": date and date.strftime("%Y-%m-%d %H:%M %z"),
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


def main():
    left, right = mails_of(sys.argv[1]), mails_of(sys.argv[2])
    faults = [f"only on one side: {name}" for name in left.keys() ^ right.keys()]
    for name in left.keys() & right.keys():
        if len(left[name]) != len(right[name]):
            faults.append(f"{name}: {len(left[name])} and {len(right[name])} times")
        for one, other in zip(left[name], right[name]):
            faults.extend(f"{name}: {field}: {one[field]!r} became {other[field]!r}"
                          for field in one if one[field] != other[field])
    print("\n".join(faults), f"{len(left)} mails compared")
    sys.exit(bool(faults) or not left)


main()
