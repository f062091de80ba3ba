#!/usr/bin/env python3
"""Refreshes the help's pictures from the screenshots of a demo run.

  update-pictures.py SHOTS_DIR [DISPLAY_SHOTS_DIR]
  update-pictures.py --expect SHOTS_DIR


For every picture of help/pictures.tsv and each help language, the matching shot
(see pictures.tsv) is copied to help/pictures/<language>/<picture>.png when it
differs. scripts/demo --headless runs this after taking its shots; SHOTS_DIR is its
shots folder, DISPLAY_SHOTS_DIR the folder the list window test writes its pictures
into. A picture without a shot is left as it is. Prints one line per picture.
With --expect nothing is copied: the exit status is 1 when a window whose picture
is not marked pending has no shot in SHOTS_DIR (the demo did not show it).
"""

import filecmp
import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
LANGUAGES = ("chs", "en")


def file_name(title):
    # As tests/support/shoot.sh names a window's picture after its title.
    name = re.sub(r'[\[\]/\\:*?"<>|\s\x00-\x1f]+', "_", title).strip("_")
    return name[:80]


def shot_for(row, language, shots, display):
    source = row["source"]
    if source == "display":
        path = os.path.join(display or "", "display-window.png")
        return path if display and os.path.isfile(path) else None
    if not source.startswith("demo:"):
        return None
    prefix = f"{language}-{source[5:]}-{file_name(row[language])}"
    found = sorted(f for f in os.listdir(shots)
                   if f.endswith(".png") and (f == prefix + ".png" or re.match(re.escape(prefix) + r"[-_]", f)))
    return os.path.join(shots, found[0]) if found else None


def compacted(shot):
    """A copy of the shot as a compressed PNG without metadata (some shots are
    written uncompressed, a megabyte each); the same shot gives the same bytes."""
    fd, out = tempfile.mkstemp(suffix=".png")
    os.close(fd)
    try:
        subprocess.run(["convert", shot, "-strip", "-define", "png:compression-level=9", out], check=True,
                       capture_output=True)
    except (OSError, subprocess.CalledProcessError):
        shutil.copyfile(shot, out)
    return out


def expect(shots):
    missing = []
    for row in rows():
        if row["state"] != "pending" and row["source"].startswith("demo:"):
            for language in LANGUAGES:
                if shot_for(row, language, shots, None) is None:
                    missing.append(f"{language}-{row['source'][5:]}: no shot of the window '{row[language]}'")
    for m in missing:
        print(m)
    return 1 if missing else 0


def rows():
    lines = [l for l in open(os.path.join(HERE, "pictures.tsv"), encoding="utf-8").read().splitlines()
             if l.strip() and not l.startswith("#")]
    header = lines[0].split("\t")
    return [dict(zip(header, line.split("\t"))) for line in lines[1:]]


def main(argv):
    if len(argv) == 3 and argv[1] == "--expect":
        return expect(argv[2])
    if len(argv) not in (2, 3):
        print(__doc__.strip(), file=sys.stderr)
        return 2
    shots, display = argv[1], argv[2] if len(argv) == 3 else None
    updated = kept = missing = 0
    for row in rows():
        for language in LANGUAGES:
            target = os.path.join(HERE, "pictures", language, row["picture"] + ".png")
            shot = shot_for(row, language, shots, display)
            if shot is None:
                missing += 1
                state = "no shot" + (" (the window is not built yet)" if row["state"] == "pending" else "")
                print(f"help picture {language}/{row['picture']}: {state}")
                continue
            compact = compacted(shot)
            try:
                if os.path.isfile(target) and filecmp.cmp(compact, target, shallow=False):
                    kept += 1
                    continue
                os.makedirs(os.path.dirname(target), exist_ok=True)
                shutil.copyfile(compact, target)
                updated += 1
                print(f"help picture {language}/{row['picture']}: updated from {os.path.basename(shot)}")
            finally:
                os.remove(compact)
    print(f"help pictures: {updated} updated, {kept} unchanged, {missing} without a shot")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
