#!/usr/bin/env python3
"""First and second `kvsync sync mail` of a generated in-box, paired with Python's mailbox module.

    benchmarks/bench_sync_mail.py KVSYNC GENERATE_INBOX [MAILS [BYTES_EACH [ROUNDS]]]

All files lie in /dev/shm. Each round lets three things take turns on the same In.mbx: a converter
that adds every message of mailbox.mbox to a mailbox.Maildir, a first sync into an empty Maildir,
and a second sync with nothing new. Prints medians and their ratios. Fails if a sync ends with
another code than it should or the Maildir does not hold all mails.
"""
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

CONVERTER = """
import mailbox, sys
target = mailbox.Maildir(sys.argv[2], factory=None, create=True)
for message in mailbox.mbox(sys.argv[1], create=False):
    target.add(message)
"""


def timed(command, expected, environment):
    start = time.monotonic()
    done = subprocess.run(command, env=environment, capture_output=True, text=True)
    taken = time.monotonic() - start
    if done.returncode != expected:
        sys.exit(f"{command[1:3]} ended with {done.returncode}: {done.stderr}{done.stdout[-500:]}")
    return taken


def main():
    kvsync, generator = sys.argv[1:3]
    mails, size, rounds = [int(text) for text in sys.argv[3:6]] + [10000, 10000, 3][len(sys.argv) - 3:]
    with tempfile.TemporaryDirectory(dir="/dev/shm") as name:
        place = Path(name)
        eudora = place / "Eudora"
        eudora.mkdir()
        subprocess.run([generator, eudora, str(mails), str(size)], check=True)
        environment = dict(os.environ, XDG_STATE_HOME=str(place / "state"),
                           XDG_CONFIG_HOME=str(place / "config"))
        timed([kvsync, "configure", "mail", "--eudora", eudora, "--age", "off", "--size", "off"], 4,
              environment)
        sync = [kvsync, "sync", "mail", "--quiet", "--eudora", eudora, "--maildir", place / "M",
                "--state", place / "memory.db"]
        results = {"python": [], "first": [], "second": []}
        for _ in range(rounds):
            shutil.rmtree(place / "P", ignore_errors=True)
            shutil.rmtree(place / "M", ignore_errors=True)
            for file in place.glob("memory.db*"):
                file.unlink()
            results["python"].append(timed(
                [sys.executable, "-c", CONVERTER, eudora / "In.mbx", place / "P"], 0, environment))
            results["first"].append(timed(sync, 4, environment))
            results["second"].append(timed(sync, 0, environment))
            count = sum(len(list((place / "M" / part).iterdir())) for part in ("cur", "new"))
            if count != mails:
                sys.exit(f"the Maildir holds {count} of {mails} mails")
        python, first, second = (statistics.median(results[key]) for key in results)
        megabytes = (eudora / "In.mbx").stat().st_size / 1e6
        print(f"{mails} mails, {megabytes:.0f} MB: python {python:.2f} s, first sync {first:.2f} s, "
              f"second sync {second:.2f} s; first / python {first / python:.2f}, "
              f"second / first {second / first:.2f}")


main()
