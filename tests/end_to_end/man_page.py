"""Holds the page docs/kvsync.1 against the help of kvsync: man_page.py KVSYNC PAGE. Each command and
option has an entry, and the page tells of no option that there is none of; each key of the
configuration file is named, too."""
import re
import subprocess
import sys


def help_of(*words):
    return subprocess.run([sys.argv[1], *words, "--help"], capture_output=True, text=True).stdout


def main():
    general = help_of()
    commands = re.findall(r"^  ([a-z]+) ", general[general.index("Subcommands:"):], re.M)
    options = set()
    for text in [general] + [help_of(command) for command in commands]:
        options |= set(re.findall(r"^ +(?:-\w,)?(--[a-z-]+)", text, re.M))
    keys = re.findall(r"[a-z_]+(?=[,. ])", general[general.index("configuration file:") + 19:])
    with open(sys.argv[2], encoding="utf-8") as file:
        page = file.read().replace("\\-", "-").replace('"', " ")
    entries = " ".join(re.findall(r"^\.TP\n(.*)", page, re.M)).replace("\\fB", " ").split()
    files = page[page.index(".SH FILES"):]
    faults = [f"no entry for {word}" for word in {*commands, *options} - {one.strip(",") for one in entries}]
    faults += [f"{word} is no option" for word in set(re.findall(r"--[a-z-]+", page)) - options]
    faults += [f"no key {key}" for key in keys if "_" in key and key not in files]
    print("\n".join(faults) or f"{len(commands)} commands, {len(options)} options")
    sys.exit(bool(faults) or len(options) < 20)


main()
