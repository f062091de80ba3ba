#!/usr/bin/env python3
"""Reads compiled help files back and checks what a user of F1 meets.

  check-chm.py EXTRACT_CHMLIB .../chs/MobileService.chm .../en/MobileService.chm

Each file is decompiled with extract_chmLib (Debian's libchm-bin). Checked: every
topic of its sources (help/<language>/*.htm) is inside; its #SYSTEM names the
start page as the default topic and the language's locale (0x804 for chs, so the
viewer reads it in code page 936); the contents and the index inside name every
window's topic; the start page links every topic and every picture a topic shows
is inside the file.
"""

import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
LOCALES = {"chs": (0x804, "gbk"), "en": (0x409, "cp1252")}
START = "start.htm"


def system_entries(path):
    data = open(path, "rb").read()
    entries, i = {}, 4
    while i + 4 <= len(data):
        code, length = struct.unpack("<HH", data[i:i + 4])
        entries[code] = data[i + 4:i + 4 + length]
        i += 4 + length
    return entries


def locals_in(text):
    return re.findall(r'<param\s+name="Local"\s+value="([^"]+)"', text, re.I)


def check(extract, chm):
    language = os.path.basename(os.path.dirname(chm))
    if language not in LOCALES:
        return [f"{chm}: the folder must name the language (chs or en)"]
    locale, encoding = LOCALES[language]
    topics = sorted(f for f in os.listdir(os.path.join(HERE, language)) if f.endswith(".htm"))
    problems = []
    out = tempfile.mkdtemp(prefix="chm-check.")
    try:
        result = subprocess.run([extract, chm, out], capture_output=True, text=True)
        if result.returncode != 0:
            return [f"{chm}: extract_chmLib failed: {result.stderr.strip()}"]
        inside = set()
        for folder, _, files in os.walk(out):
            for f in files:
                inside.add(os.path.relpath(os.path.join(folder, f), out).replace(os.sep, "/"))
        for t in topics:
            if t not in inside:
                problems.append(f"{chm}: the topic {t} is not inside")

        system = system_entries(os.path.join(out, "#SYSTEM")) if "#SYSTEM" in inside else {}
        default = system.get(2, b"").rstrip(b"\0").decode("ascii", "replace")
        if default != START:
            problems.append(f"{chm}: the default topic is {default!r}, not {START}")
        lcid = struct.unpack("<I", system[4][:4])[0] if 4 in system else None
        if lcid != locale:
            problems.append(f"{chm}: the locale is {lcid and hex(lcid)}, not {hex(locale)}")

        def text_of(name):
            return open(os.path.join(out, name), "rb").read().decode(encoding)

        for name, what, skip in (("contents.hhc", "contents", ()), ("index.hhk", "index", (START,))):
            if name not in inside:
                problems.append(f"{chm}: has no {what} ({name})")
                continue
            named = set(locals_in(text_of(name)))
            for t in topics:
                if t not in skip and t not in named:
                    problems.append(f"{chm}: the {what} does not name {t}")

        for t in topics:
            if t not in inside:
                continue
            page = text_of(t)
            for src in re.findall(r'<img[^>]+src="([^"]+)"', page, re.I):
                if src not in inside:
                    problems.append(f"{chm}: {t} shows {src}, which is not inside")
            if t == START:
                links = set(re.findall(r'<a[^>]+href="([^"#]+)', page, re.I))
                for other in topics:
                    if other != START and other not in links:
                        problems.append(f"{chm}: the start page does not link {other}")
        if not problems:
            print(f"{chm}: {len(topics)} topics, default {default}, locale {hex(lcid)}, "
                  f"{os.path.getsize(chm)} bytes")
    finally:
        shutil.rmtree(out, ignore_errors=True)
    return problems


def main(argv):
    if len(argv) < 3:
        print(__doc__.strip().split("\n\n")[1], file=sys.stderr)
        return 2
    problems = []
    for chm in argv[2:]:
        problems += check(argv[1], chm)
    for p in problems:
        print(p)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
