#!/usr/bin/env python3
"""Compares two regedit exports (UTF-16) of the same key, taken before an install
and after its uninstall.

  compare-exports.py BEFORE.reg AFTER.reg

Fails when AFTER has a key or value BEFORE did not have, or lacks a value BEFORE
had. Not counted: the installer's own bookkeeping containers (Software\\Classes\\
Installer, \\Products, \\Features, \\UpgradeCodes) when empty, and empty keys that were
there before and went (an uninstall removes the empty parents of the keys it
removes, such as CLSID in the 32-bit view of a fresh prefix).
"""

import re
import sys

BOOKKEEPING = re.compile(r"^HKEY_[A-Z_]+\\Software\\Classes\\Installer(\\(Products|Features|UpgradeCodes))?$", re.I)


def blocks(path):
    try:
        text = open(path, "rb").read().decode("utf-16")
    except (OSError, UnicodeDecodeError):
        text = ""
    out, key = {}, None
    for line in text.replace("\r\n", "\n").split("\n"):
        if line.startswith("[") and line.endswith("]"):
            key = line[1:-1]
            out[key] = []
        elif key is not None and line.strip():
            out[key].append(line)
    return out


def main(argv):
    before, after = blocks(argv[1]), blocks(argv[2])
    problems = []
    for key, values in after.items():
        if key not in before:
            if not (BOOKKEEPING.match(key) and not values):
                problems.append(f"left behind: [{key}] {values[:3]}")
        elif values != before[key]:
            problems.append(f"changed: [{key}] {sorted(set(values) ^ set(before[key]))[:4]}")
    for key, values in before.items():
        if key not in after and values:
            problems.append(f"removed: [{key}] {values[:3]}")
    for p in problems[:20]:
        print("   ", p)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
