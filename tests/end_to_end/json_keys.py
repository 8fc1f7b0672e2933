"""Holds what each command prints with --json against the tables of docs/json.md, keys and types:

    json_keys.py KVSYNC JSON_MD SAMPLES

A key that no table tells is a fault, so is a row that no command prints, and a key that is missing.
"""
import glob
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

TYPES = {"text": str, "number": int, "yes or no": bool, "list": list, "object": dict,
         "null": type(None), "absent": None}


def read_tables(page):
    """{heading: {key: types}}; a heading with commas tells of several commands."""
    tables, heads = {}, []
    with open(page, encoding="utf-8") as file:
        for line in file:
            if line.startswith("#"):
                heads = [head.strip(" `") for head in line.strip("# \n").split(",")]
            row = re.match(r"\| `(\S+)` \| ([^|]+) \|", line)
            # One list for all commands that share the row.
            types = [TYPES[word] for word in row[2].strip().split(" / ")] if row else []
            for head in heads if row else []:
                tables.setdefault(head, {})[row[1]] = types
    return tables


def keys(value, path=""):
    """Each key with its value; those of the items of a list behind []."""
    inner = value.items() if isinstance(value, dict) else (("[]", one) for one in value)
    for name, one in inner:
        full = path + name if name == "[]" or not path else f"{path}.{name}"
        yield full, one
        if isinstance(one, (dict, list)):
            yield from keys(one, full)


class Check:
    def __init__(self, kvsync, page, samples, folder):
        self.kvsync, self.samples, self.folder = kvsync, samples, folder
        self.tables = read_tables(page)
        self.unseen = {id(types): (head, key) for head, rows in self.tables.items()
                       for key, types in rows.items()}
        self.faults = []

    # `head` is the command's first word, and the second one where that is contacts or mail.
    def hold(self, value, command, head, is_whole=True):
        parts = [(f"{head.split()[0]} {name}", value[name]) for name in ("contacts", "mail")
                 if isinstance(value.get(name), dict)]
        parts += [(head, book) for book in value.get("books", {}).values()]
        for part, inner in parts:
            self.hold(inner, command, part, inner["result"] not in ("refused", "failed"))
        if parts:
            value = {key: {} if isinstance(one, dict) else one for key, one in value.items()}
            head = head.split()[0]
        told = {**self.tables["all"], **self.tables.get(head, {})}
        for key, one in keys(value):
            types = told.get(key, [])
            if type(one) not in types:
                self.faults.append(f"{command}: {key} is {type(one).__name__}")
            self.unseen.pop(id(types), None)
        for key, types in told.items():
            if is_whole and key not in value and None not in types and not re.search(r"\[|\.", key):
                self.faults.append(f"{command}: no {key}")

    def run(self, command, *options, head=None):
        words = command.split()
        answer = subprocess.run([self.kvsync, *words, *options, "--json"], capture_output=True,
                                text=True, cwd=self.folder, stdin=subprocess.DEVNULL)
        head = head or " ".join(words[:2 if words[1:2] in (["contacts"], ["mail"]) else 1])
        for line in answer.stdout.splitlines() if head == "list mail" else [answer.stdout]:
            try:
                value = json.loads(line)
            except ValueError:
                self.faults.append(f"{command}: {line[:70]!r} is no JSON; {answer.stderr}")
                continue
            self.hold(value, command, head, answer.returncode not in (2, 3))
        return answer.stdout

    def edit(self, path, old, new):
        path = os.path.join(self.folder, path)
        with open(path, "rb") as file:
            text = file.read()
        if old not in text:
            self.faults.append(f"{path} does not hold {old}")
        with open(path, "wb") as file:
            file.write(text.replace(old, new, 1))

    def card(self, word):
        for name in os.listdir(os.path.join(self.folder, "C")):
            with open(os.path.join(self.folder, "C", name), "rb") as file:
                if word in file.read():
                    return f"C/{name}"
        raise SystemExit(f"no vCard with {word}")

    # In the Maildir, and in the block of Eudora's table of contents.
    def remove_and_mark_unread(self, subject):
        for path in glob.glob(self.folder + "/M/cur/*S"):
            with open(path, "rb") as file:
                if b"\nSubject: " + subject + b"\n" in file.read().replace(b"\r", b""):
                    os.remove(path)
        with open(self.folder + "/E/In.toc", "r+b") as toc:
            text = toc.read()
            toc.seek((text.index(subject + b"\0") - 104) // 218 * 218 + 104 + 12)
            toc.write(b"\0")

    def play(self):
        shutil.copytree(self.samples, os.path.join(self.folder, "E"))
        eudora = ("--eudora", "E")
        both = (*eudora, "--contacts", "C", "--maildir", "M")
        self.run("configure mail --age off --size off --attachments on", *eudora)
        for command in "status", "sync --dry-run", "sync":
            self.run(command, *both)
        # A field on both sides, a nickname, what is no file, and a mail that is removed in the
        # Maildir and marked unread in Eudora.
        self.edit("E/nndbase.txt", b"555-0110", b"555-0111")
        self.edit(self.card(b"NICKNAME:Carla"), b"voice:555-0110", b"voice:555-0112")
        self.edit("E/nndbase.txt", b"555-0100", b"555-0101")
        self.edit(self.card(b"NICKNAME:bob"), b"NICKNAME:bob", b"NICKNAME:robert")
        self.edit(self.card(b"NICKNAME:robert"), b"NOTE:Met", "NOTE:\u4eac Met".encode())
        os.mkfifo(os.path.join(self.folder, "C", "pipe.vcf"))
        self.remove_and_mark_unread(b"Tide table")
        with open(self.folder + "/M/new/1.made", "w", encoding="utf-8") as file:
            file.write("Message-ID: <made@x>\nTo: a@x\nSubject: \u4eac\n\n\u4eac\n")
        self.run("status", *eudora, "--maildir", "M", head="status mail")
        self.run("conflicts", *both)
        self.run("sync", *both)
        self.run("resolve --take eudora", "Carla Vance", *both, head="sync contacts")
        for command in "status", "sync", "conflicts contacts":
            self.run(command, *both, "--nickname-file", "all")
        for command in ("list contacts", "list mail", "show contacts robert", "show mail 0x00000001",
                        "export contacts --to X", "export mail --to Y",
                        "configure contacts --nickname-file nndbase.txt", "show contacts", "mailboxes", "rebuild In",
                        "show contacts nobody", "list mail --nonsense"):
            self.run(command, *eudora)
        backups = json.loads(self.run("backups", *eudora))["backups"]
        self.run("restore " + backups[0]["id"])
        for command in ("forget contacts", "forget contacts --yes", "forget contacts --yes",
                        "forget mail --yes", "doctor"):
            self.run(command, *both)
        self.run("completion fish")
        self.run("list mail --eudora gone")
        for head, key in sorted(self.unseen.values()):
            self.faults.append(f"the table of {head} tells of {key}, which no command printed")


def main():
    kvsync, page, samples = map(os.path.abspath, sys.argv[1:4])
    with tempfile.TemporaryDirectory() as folder:
        os.environ.update(HOME=folder, XDG_STATE_HOME=folder + "/state", TZ="Europe/Berlin",
                          XDG_CONFIG_HOME=folder + "/config", LC_ALL="C.UTF-8")
        check = Check(kvsync, page, samples, folder)
        check.play()
    print("\n".join(check.faults) or "all keys are told")
    sys.exit(bool(check.faults))


main()
