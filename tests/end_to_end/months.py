"""Months with kvsync: contacts and mails are edited, renamed and removed on both sides by turns, runs
are killed or go one way, folders move, options are forgotten, backups come back. A model knows what
must be where: nothing is lost, nothing comes back, and a run with nothing to do writes nothing.

    months.py BUILD STEPS KILLER [SEED]     KILLER is the library that kills a run
"""
import os
import random
import re
import shutil
import struct
import subprocess
import sys
import tempfile
from pathlib import Path

BUILD, STEPS, KILLER = Path(sys.argv[1]).resolve(), int(sys.argv[2]), Path(sys.argv[3]).resolve()
CHANCE = random.Random(int(sys.argv[4]) if len(sys.argv) > 4 else 1)
HEADER, BLOCK = 104, 218


class Book:
    """Eudora's side of the contacts: nndbase.txt. A contact is known by its address."""

    def __init__(self, path):
        self.path, self.contacts, self.notes = path, {}, {}
        nicknames = {}
        for line in path.read_text("cp1252").split("\n") if path.exists() else []:
            found = re.match(r'(alias|note) ("[^"]*"|\S+) (.*)', line.strip())
            if not found:
                continue
            kind, nickname, rest = found[1], found[2].strip('"'), found[3]
            if kind == "alias":
                nicknames[nickname] = rest
                self.contacts[rest] = {"nick": nickname, "phone": ""}
            else:
                phone = re.search(r"<phone:([^>]*)>", rest)
                self.contacts[nicknames[nickname]]["phone"] = phone[1] if phone else ""
                self.notes[nicknames[nickname]] = re.sub(r"<phone:[^>]*>", "", rest)

    def save(self):
        text = ""
        for address, values in self.contacts.items():
            text += f'alias "{values["nick"]}" {address}\r\n'
            rest = self.notes.get(address, "")
            text += f'note "{values["nick"]}" <phone:{values["phone"]}>{rest}\r\n'
        self.path.write_bytes(text.encode("cp1252"))


class Cards:
    """The folder's side: one vCard a file."""

    def __init__(self, folder):
        self.contacts, self.files = {}, {}
        for path in folder.glob("*.vcf"):
            text = path.read_text()
            address = re.search(r"(?m)^EMAIL[^:]*:(.*)$", text)[1].strip()
            phone = re.search(r"(?m)^TEL[^:]*:(.*)$", text)
            nickname = re.search(r"(?m)^NICKNAME[^:]*:(.*)$", text)
            assert address not in self.contacts, f"{address} is there twice"
            self.contacts[address] = {"nick": nickname[1].strip() if nickname else "",
                                      "phone": phone[1].strip() if phone else ""}
            self.files[address] = path

    def change(self, address, kind, value):
        path, name = self.files[address], {"phone": "TEL", "nick": "NICKNAME"}[kind]
        text = re.sub(rf"(?m)^{name}[^:]*:.*\r?\n", "", path.read_text())
        path.write_text(text.replace("END:VCARD", f"{name}:{value}\r\nEND:VCARD"), newline="")


class InBox:
    """Eudora's side of the mails: In.toc with the Message-ID and state of each of its blocks."""

    def __init__(self, folder):
        self.mbx, self.toc = folder / "In.mbx", folder / "In.toc"
        self.table, text = bytearray(self.toc.read_bytes()), self.mbx.read_bytes()
        self.mails = {}
        for index in range(struct.unpack_from("<H", self.table, 102)[0]):
            at = HEADER + BLOCK * index
            offset, length = struct.unpack_from("<II", self.table, at)
            found = re.search(rb"(?i)Message-ID: <([^>]*)>", text[offset:offset + length])
            name = found[1].decode()
            assert name not in self.mails, f"{name} is there twice"
            self.mails[name] = index

    def is_read(self, name):
        return struct.unpack_from("<H", self.table, HEADER + BLOCK * self.mails[name] + 12)[0] != 0

    def mark(self, name, state):
        struct.pack_into("<H", self.table, HEADER + BLOCK * self.mails[name] + 12, state)
        self.toc.write_bytes(self.table)

    def remove(self, name):
        at, count = HEADER + BLOCK * self.mails[name], len(self.mails)
        self.table[at:at + BLOCK] = b""
        struct.pack_into("<H", self.table, 102, count - 1)
        self.toc.write_bytes(self.table)

    def add(self, name):
        text = (f"From ???@??? Tue Nov 24 10:00:00 2020\r\nMessage-ID: <{name}>\r\nTo: a@b\r\n"
                f"From: c@d\r\nSubject: {name}\r\n\r\nText of {name}\r\n").encode()
        offset, count = self.mbx.stat().st_size, len(self.mails)
        highest = max((struct.unpack_from("<I", self.table, HEADER + BLOCK * i + 192)[0]
                       for i in range(count)), default=0)
        block = bytearray(BLOCK)
        struct.pack_into("<III", block, 0, offset, len(text), 1606212000)
        struct.pack_into("<I", block, 192, highest + 1)
        with self.mbx.open("ab") as mbx:
            mbx.write(text)
        self.table[HEADER + BLOCK * count:] = block
        struct.pack_into("<H", self.table, 102, count + 1)
        self.toc.write_bytes(self.table)


class Maildir:
    def __init__(self, folder):
        self.folder, self.mails = folder, {}
        for path in [*folder.glob("cur/*"), *folder.glob("new/*")]:
            found = re.search(rb"(?im)^Message-ID:\s*<([^>]*)>", path.read_bytes())
            name = found[1].decode()
            assert name not in self.mails, f"{name} is there twice"
            self.mails[name] = path

    def is_read(self, name):
        return "S" in self.mails[name].name.partition(":2,")[2]

    def mark(self, name, state):
        unique = self.mails[name].name.partition(":2,")[0]
        self.mails[name].rename(self.folder / "cur" / (unique + ":2," + "S" * state))

    def add(self, name):
        (self.folder / "new" / f"{name}.x").write_text(
            f"From: c@d\nTo: a@b\nSubject: {name}\nMessage-ID: <{name}>\n"
            f"Date: Tue, 24 Nov 2020 10:00:00 +0000\n\nText of {name}\n")


class Months:
    def __init__(self, root):
        self.root, self.eudora = root, root / "E"
        self.eudora.mkdir()
        (self.eudora / "nndbase.txt").write_text("")
        (self.eudora / "In.mbx").write_bytes(b"")
        header = bytearray(HEADER)
        header[:8] = bytes([0x30, 0, 0x91, 0, 0x7C, 0x0A, 0, 0])
        header[8:10] = b"In"
        (self.eudora / "In.toc").write_bytes(header)
        self.cards, self.maildir = root / "C0", root / "M0"
        self.contacts, self.mails = {}, {}      # what must be there
        self.gone, self.titles = set(), {}      # what must not; what only the vCards hold
        self.touched, self.count = {}, 0        # sides that changed since both were in step
        self.runs, self.restores, self.old_ids = 0, False, 0
        for folder in (self.cards, *(self.maildir / part for part in ("cur", "new", "tmp"))):
            folder.mkdir(parents=True)
        self.kvsync("configure", "mail", "--age", "off", "--size", "off", "--eudora", str(self.eudora))

    def kvsync(self, *arguments, kill_at=0, cwd=None):
        self.runs += 1
        environment = {**os.environ, "HOME": str(self.root / "home"), "TZ": "UTC",
                       "XDG_STATE_HOME": str(self.root / "state")}
        if kill_at:
            environment.update(LD_PRELOAD=str(KILLER), KILL_AT=str(kill_at))
        done = subprocess.run([BUILD / "bin/kvsync", *arguments], capture_output=True, text=True,
                              env=environment, cwd=cwd or self.root, check=False, timeout=120)
        self.told = f"{arguments}: {done.returncode}\n{done.stdout}{done.stderr}"
        return done.returncode

    def sync(self, *more, kill_at=0):
        # From another folder, and under another name of the same folder.
        cwd = self.root / CHANCE.choice([".", "E", "home"])
        cwd.mkdir(exist_ok=True)
        name = CHANCE.choice([str, lambda path: os.path.relpath(path, cwd)])
        return self.kvsync("sync", "--eudora", str(self.eudora), "--contacts", name(self.cards),
                           "--maildir", name(self.maildir), *more, kill_at=kill_at, cwd=cwd)

    def touch(self, thing, side):
        """Whether this side may change the thing: the other has not since both were in step."""
        return self.touched.setdefault(thing, side) == side

    def new_name(self, kind):
        self.count += 1
        return f"{kind}{self.count}"

    def edit_contact(self):
        side = CHANCE.choice("EF")
        book, cards = Book(self.eudora / "nndbase.txt"), Cards(self.cards)
        address = CHANCE.choice(sorted(self.contacts)) if self.contacts else ""
        act = CHANCE.choice(["add", "add", "phone", "phone", "nick", "remove", "file"])
        own = book if side == "E" else cards
        if act == "add" and len(self.contacts) < 40:
            name = self.new_name("n")
            values = {"nick": name, "phone": str(self.count)}
            self.contacts[address := name + "@x.org"] = values
            self.touched[address] = side
            if side == "E":
                # Two whose nicknames differ after a restore are known again by name and address.
                book.contacts[address], book.notes[address] = values, f"<name:Name {name}>"
                return book.save()
            self.titles[address] = f"Title {name}"
            (self.cards / f"{name}.vcf").write_text(
                f"BEGIN:VCARD\nVERSION:4.0\nUID:{name}\nFN:Name {name}\nNICKNAME:{name}\n"
                f"TEL:{self.count}\nEMAIL:{address}\nTITLE:Title {name}\nEND:VCARD\n")
        elif address not in own.contacts or act == "add":
            return None
        elif act == "file":
            if side == "F" and self.touch(address, side):
                cards.files[address].rename(self.cards / (self.new_name("file") + ".vcf"))
        elif self.touch(address, side):
            if act == "remove" and len(self.contacts) < 4:  # an empty side stops every run
                return None
            if act == "remove":
                self.titles.pop(address, None)
                del self.contacts[address]
                self.gone.add(address)
                if side == "E":
                    del book.contacts[address]
                    book.save()
                else:
                    cards.files[address].unlink()
                return None
            value = self.new_name("r" if act == "nick" else "")
            self.contacts[address] = {**self.contacts[address], act: value}
            if side == "E":
                book.contacts[address][act] = value
                book.save()
            else:
                cards.change(address, act, value)
        return None

    def edit_mail(self):
        side = CHANCE.choice("EF")
        own = InBox(self.eudora) if side == "E" else Maildir(self.maildir)
        act = CHANCE.choice(["add", "add", "mark", "mark", "remove"])
        name = CHANCE.choice(sorted(self.mails)) if self.mails else ""
        if act == "add" and len(self.mails) < 40:
            self.mails[name := self.new_name("m")] = False
            self.touched[name] = side
            own.add(name)
        elif name in own.mails and act != "add" and self.touch(name, side):
            if act == "remove" and len(self.mails) < 4:
                return
            if act == "remove":
                del self.mails[name]
                self.gone.add(name)
                own.remove(name) if side == "E" else own.mails[name].unlink()
            else:
                self.mails[name] = not self.mails[name]
                own.mark(name, int(self.mails[name]))

    def conflict(self):
        """Both sides change one field: it waits until somebody decides."""
        self.settle()
        book, cards = Book(self.eudora / "nndbase.txt"), Cards(self.cards)
        if not self.contacts:
            return
        address = CHANCE.choice(sorted(self.contacts))
        both = {"eudora": self.new_name("e"), "folder": self.new_name("f")}
        book.contacts[address]["phone"] = both["eudora"]
        book.save()
        cards.change(address, "phone", both["folder"])
        for _ in range(2):
            assert self.sync() == 5, self.told
            assert Book(book.path).contacts[address]["phone"] == both["eudora"], self.told
            assert Cards(self.cards).contacts[address]["phone"] == both["folder"], self.told
        winner = CHANCE.choice(["eudora", "folder"])
        self.contacts[address] = {**self.contacts[address], "phone": both[winner]}
        if CHANCE.random() < 0.5:
            code = self.kvsync("resolve", self.contacts[address]["nick"], "--take", winner,
                               "--eudora", str(self.eudora), "--contacts", str(self.cards))
        else:
            code = self.sync("--prefer", winner)
        assert code == 4, self.told
        self.settle()

    def restore(self):
        """The last backup comes back: nothing is removed for it, and what it lacks returns."""
        self.settle()
        self.kvsync("backups", "--eudora", str(self.eudora))
        ids = re.findall(r"\d{8}-\d{6}(?:-\d+)?", self.told)
        if not self.restores:
            self.old_ids = len(ids)
        if len(ids) <= self.old_ids:
            return
        code = self.kvsync("restore", ids[-1], "--eudora", str(self.eudora))
        if code in (0, 3):
            assert "in place already" in self.told or "the folder is gone" in self.told, self.told
            return
        assert code == 4, self.told
        assert self.sync("--prefer", "folder", "--max-add", "40") in (0, 4), self.told
        book, mails = Book(self.eudora / "nndbase.txt"), InBox(self.eudora)
        # What the backup holds of both sides is older: values may go back, but nobody is missing.
        assert set(self.contacts) <= set(book.contacts) <= set(self.contacts) | self.gone, self.told
        self.contacts = dict(book.contacts)
        cards = Cards(self.cards)
        for address, values in book.contacts.items():  # two that meet anew keep two nicknames
            if cards.contacts[address]["nick"] != values["nick"]:
                cards.change(address, "nick", values["nick"])
        for name in self.gone & set(mails.mails):
            self.mails[name] = mails.is_read(name)
        for name in set(self.mails) & set(mails.mails):
            self.mails[name] = Maildir(self.maildir).is_read(name)
        self.gone -= set(self.contacts) | set(self.mails)
        self.settle()

    def move(self):
        for kind in ("cards", "maildir"):
            target = self.root / self.new_name("folder")
            getattr(self, kind).rename(target)
            setattr(self, kind, target)

    def settle(self):
        code = self.sync()
        assert code in (0, 4), self.told
        self.touched.clear()
        before = self.told
        assert self.sync("--quiet") == 0, before + self.told
        assert self.told.count("\n") == 1, "a quiet run with nothing to do speaks: " + self.told
        book, cards = Book(self.eudora / "nndbase.txt"), Cards(self.cards)
        for side in (book, cards):
            wrong = {address: (side.contacts.get(address), self.contacts.get(address))
                     for address in {*side.contacts, *self.contacts}
                     if side.contacts.get(address) != self.contacts.get(address)}
            assert not wrong, f"{before}\n{type(side).__name__}, has and must: {wrong}"
        for address, title in self.titles.items():
            if address in cards.files:
                assert title in cards.files[address].read_text(), before
        inbox, maildir = InBox(self.eudora), Maildir(self.maildir)
        for side in (inbox, maildir):
            assert {name: side.is_read(name) for name in side.mails} == self.mails, before

    def step(self):
        act = CHANCE.random()
        if act < 0.4:
            self.edit_contact()
        elif act < 0.75:
            self.edit_mail()
        elif act < 0.82:
            self.settle()
        elif act < 0.9:
            self.sync(kill_at=CHANCE.randint(1, 120))
            self.sync()  # which finishes it, before somebody edits again
        elif act < 0.94:
            self.sync("--direction", CHANCE.choice(["pull", "push"]))
        elif act < 0.96:
            self.conflict()
        elif act < 0.98:
            self.move()
        elif act < 0.99:
            self.restore()
        else:
            self.sync("--dry-run")


with tempfile.TemporaryDirectory(prefix="kvsync-months-") as temporary:
    months = Months(Path(temporary))
    for number in range(STEPS):
        try:
            if number == STEPS // 2:
                months.restore()
                months.restores = True
            months.step()
        except AssertionError:
            print(f"step {number} of {STEPS}", file=sys.stderr)
            if "KEEP" in os.environ:
                shutil.copytree(temporary, os.environ["KEEP"], symlinks=True)
            raise
    months.settle()
    print(f"{STEPS} steps, {months.runs} runs of kvsync: {len(months.contacts)} contacts and "
          f"{len(months.mails)} mails are where they must be, {len(months.gone)} are gone")
