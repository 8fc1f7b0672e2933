#!/usr/bin/env python3
"""Writes the in-box of samples/Eudora: In.mbx, In.toc and the files in Attach.

    tools/make_sample_inbox.py            writes them
    tools/make_sample_inbox.py --check    fails if they differ from what would be written

All people, addresses and texts are invented. Every byte is told here, so the result is the same on
every machine.
"""
import struct
import sys
import zlib
from datetime import datetime, timedelta
from pathlib import Path

FOLDER = Path(__file__).resolve().parent.parent / "samples" / "Eudora"
ATTACH = "C:\\Eudora\\Attach\\"
ME = "Ann Harper <ann.harper@example.org>"
UNREAD, READ, REPLIED, FORWARDED, REDIRECTED = 0, 1, 2, 3, 4
SENDABLE, QUEUED, SENT, UNSENT = 6, 7, 8, 9

# Fields by names that Python takes, in the order in which a mail has them.
NAMES = {
    "message_id": "Message-ID", "message_Id": "Message-Id", "sender": "From", "to": "To",
    "cc": "Cc", "bcc": "Bcc", "subject": "Subject", "reply_to": "Reply-To", "date": "Date",
    "mime": "MIME-Version", "content_type": "Content-Type", "received": "Received",
    "late_id": "Message-ID", "list_id": "List-Id",
}


class Mail:
    """One mail: `fields` in their order, the lines of its body, and what its block tells."""

    def __init__(self, when, text, state=READ, charset="cp1252", attached=(), **fields):
        self.when = datetime.fromisoformat(when)
        self.text = text
        self.state = state
        self.charset = charset
        self.attached = attached
        self.fields = fields
        self.block = {}  # bytes of the block that do not say what is true

    def claims(self, **block):
        self.block = block
        return self

    def date(self):
        return self.when.strftime("%a, %d %b %Y %H:%M:%S ") + self.fields.get("zone", "+0000")

    def bytes(self):
        lines = [self.when.strftime("From ???@??? %a %b %d %H:%M:%S %Y")]
        for key, value in self.fields.items():
            if key == "zone":
                continue
            lines.append(f"{NAMES[key]}: {self.date() if value is DATE else value}")
        lines += ["", *self.text.split("\n")]
        for name in self.attached:
            lines += ["", f'Attachment Converted: "{ATTACH}{name}"']
        return "".join(line + "\r\n" for line in lines).encode(self.charset)


DATE = object()  # a Date field that says the mail's own time


def log_book():
    """About 40 KB: an entry for each day of a year."""
    winds = ["light from the west", "fresh from the south-west", "calm", "strong, gusts at noon"]
    deeds = ["aired the sails", "pumped the bilge dry", "sanded the rudder", "out with Bob and Pat",
             "oiled the blocks", "counted the life jackets", "painted the dinghy's name anew"]
    day = datetime(2024, 1, 1)
    entries = []
    for number in range(366):
        at = day + timedelta(days=number)
        entries.append(f"{at:%d %B}: wind {winds[number * 7 % 4]}, water {4 + number % 15} "
                       f"degrees; {deeds[number * 5 % 7]}. Berth {1 + number % 12}, meter {1180 + number}.")
    return "The log book of the boat house, typed in from the paper one.\n\n" + "\n".join(entries)


MAILS = [
    Mail("2026-09-01T08:15:00", "Good morning Ann,\n\nthe tide is right at ten on Thursday. Shall "
         "we "
         "meet at the boat house?\nBring the blue jacket, it will be fresh.\n\nBob", READ,
         message_id="<20260901081500.1a2b@example.com>", date=DATE, to=ME,
         sender="Bob Smith <bob.smith@example.com>", subject="Thursday at the boat house"),
    Mail("2026-09-01T19:40:12", "Thursday suits me. I will bring the thermos flask.\n\nCarla\n\n"
         "At 09:15 01.09.2026, Bob Smith wrote:\n>the tide is right at ten on Thursday.", REPLIED,
         message_Id="<carla-77@example.net>", date=DATE, to="Bob Smith <bob.smith@example.com>",
         cc=ME + ", Ruth <ruth@example.org>", sender="Carla Vance <carla.vance@example.net>",
         subject="Re: Thursday at the boat house"),
    # No Message-ID at all.
    Mail("2026-09-02T07:05:30", "Ann, the spare keys hang behind the door of the shed now.\n\nPat",
         UNREAD, date=DATE, to=ME, sender="pat@example.org", subject="Keys"),
    # The Message-ID stands behind the first "To: ".
    Mail("2026-09-03T12:00:00", "The minutes of August are with the treasurer.\n\nRuth", READ,
         date=DATE, to=ME, sender="Ruth Adler <ruth.adler@example.net>", subject="Minutes",
         late_id="<late.9@example.net>"),
    # "Reply-To: " ends like the line that is searched for, in front of the Message-ID.
    Mail("2026-09-03T16:21:09", "Please answer to the office, I am on the road until Monday.\n\n"
         "Dario", FORWARDED, date=DATE, reply_to="office@example.com",
         message_id="<dario.41@example.com>", to=ME, sender="Dario Conti <dario@example.com>",
         subject="Travelling", zone="+0200"),
    # "Reply-To: " in front of "To: ", the Message-ID in front of both.
    Mail("2026-09-04T09:00:00", "Two places in the photo course are free.\n\nKim", REDIRECTED,
         message_id="<kim.course@example.com>", reply_to="kim@example.com", to=ME,
         sender="Kim Larsen <kim@example.com>", subject="Photo course", date=DATE),
    # Code page 1252, also in the fields.
    Mail("2026-09-05T10:30:00", "Chère Ann,\n\nle café de la rue des Œillets est fermé jusqu’à "
         "mardi. Le menu coûte toujours 20 €.\n\nÀ bientôt\nFrançois", READ,
         message_id="<lefevre.12@example.org>", date=DATE, zone="+0200", to=ME,
         sender="François Lefèvre <francois.lefevre@example.org>",
         subject="Fermé jusqu’à mardi – tarif 20 €"),
    Mail("2026-09-05T18:02:44", "Hallo Ann,\n\ndie Jacke in Größe XL ist da. Die Maße stehen in "
         "der "
         "Datei.\n\nViele Grüße\nJürgen", READ, message_id="<gross.3@example.net>", date=DATE,
         zone="+0200", to=ME, sender="Jürgen Groß <juergen.gross@example.net>",
         subject="Maßarbeit", attached=["Größe XL.txt"]),
    # Shift-JIS; some characters have the byte of the backslash as their second one.
    Mail("2026-09-06T08:00:00", "アンさん、\n\n予約表を送ります。十日の能の席は二つあります。\n"
         "ソースは別の手紙で送ります。\n\n田中", UNREAD, charset="cp932",
         message_id="<tanaka.10@example.org>", date=DATE, zone="+0900", to=ME,
         sender="田中予能子 <tanaka@example.org>", subject="予約表と能の席"),
    # Encoded words.
    Mail("2026-09-06T21:45:00", "Boa tarde Ann,\n\nthe ferry leaves at half past six, not at six."
         "\n\nJoao", READ, message_id="<pena.8@example.org>", date=DATE, zone="+0100", to=ME,
         sender="=?iso-8859-1?Q?Jo=E3o_Pe=F1a?= <joao.pena@example.org>",
         subject="=?iso-8859-1?Q?S=F3_=E0_tarde?= =?utf-8?B?4oCTIGZlcnJ5?="),
    # Flowed text.
    Mail("2026-09-07T11:11:11", "<x-flowed>\nHello Ann, the museum has a new wing with a long "
         "hall of "
         "old charts. \nI went there on Sunday and stayed until they closed, since one of \nthe "
         "charts "
         "shows our bay as it was before the harbour was built.\n\n> Is it worth the way from the "
         "station, and is it open in the \n> mornings?\n\nIt is, from nine.\n\nMia\n</x-flowed>",
         READ,
         message_id="<mia.wong.5@example.net>", date=DATE, zone="+0800", to=ME,
         sender="Mia Wong <mia.wong@example.net>", subject="Re: The museum", mime="1.0",
         content_type='text/plain; charset="us-ascii"; format=flowed'),
    # HTML text.
    Mail("2026-09-08T06:30:00", "<x-html>\n<html><body>\n<h1>Boat fair news</h1>\n<p>The fair "
         "opens on "
         "<b>3&nbsp;October</b>. Stand 14 shows sail cloth, stand 15 shows <i>varnish</i>.</p>\n"
         "<ul><li>Tea from nine</li><li>Caf\xe9 from ten</li></ul>\n</body></html>\n</x-html>",
         UNREAD,
         message_id="<fair.2026.1@example.com>", date=DATE, to="friends@example.com",
         bcc=ME, sender="Boat Fair <fair@example.com>", subject="Boat fair news",
         list_id="<news.fair.example.com>", mime="1.0", content_type="text/html"),
    # Plain text, then HTML.
    Mail("2026-09-08T17:20:00", "Ann, see what the fair wrote. I marked our "
         "stand.\n\nZo\xeb\n\n<x-html>"
         "<blockquote>Stand 14 shows <u>sail cloth</u>.</blockquote></x-html>\nTea at ten?", READ,
         message_id="<zoe.31@example.org>", date=DATE, to=ME,
         sender="Zo\xeb Marsh <zoe@example.org>",
         subject="Fwd: Boat fair news"),
    # One attachment.
    Mail("2026-09-09T13:37:00", "The tide table for October, as text.\n\nNils", READ,
         message_id="<nils.tide@example.org>", date=DATE, zone="+0200", to=ME,
         sender="Nils Berg <nils@example.org>", subject="Tide table",
         attached=["tide-table.txt"]),
    # Three attachments; the second one is not on the disk any more.
    Mail("2026-09-10T15:00:00", "Two pictures of the new sail and the price list.\n\nInes", UNREAD,
         message_id="<ines.sail@example.com>", date=DATE, zone="+0200", to=ME,
         cc="bob.smith@example.com, \"O'Neill, Eve\" <eve@example.org>",
         sender="Ines Ortega <ines.ortega@example.com>", subject="The new sail",
         attached=["sail.png", "sail-from-behind.jpg", "prices.csv"]),
    # An attachment of more than 5 KB.
    Mail("2026-09-11T09:09:09", "The harbour, drawn to scale. It is a larger file.\n\nWillem",
         READ,
         message_id="<willem.map@example.org>", date=DATE, zone="+0200", to=ME,
         sender="Willem de Vries <willem@example.org>", subject="Map of the harbour",
         attached=["harbour.bmp"]),
    # Larger than 32 KB.
    Mail("2026-09-12T20:00:00", log_book(), READ, message_id="<log.2024@example.org>", date=DATE,
         to=ME, sender="pat@example.org", subject="The log book of 2024, all of it"),
    # Years older than the others.
    Mail("1999-03-14T10:00:00", "Dear Ann,\n\nmy first mail with the new modem. It whistles like "
         "the "
         "kettle.\n\nTom", READ, message_id="<first@example.org>", date=DATE, to=ME,
         sender="Tom Harper <tom@example.org>", subject="Hello from the modem"),
    Mail("2004-02-29T23:59:59", "Happy leap day! The next one is a long way off.\n\nOlga", REPLIED,
         message_id="<leap@example.com>", date=DATE, zone="+0300", to=ME,
         sender="Olga <olga@example.com>", subject="29 February"),
    # Mails of an out-box that were moved here: the states of sending.
    Mail("2026-09-13T08:00:00", "Sven, the varnish is paid for.\n\nAnn", SENDABLE, date=DATE,
         to="sven@example.com", sender=ME, subject="Varnish"),
    Mail("2026-09-13T08:05:00", "Uma, thank you for the recipe. I will try it on Sunday.\n\nAnn",
         QUEUED, message_id="<ann.21@example.org>", date=DATE, to="Uma Rao <uma@example.net>",
         sender=ME, subject="Recipe"),
    Mail("2026-09-13T08:10:00", "Tom, happy birthday! The parcel is on its way.\n\nAnn", SENT,
         message_id="<ann.22@example.org>", date=DATE, to="Tom Harper <tom@example.org>",
         bcc="mia.wong@example.net", sender=ME, subject="Happy birthday"),
    Mail("2026-09-13T08:15:00", "Robert, about the other Bob: he has your umbrella.\n\nAnn",
         UNSENT,
         date=DATE, to="robert.smithson@example.com", sender=ME, subject="Umbrella"),
    # An empty body.
    Mail("2026-09-14T07:00:00", "", UNREAD, message_id="<empty@example.com>", date=DATE, to=ME,
         sender="yara@example.com", subject="(see subject) The heating is repaired"),
    # A body with a line that looks like a separator, and one that starts as one.
    Mail("2026-09-14T12:30:00", "From here the way is easy:\n\nFrom the station turn left, then "
         "\nFrom "
         "???@??? Mon Sep 14 12:30:00 2026\nis what the old sign says. Nobody knows "
         "why.\n\nXavier",
         READ, message_id="<xavier.way@example.net>", date=DATE, to=ME,
         sender="xavier@example.net", subject="The way to the cabin"),
    # No subject, no name, a folded field, tabs.
    Mail("2026-09-15T05:55:00", "Reading lamp:\t12\nChairs:\t\t4\nTable:\t\t1\n\nLab", READ,
         message_id="<lab.inventory@example.org>", date=DATE, zone="-0500",
         to=ME + ",\r\n\tQuill <quill@example.com>", sender="lab@example.org", subject=""),
    # A subject that is longer than a block's text, in accents.
    Mail("2026-09-15T22:10:00", "All of it is in the subject.\n\nVera", READ,
         message_id="<vera.long@example.com>", date=DATE, zone="+0300", to=ME,
         sender="Veronika Petrova-Sokolova <vera@example.com>",
         subject="Räume für die Übung im Oktober: Küche, Flur, großer Saal und, falls es trocken "
                 "bleibt, die Wiese hinter dem Haus"),
    # An empty Message-ID is none.
    Mail("2026-09-16T09:30:00", "The printer is out of paper again.\n\nEve", UNREAD,
         message_id="<>", date=DATE, to=ME, sender="\"O'Neill, Eve\" <eve@example.org>",
         subject="Paper"),
    # The same Message-ID twice: it came directly and through the list.
    Mail("2026-09-17T18:00:00", "Club evening moved to Friday.\n\nRuth", READ,
         message_id="<club.evening@example.org>", date=DATE, to=ME, sender="ruth@example.org",
         subject="Club evening"),
    Mail("2026-09-17T18:00:30", "Club evening moved to Friday.\n\nRuth\n-- \nSailing club list",
         UNREAD,
         message_id="<club.evening@example.org>", date=DATE, to="sailing-club@example.org",
         sender="ruth@example.org", subject="[club] Club evening",
         received="from list.example.org by mail.example.org; Thu, 17 Sep 2026 18:00:30 +0000"),
    # No date in the field, no recipient: the newsletter of a machine.
    Mail("2026-09-18T03:00:00", "Backup finished. 0 errors.", READ,
         message_id="<backup.918@example.net>", sender="backup@example.net", subject="Backup"),
    # Rich text.
    Mail("2026-09-19T14:14:14", "<x-rich>Dear Ann,\n\n<bold>Do</bold> come to the reading on "
         "Sunday; "
         "<italic>Tides</italic> is the title.\n\nKim</x-rich>", UNREAD,
         message_id="<kim.reading@example.com>", date=DATE, zone="+0200", to=ME,
         sender="Kim Larsen <kim@example.com>", subject="A reading"),
    # The block tells of bytes behind the end of In.mbx.
    Mail("2026-09-20T10:00:00", "This one was lost when the disk was full.", READ, date=DATE,
         to=ME,
         sender="nils@example.org", subject="Lost on a full disk").claims(offset=0x00400000),
    # The file ends in the middle of the last block.
    Mail("2026-09-21T10:00:00", "The last mail; its block is cut short.\n\nBob", UNREAD,
         message_id="<last@example.com>", date=DATE, to=ME,
         sender="Bob Smith <bob.smith@example.com>", subject="The last one"),
]
LAST_BLOCK_BYTES = 100

HEADER = bytes.fromhex(
    "300091007C0A0000 496E000000000000 0000000000000000 0000000000000000 0000000000000000"
    "0000000000005000 500035029F01FFFF FFFFFFFFFFFFFFFF FFFFFFFFFFFF0200"
    "0000000000000000 000000008C000000 0000000000000000 0000000000000000")


def text_field(text, width, charset):
    """Zero-padded, with at least one zero, no character cut."""
    kept = text.encode(charset)[:width - 1].decode(charset, "ignore").encode(charset)
    return kept.ljust(width, b"\0")


def block(mail, offset, length, number):
    claimed = mail.block
    sender = mail.fields.get("sender", "").split(" <")[0]
    seconds = int((mail.when - datetime(1970, 1, 1)).total_seconds())
    parts = [
        struct.pack("<IIIH", claimed.get("offset", offset), length, seconds, mail.state),
        bytes([0x00, 0x80] if mail.attached else [0xBE, 0x01]),
        struct.pack("<H", 3),
        text_field(mail.when.strftime("%I:%M %p %d/%m/%Y"), 28, "ascii"),
        struct.pack("<I", seconds),
        text_field(sender, 64, mail.charset),
        text_field(mail.fields.get("subject", ""), 64, mail.charset),
        b"\xFF" * 8, bytes(6),
        struct.pack("<I", number),
        struct.pack("<II", 0x00010000, 0xFE5C0000), bytes(2),
        struct.pack("<I", 0x00010000), bytes(8),
    ]
    made = b"".join(parts)
    assert len(made) == 218
    return made


def mailbox():
    mbx, blocks = b"", []
    for number, mail in enumerate(MAILS, 1):
        text = mail.bytes()
        blocks.append(block(mail, len(mbx), len(text), number))
        if not mail.block:
            mbx += text
    header = bytearray(HEADER)
    struct.pack_into("<H", header, 72, len(MAILS))
    struct.pack_into("<I", header, 96, len(mbx) + 1)
    struct.pack_into("<H", header, 102, len(MAILS))
    blocks[-1] = blocks[-1][:LAST_BLOCK_BYTES]
    return mbx, bytes(header) + b"".join(blocks)


def png(width, height):
    """A white sail on blue water."""
    rows = b""
    for y in range(height):
        rows += b"\0"
        for x in range(width):
            is_sail = abs(x - width // 2) < y // 3 and y < height * 3 // 4
            rows += b"\xFF\xFF\xFF" if is_sail else bytes([20, 60, 120 + y])
    # Stored, not compressed: the same bytes from every zlib.
    stored = (b"\x78\x01\x01" + struct.pack("<HH", len(rows), len(rows) ^ 0xFFFF) + rows +
              struct.pack(">I", zlib.adler32(rows)))
    chunks = b""
    for kind, data in ((b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)),
                       (b"IDAT", stored), (b"IEND", b"")):
        chunks += struct.pack(">I", len(data)) + kind + data
        chunks += struct.pack(">I", zlib.crc32(kind + data))
    return b"\x89PNG\r\n\x1A\n" + chunks


def bmp(width, height):
    """Land and water in two colours."""
    rows = b""
    for y in range(height):
        for x in range(width):
            is_water = (x * x + y * 40) % 2900 < 1400
            rows += bytes([120, 80, 20] if is_water else [90, 160, 200])
    size = 54 + len(rows)
    return (b"BM" + struct.pack("<IHHI", size, 0, 0, 54) +
            struct.pack("<IiiHHIIiiII", 40, width, height, 1, 24, 0, len(rows), 2835, 2835, 0, 0) +
            rows)


def tide_table():
    lines = ["Tides at the boat house, October"]
    for day in range(1, 32):
        minute = 37 + day * 50
        hour = minute // 60 % 12 + 1
        lines.append(f"{day:2}  high {hour:2}:{minute % 60:02}  {38 + day % 9} dm")
    return "".join(line + "\r\n" for line in lines).encode("ascii")


def files():
    mbx, toc = mailbox()
    return {
        "In.mbx": mbx,
        "In.toc": toc,
        "Attach/tide-table.txt": tide_table(),
        "Attach/sail.png": png(24, 32),
        "Attach/prices.csv": b"part;price\r\nsail;310\r\nropes;45\r\nblocks;28\r\n",
        "Attach/Größe XL.txt": "Brust 112\r\nÄrmel 67\r\nLänge 78\r\n".encode("cp1252"),
        "Attach/harbour.bmp": bmp(64, 48),
    }


def main():
    check = sys.argv[1:] == ["--check"]
    if sys.argv[1:] and not check:
        sys.exit(__doc__)
    wrong = []
    for name, content in files().items():
        path = FOLDER / name
        if not check:
            path.parent.mkdir(exist_ok=True)
            path.write_bytes(content)
        elif not path.is_file() or path.read_bytes() != content:
            wrong.append(name)
    if wrong:
        sys.exit("differs from what tools/make_sample_inbox.py writes: " + ", ".join(wrong))


if __name__ == "__main__":
    main()
