#!/usr/bin/env python3
"""Checks that a hive holds every entry of the COM server's registry table.

  check-registry.py EXPORT.reg ROOT PLATFORM DLL DIR

EXPORT.reg is a regedit export (UTF-16) of ROOT, the key the entries sit below (for
example HKEY_CURRENT_USER\\Software\\Classes); the entries are those registry-table.py
expands for PLATFORM (win32 or win64), with DLL and DIR for the DLL's path and folder.
Every value must be there with its text, every key of the table must exist.
"""

import os
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))


def read_export(path):
    keys = {}
    current = None
    text = open(path, "rb").read().decode("utf-16")
    for line in text.replace("\r\n", "\n").split("\n"):
        if line.startswith("[") and line.endswith("]"):
            current = keys.setdefault(line[1:-1].lower(), {})
        elif current is not None and "=" in line and line[:1] in ('"', "@"):
            name, _, value = line.partition("=")
            name = "" if name == "@" else name[1:-1].replace("\\\\", "\\")
            if value.startswith('"') and value.endswith('"'):
                value = value[1:-1].replace('\\"', '"').replace("\\\\", "\\")
            current[name.lower()] = value
    return keys


def main(argv):
    if len(argv) != 6:
        print(__doc__, file=sys.stderr)
        return 2
    export, root, platform, dll, folder = argv[1:]
    listing = subprocess.run(
        [sys.executable, os.path.join(ROOT, "com", "registry-table.py"), os.path.join(ROOT, "com", "registry.tsv"),
         os.path.join(ROOT, "com", "guids.txt"), "--platform", platform, "--list"],
        capture_output=True, text=True, check=True).stdout
    keys = read_export(export)
    problems, values = [], 0
    for line in listing.splitlines():
        kind, key, name, value = line.split("\t")
        full = f"{root}\\{key}".lower()
        if full not in keys:
            problems.append(f"missing key {root}\\{key}")
            continue
        if kind == "value":
            values += 1
            wanted = value.replace("{dll}", dll).replace("{dir}", folder)
            got = keys[full].get(name.lower())
            if got != wanted:
                problems.append(f"{root}\\{key} [{name or '(default)'}] is {got!r}, not {wanted!r}")
    for p in problems:
        print("FAIL:", p)
    if not problems:
        print(f"{root}: all {values} values of the registry table, pointing at {dll}")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
