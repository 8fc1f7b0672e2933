"""Compares a Maildir, read by Python's own modules, with what `kvsync list mail --json` tells."""
import json
import mailbox
import sys
from email.header import decode_header, make_header
from email.utils import getaddresses, parsedate_to_datetime


def header(message, name):
    return str(make_header(decode_header(message[name] or "")))


def addresses(text):
    return sorted(address for _, address in getaddresses([text.replace(";", ",")]) if address)


def faults_of(told, message):
    if header(message, "Subject").split() != (told["subject"] or "").split():
        yield f"subject {header(message, 'Subject')!r}, not {told['subject']!r}"
    for field in ("from", "to", "cc", "bcc"):
        found = addresses(header(message, field))
        if found != addresses(told[field] or ""):
            yield f"{field} {found}, not {told[field]!r}"
    if told["date"]:
        found = parsedate_to_datetime(message["Date"]).replace(tzinfo=None).isoformat()
        if found[:16] != told["date"][:16]:
            yield f"date {found}, not {told['date']}"
    is_read = "S" in message.get_flags()
    if is_read == (told["status"] in (1, "unread")):
        yield f"read: {is_read}, but status {told['status']}"
    names = [part.get_filename() for part in message.walk() if part.get_filename()]
    if len(names) < len(told["attachments"]):
        missing = [part for part in told["attachments"] if str(part) not in names]
        if "missing" not in message.as_string() and "not" not in message.as_string():
            yield f"attachments {names}, told {missing}"
    for part in message.walk():
        if part.get_content_maintype() == "text" and not part.get_filename():
            part.get_payload(decode=True).decode(part.get_content_charset() or "ascii")


def main():
    told = [json.loads(line) for line in open(sys.argv[2], encoding="utf-8")]
    messages = list(mailbox.Maildir(sys.argv[1], factory=None))
    by_id = {}
    for message in messages:
        by_id.setdefault(message["Message-ID"].strip("<> \n"), []).append(message)
    faults = [] if len(told) == len(messages) else [f"{len(messages)} files, {len(told)} mails"]
    for mail in told:
        found = by_id.get(mail["messageId"] or "", [])
        # A mail without one that a header can hold has another one.
        if not found:
            found = [one for one in messages if header(one, "Subject") == mail["subject"]]
        if not found:
            faults.append(f"{mail['id']}: no file of {mail['messageId']}")
            continue
        results = [list(faults_of(mail, message)) for message in found]
        if all(results):
            faults.extend(f"{mail['id']}: {line}" for line in results[0])
    print("\n".join(faults))
    sys.exit(bool(faults))


main()
