#!/usr/bin/env python3
"""Builds LumoSmsManager.msi with Debian's msitools (wixl, msiinfo, msibuild).

  make-msi.py --arch x86|x64 --version X.Y.Z --dll FILE --help-chs FILE --help-en FILE
              --registry-table TSV --guids TXT --output FILE.msi

wixl builds the package from LumoSmsManager.wxs; then the package gets what wixl
cannot write:
  - the COM server's Registry rows, expanded from the registry table the DLL's own
    registration uses (com/registry-table.py), merged with wixl's own rows;
  - Root -1 for every row (HKLM for a machine-wide install, HKCU for a per-user
    one: wixl writes a wrong number for HKMU);
  - ALLUSERS=2 (per machine unless the command line says otherwise);
  - a rebuilt package of the same version upgrading the installed one;
  - the conditions that pick the help build named by HELPLANG.
"""

import argparse
import os
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
# The component of the DLL carries the COM entries: they come and go with it.
DLL_COMPONENT = "AddinDll"
DLL_FILE = "LumoSmsManager.dll"
HELP_CONDITIONS = {"HelpChs": 'HELPLANG <> "en"', "HelpEn": 'HELPLANG = "en"'}
# Registry roots as the installer numbers them; wixl's number for HKMU is wrong.
ROOT_PER_INSTALL = "-1"
WIXL_HKMU = "4"


def run(*command):
    return run_in(None, *command)


def run_in(folder, *command):
    result = subprocess.run(command, capture_output=True, text=True, cwd=folder)
    if result.returncode != 0:
        sys.stderr.write(result.stdout + result.stderr)
        sys.exit(f"make-msi.py: {command[0]} failed with {result.returncode}")
    return result.stdout


def table_rows(msi, name):
    out = run("msiinfo", "export", msi, name).replace("\r\n", "\n").split("\n")
    return [r.split("\t") for r in out[3:] if r]


def sql_text(text):
    return "'" + text.replace("'", "''") + "'"


def main():
    p = argparse.ArgumentParser()
    p.add_argument("--arch", required=True, choices=("x86", "x64"))
    p.add_argument("--version", required=True)
    p.add_argument("--dll", required=True)
    p.add_argument("--help-chs", required=True)
    p.add_argument("--help-en", required=True)
    p.add_argument("--registry-table", required=True)
    p.add_argument("--guids", required=True)
    p.add_argument("--output", required=True)
    a = p.parse_args()
    for f in (a.dll, a.help_chs, a.help_en):
        if not os.path.isfile(f):
            sys.exit(f"make-msi.py: {f} does not exist")

    work = tempfile.mkdtemp(prefix="lumo-msi.")
    try:
        msi = os.path.join(work, "package.msi")
        x64 = a.arch == "x64"
        # wixl takes sources relative to the folder it runs in, never absolute.
        sources = {"Dll": (a.dll, "LumoSmsManager.dll"), "HelpChs": (a.help_chs, "chs/MobileService.chm"),
                   "HelpEn": (a.help_en, "en/MobileService.chm")}
        for source, name in sources.values():
            os.makedirs(os.path.dirname(os.path.join(work, name)), exist_ok=True)
            shutil.copyfile(source, os.path.join(work, name))
        shutil.copyfile(os.path.join(HERE, "LumoSmsManager.wxs"), os.path.join(work, "LumoSmsManager.wxs"))
        run_in(work, "wixl", "-a", a.arch, "-o", "package.msi",
               "-D", f"Version={a.version}",
               "-D", f"ProgramFiles={'ProgramFiles64Folder' if x64 else 'ProgramFilesFolder'}",
               "-D", f"Win64={'yes' if x64 else 'no'}",
               *[arg for variable, (_, name) in sources.items() for arg in ("-D", f"{variable}={name}")],
               "LumoSmsManager.wxs")

        # wixl's rows (the product's own key) and the COM server's, in one table file.
        ours = os.path.join(work, "com.idt")
        run(sys.executable, os.path.join(os.path.dirname(HERE), "com", "registry-table.py"), a.registry_table, a.guids,
            "--platform", "win64" if x64 else "win32", "--idt", ours, "--component", DLL_COMPONENT,
            "--dll-file", DLL_FILE, "--dir-property", "INSTALLDIR")
        exported = os.path.join(work, "exported")
        os.mkdir(exported)
        table = run("msiinfo", "export", msi, "Registry").replace("\r\n", "\n").split("\n")
        header, rows = table[:3], [r for r in table[3:] if r]
        fixed = []
        for row in rows:
            cells = row.split("\t")
            if cells[1] == WIXL_HKMU:
                cells[1] = ROOT_PER_INSTALL
            fixed.append("\t".join(cells))
        generated = open(ours, encoding="utf-8").read().replace("\r\n", "\n").split("\n")
        if generated[:3] != header:
            sys.exit(f"make-msi.py: the generated Registry table's columns {generated[:2]} differ from wixl's {header[:2]}")
        merged = os.path.join(exported, "Registry.idt")
        with open(merged, "w", encoding="utf-8", newline="") as f:
            f.write("\r\n".join(header + fixed + [r for r in generated[3:] if r]) + "\r\n")
        run("msibuild", msi, "-i", merged)

        # A rebuilt package of the same version replaces the installed one too (every
        # build has a product code of its own): the upgrade range takes its upper bound
        # in, 1 (migrate features) + 512 (maximum inclusive). Attributes is part of the
        # row's key, so the row is written anew.
        upgrade = [r for r in table_rows(msi, "Upgrade") if r[-1] == "WIX_UPGRADE_DETECTED"]
        if len(upgrade) != 1 or upgrade[0][1] or upgrade[0][2] != a.version:
            sys.exit(f"make-msi.py: unexpected upgrade rows from wixl: {upgrade}")
        code = upgrade[0][0]
        queries = ["UPDATE Property SET Value = '2' WHERE Property = 'ALLUSERS'",
                   "DELETE FROM Upgrade WHERE ActionProperty = 'WIX_UPGRADE_DETECTED'",
                   "INSERT INTO Upgrade (UpgradeCode, VersionMax, Attributes, ActionProperty) "
                   f"VALUES ({sql_text(code)}, {sql_text(a.version)}, 513, 'WIX_UPGRADE_DETECTED')"]
        for component, condition in HELP_CONDITIONS.items():
            queries.append(f"UPDATE Component SET Condition = {sql_text(condition)} WHERE Component = '{component}'")
        for q in queries:
            run("msibuild", msi, "-q", q)

        # What was meant is what is in the package.
        registry = run("msiinfo", "export", msi, "Registry")
        if f"\t{WIXL_HKMU}\t" in registry:
            sys.exit("make-msi.py: a Registry row still has wixl's root number")
        if registry.count("\n") < len(generated):
            sys.exit("make-msi.py: the Registry table lost rows on import")
        components = run("msiinfo", "export", msi, "Component")
        for condition in HELP_CONDITIONS.values():
            if condition not in components:
                sys.exit(f"make-msi.py: the condition {condition} did not reach the Component table")
        os.makedirs(os.path.dirname(os.path.abspath(a.output)), exist_ok=True)
        shutil.move(msi, a.output + ".new")
        os.replace(a.output + ".new", a.output)
    finally:
        shutil.rmtree(work, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
