"""Makes a Maildir of mails of many kinds, of what code page 1252 holds: make_maildir.py DIR COUNT"""
import mailbox
import random
import sys
from email.message import EmailMessage
from email.utils import format_datetime
from datetime import datetime, timedelta, timezone

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


def main():
    chance = random.Random(20260101)
    target = mailbox.Maildir(sys.argv[1], factory=None, create=True)
    for number in range(int(sys.argv[2])):
        stored = mailbox.MaildirMessage(message(chance, number))
        if chance.random() < 0.5:
            stored.set_subdir("cur")
            stored.set_flags("S")
        target.add(stored)


main()
