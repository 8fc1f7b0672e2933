#!/usr/bin/env python3
"""A full cycle of `kvsync sync` over mails and contacts with changes on both sides.

    benchmarks/bench_cycle.py KVSYNC GENERATE_INBOX GENERATE_NICKNAMES [LARGEST]

For a quarter of LARGEST (10000), a half and all of it: that many mails of 3,000 bytes and that many
contacts in Eudora; a first sync; then 1 % of the records change on each side; a sync that carries
all of it; and one that must find nothing to do and write nothing. Prints the seconds and the
largest memory of each. Fails if a run ends with another code than it should, takes 200 MB, shows
no progress on a terminal though it takes longer than three seconds, if a record did not cross over,
or if the last run wrote a file.
"""
import os
import pty
import random
import re
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

BLOCK, HEADER, STATE = 218, 104, 12  # of a table of contents


def run(command, expected, environment):
    """The seconds, the most memory in MB, and what was shown on the terminal."""
    ours, theirs = pty.openpty()
    shown = bytearray()

    def listen():
        try:
            while chunk := os.read(ours, 65536):
                shown.extend(chunk)
        except OSError:
            pass

    listener = threading.Thread(target=listen)
    listener.start()
    start = time.monotonic()
    process = subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL, stderr=theirs)
    _, status, usage = os.wait4(process.pid, 0)
    taken = time.monotonic() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    os.close(theirs)
    listener.join()
    os.close(ours)
    if process.returncode != expected:
        sys.exit(f"{command[1:3]} ended with {process.returncode}: {shown.decode()[-500:]}")
    memory = usage.ru_maxrss / 1024
    if memory >= 200:
        sys.exit(f"{memory:.0f} MB")
    if taken > 3 and not shown:
        sys.exit(f"{taken:.1f} s without a line of progress")
    return taken, memory


def change_eudora(eudora, part):
    """Flips the state of `part` mails, changes `part` contacts; the first of all."""
    toc = bytearray((eudora / "In.toc").read_bytes())
    for i in range(part):
        toc[HEADER + i * BLOCK + STATE] ^= 1
    (eudora / "In.toc").write_bytes(toc)
    lines = (eudora / "nndbase.txt").read_bytes().split(b"\r\n")
    notes = [i for i, line in enumerate(lines) if line.startswith(b"note ")][:part]
    for i in notes:
        lines[i] = re.sub(rb"<name:", b"<fax:+1 555 0100><name:", re.sub(rb"<fax:[^>]*>", b"", lines[i]))
    (eudora / "nndbase.txt").write_bytes(b"\r\n".join(lines))


def change_folder(place, part):
    """Of the mails adds a quarter of `part`, removes a quarter and flips half the flags; changes
    `part` contacts; of those that Eudora's side leaves alone."""
    # Message-IDs of the first mails of the in-box, whose state changes there.
    text = (place / "Eudora" / "In.mbx").read_bytes()
    taken = set(re.findall(rb"(?m)^Message-Id: <([^>]*)>", text, re.I)[:part + 10])
    files = []
    for name in sorted((place / "M" / "cur").iterdir()) + sorted((place / "M" / "new").iterdir()):
        found = re.search(rb"(?mi)^Message-ID: <([^>]*)>", name.read_bytes())
        if found[1] not in taken:
            files.append(name)
    random.Random(1).shuffle(files)
    for file in files[:part // 4]:
        file.unlink()
    for file in files[part // 4:part // 4 + part // 2]:
        base, _, flags = file.name.partition(":2,")
        file.rename(place / "M" / "cur" / f"{base}:2,{'' if 'S' in flags else 'S'}")
    for i in range(part // 4):
        (place / "M" / "new" / f"{i}.cycle.host").write_text(
            f"From: a@example.org\nTo: b@example.org\nSubject: cycle {i}\n"
            f"Message-ID: <cycle.{i}@example.org>\nDate: Tue, 24 Nov 2020 10:00:00 +0000\n\nNew.\n")
    changed = 0
    for card in sorted((place / "C").iterdir()):
        content = card.read_text()
        if "+1 555 0100" in content or changed == part or "TEL;TYPE=work,voice:" not in content:
            continue
        card.write_text(re.sub(r"TEL;TYPE=work,voice:[^\r\n]*", "TEL;TYPE=work,voice:+1 555 0200", content))
        changed += 1


def stamps(place):
    return {str(path): path.stat().st_mtime_ns for folder in ("Eudora", "M", "C", "memory")
            for path in (place / folder).rglob("*") if path.is_file()}


def cycle(programs, count, place):
    kvsync, inbox, nicknames = programs
    eudora = place / "Eudora"
    eudora.mkdir()
    subprocess.run([inbox, eudora, str(count), "3000"], check=True)
    subprocess.run([nicknames, eudora / "nndbase.txt", str(count)], check=True)
    environment = dict(os.environ, XDG_STATE_HOME=str(place / "state"),
                       XDG_CONFIG_HOME=str(place / "config"))
    subprocess.run([kvsync, "configure", "mail", "--eudora", eudora, "--age", "off", "--size",
                    "off"], env=environment, stdout=subprocess.DEVNULL)
    (place / "C").mkdir()
    (place / "memory").mkdir()
    sync = [kvsync, "sync", "--eudora", eudora, "--contacts", place / "C", "--maildir", place / "M",
            "--state", place / "memory" / "state.db"]
    first = run(sync, 4, environment)
    part = count // 100
    before = (eudora / "nndbase.txt").read_bytes()
    change_folder_input = stamps(place)
    change_eudora(eudora, part)
    change_folder(place, part)
    assert stamps(place) != change_folder_input and before
    middle = run(sync, 4, environment)
    checks = {
        "contacts for Eudora": (eudora / "nndbase.txt").read_bytes().count(b"+1 555 0200"),
        "contacts for the folder": sum("+1 555 0100" in card.read_text()
                                       for card in (place / "C").iterdir()),
    }
    for what, number in checks.items():
        if number != part:
            sys.exit(f"{what}: {number}, not {part}")
    added = len(re.findall(rb"(?m)^Subject: cycle ", (eudora / "In.mbx").read_bytes()))
    if added != part // 4:
        sys.exit(f"mails added to Eudora: {added}, not {part // 4}")
    still = stamps(place)
    last = run(sync, 0, environment)
    written = [name for name, time in stamps(place).items() if still.get(name) != time]
    if written:
        sys.exit(f"the last run wrote {written[:3]}")
    return first, middle, last


def main():
    largest = int(sys.argv[4]) if len(sys.argv) > 4 else 10000
    print(f"{'records each':>12} {'first':>18} {'1 % on each side':>18} {'nothing new':>18}")
    for count in (largest // 4, largest // 2, largest):
        with tempfile.TemporaryDirectory(dir="/dev/shm") as name:
            results = cycle(sys.argv[1:4], count, Path(name))
        print(f"{count:>12}", *(f"{seconds:>9.2f} s {memory:>4.0f} MB" for seconds, memory in results),
              flush=True)


main()
