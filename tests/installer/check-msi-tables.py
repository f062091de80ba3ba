#!/usr/bin/env python3
"""Reads an installer's tables back (msiinfo export) and checks them.

  check-msi-tables.py MSI PLATFORM OBJDUMP VERSION [TWIN_MSI]

  - the Registry table holds exactly the rows of the COM server's registry table for
    PLATFORM (win32 or win64), rooted per install (-1), pointing at the package's own
    LumoSmsManager.dll ([#LumoSmsManager.dll]) and folder ([INSTALLDIR]);
  - the DLL inside the package is built for PLATFORM (extracted with msiextract);
  - ALLUSERS is 2 and each help build has its HELPLANG condition;
  - the product's version is VERSION (the project's, which the DLL's version
    resource carries too);
  - with TWIN_MSI (the package of the other platform): both hold the same keys,
    names and values, but for the type library's platform key.
"""

import os
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
MACHINES = {"win32": "pei-i386", "win64": "pei-x86-64"}


def table(msi, name):
    out = subprocess.run(["msiinfo", "export", msi, name], capture_output=True, text=True, check=True).stdout
    rows = [r.split("\t") for r in out.replace("\r\n", "\n").split("\n")[3:] if r]
    return rows


def com_rows(msi):
    """(root, key, name, value) of the rows below Software\\Classes."""
    return {tuple(r[1:5]) for r in table(msi, "Registry") if r[2].startswith("Software\\Classes\\")}


def expected(platform):
    listing = subprocess.run(
        [sys.executable, os.path.join(ROOT, "com", "registry-table.py"), os.path.join(ROOT, "com", "registry.tsv"),
         os.path.join(ROOT, "com", "guids.txt"), "--platform", platform, "--list"],
        capture_output=True, text=True, check=True).stdout
    rows = set()
    for line in listing.splitlines():
        kind, key, name, value = line.split("\t")
        name, value = {"owned": ("*", ""), "empty": ("+", "")}.get(kind, (name, value))
        value = value.replace("{dll}", "[#LumoSmsManager.dll]").replace("{dir}", "[INSTALLDIR]")
        rows.add(("-1", "Software\\Classes\\" + key, name, value))
    return rows


def main(argv):
    if len(argv) not in (5, 6):
        print(__doc__, file=sys.stderr)
        return 2
    msi, platform, objdump, version = argv[1:5]
    problems = []
    got, want = com_rows(msi), expected(platform)
    for r in sorted(want - got):
        problems.append(f"missing Registry row {r}")
    for r in sorted(got - want):
        problems.append(f"Registry row not in the registry table {r}")
    roots = {r[1] for r in table(msi, "Registry")}
    if roots != {"-1"}:
        problems.append(f"Registry roots {sorted(roots)}, not only -1")

    props = {r[0]: r[1] for r in table(msi, "Property")}
    if props.get("ProductVersion") != version:
        problems.append(f"ProductVersion is {props.get('ProductVersion')!r}, not {version}")
    if props.get("ALLUSERS") != "2":
        problems.append(f"ALLUSERS is {props.get('ALLUSERS')!r}, not 2")
    conditions = {r[0]: r[4] for r in table(msi, "Component")}
    if conditions.get("HelpChs") != 'HELPLANG <> "en"' or conditions.get("HelpEn") != 'HELPLANG = "en"':
        problems.append(f"help conditions {conditions.get('HelpChs')!r} / {conditions.get('HelpEn')!r}")

    work = tempfile.mkdtemp(prefix="msi-tables.")
    try:
        subprocess.run(["msiextract", "-C", work, msi], capture_output=True, check=True)
        dlls = [os.path.join(d, f) for d, _, fs in os.walk(work) for f in fs if f == "LumoSmsManager.dll"]
        if len(dlls) != 1:
            problems.append(f"{len(dlls)} LumoSmsManager.dll inside, not 1")
        else:
            header = subprocess.run([objdump, "-f", dlls[0]], capture_output=True, text=True,
                                    env=dict(os.environ, LC_ALL="C")).stdout
            if f"file format {MACHINES[platform]}" not in header:
                problems.append(f"the packaged DLL is not {MACHINES[platform]}: {header.strip()[:120]}")
    finally:
        shutil.rmtree(work, ignore_errors=True)

    if len(argv) == 6:
        twin = argv[5]
        if not os.path.isfile(twin):
            problems.append(f"the twin package {twin} does not exist (build the x86_64 tree first)")
        else:
            other = "win64" if platform == "win32" else "win32"
            mine = {(r[0], r[1].replace(f"\\0\\{platform}", "\\0\\*"), r[2], r[3]) for r in got}
            theirs = {(r[0], r[1].replace(f"\\0\\{other}", "\\0\\*"), r[2], r[3]) for r in com_rows(twin)}
            for r in sorted(mine ^ theirs):
                problems.append(f"only in {'this package' if r in mine else 'the twin'}: {r}")
    for p in problems:
        print("FAIL:", p)
    if not problems:
        print(f"{msi}: {len(got)} Registry rows as the registry table has them for {platform}, "
              f"the DLL is {MACHINES[platform]}" + (", the twin holds the same keys" if len(argv) == 6 else ""))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
