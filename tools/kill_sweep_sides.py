"""What tools/kill_sweep.sh changes and compares.

    kill_sweep_sides.py start DIR    takes the block that is cut short off DIR/E's In.toc: what happens
                                     to it depends on what is put behind it, and when
    kill_sweep_sides.py change DIR   in DIR/M 4 removals, 6 read states, 5 new mails and 2 to send; a
                                     contact in DIR/E and one in DIR/C
    kill_sweep_sides.py tell DIR     what is in DIR/X (Eudora's in-box, exported), DIR/M with its
                                     subfolders, Eudora's Out, Trash and Attach, its nickname file,
                                     and DIR/C
"""
import email
import glob
import os
import re
import struct
import sys
import zlib
from email.message import EmailMessage


def message(number, files):
    mail = EmailMessage()
    mail["From"] = "zoe@example.org"
    mail["To"] = "ann@example.org"
    mail["Subject"] = f"new {number}"
    mail["Date"] = f"Tue, 24 Nov 2026 10:0{number}:00 +0100"
    mail["Message-ID"] = f"<new.{number}@example.org>"
    mail.set_content(f"The text of {number}.\n")
    for name in files:
        mail.add_attachment(f"{name} of {number}\n".encode() * 3000, maintype="application",
                            subtype="octet-stream", filename=name)
    return mail


def put(folder, number, files):
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, f"{number}.sweep"), "wb") as file:
        file.write(bytes(message(number, files)))


def start(place):
    with open(os.path.join(place, "E", "In.toc"), "r+b") as toc:
        whole = (os.fstat(toc.fileno()).st_size - 104) // 218
        toc.truncate(104 + 218 * whole)
        toc.seek(102)
        toc.write(whole.to_bytes(2, "little"))


def change(place):
    maildir = os.path.join(place, "M")
    cur = os.path.join(maildir, "cur")
    read = sorted(os.listdir(cur))
    for name in read[:4]:
        os.unlink(os.path.join(cur, name))
    for name in read[4:10]:
        os.rename(os.path.join(cur, name), os.path.join(cur, name.removesuffix("S")))
    for number in range(5):
        put(os.path.join(maildir, "new"), number, ["a.png"] if number else ["a.png", "b.txt"])
    for number in (6, 7):
        put(os.path.join(maildir, ".Outbox", "new"), number, ["report.pdf"])
    with open(os.path.join(place, "E", "nndbase.txt"), "ab") as book:
        book.write(b"\r\nalias newone new@example.org\r\nnote newone <name:New One>x")
    with open(os.path.join(place, "C", "other.vcf"), "w") as card:
        card.write("BEGIN:VCARD\nVERSION:4.0\nFN:Other\nX-OWN:kept\nEND:VCARD\n")


def lines_of(folder):
    for path in glob.glob(f"{folder}/new/*") + glob.glob(f"{folder}/cur/*"):
        with open(path, "rb") as file:
            mail = email.message_from_binary_file(file)
        files = [(part.get_filename(), zlib.crc32(part.get_payload(decode=True)))
                 for part in mail.walk() if part.get_filename()]
        yield f"{mail['Message-ID']} {mail['Subject']} {path.partition(':')[2]} {files}"


def box_lines(place, box):
    with open(os.path.join(place, "E", f"{box}.mbx"), "rb") as file:
        mbx = file.read()
    with open(os.path.join(place, "E", f"{box}.toc"), "rb") as file:
        toc = file.read()
    for number in range(int.from_bytes(toc[102:104], "little")):
        at, length = struct.unpack_from("<II", toc, 104 + 218 * number)
        for line in mbx[at:at + length].decode("cp1252", "replace").splitlines():
            if line.startswith(("Subject: ", "X-Attachments: ")):
                # The folder does not matter, the names do.
                yield re.sub(r"\S*\\", "", line)


# Each once: of a mail that was just being queued, a copy that no mail names may stay.
def attach_names(place):
    return {name for _, _, names in os.walk(os.path.join(place, "E", "Attach")) for name in names}


def contact_lines(place):
    with open(os.path.join(place, "E", "nndbase.txt"), "rb") as book:
        yield from book.read().decode("cp1252", "replace").splitlines()
    for path in glob.glob(f"{place}/C/*"):
        with open(path, encoding="utf-8") as card:
            yield re.sub(r"(UID|REV):.*?\n", "", card.read()).replace("\n", "|")


def tell(place):
    for name in ("X", "M", "M/.Sent", "M/.Outbox"):
        for line in sorted(lines_of(os.path.join(place, name))):
            print(name, line)
    for box in ("Out", "Trash"):
        for line in box_lines(place, box):
            print(box, line)
    for name in sorted(attach_names(place)):
        print("Attach", name)
    for line in sorted(contact_lines(place)):
        print("contacts", line)


{"start": start, "change": change, "tell": tell}[sys.argv[1]](sys.argv[2])
