#!/usr/bin/env bash
# Registers LumoSmsManager.dll the way installers do, with regsvr32: machine-wide
# (regsvr32 /s) and per user (regsvr32 /s /n /i:user), each undone with /u. The
# registration must be visible in its own hive only, and each hive exported with
# regedit after unregistering must be byte for byte the export taken before.
# It runs in a fresh prefix of its own, so that nothing another test left in a
# hive (or changes meanwhile) comes into the comparison.
# Usage: regsvr32-roundtrip.sh <path of LumoSmsManager.dll>
set -u
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
root="$(cd "$here/../.." && pwd)"
. "$root/tests/support/wine.sh"
lumo_wine_temp_prefix
prefix="$WINEPREFIX"

dll_unix="$1"
dll="$(lumo_dos_path "$dll_unix")"
clsid="{$(awk '$2 == "clsParse" {print $3}' "$root/com/guids.txt")}"
work="$(mktemp -d "${TMPDIR:-/tmp}/lumo-regsvr32.XXXXXX")"
trap 'rm -rf "$work"; lumo_wine_remove_prefix "$prefix"' EXIT
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
wine() { "$LUMO_WINE" "$@"; }

# regedit /E <file> <key>; the file is written in Wine's DOS path form.
export_hive() {
  local key="$1" file="$2"
  rm -f "$file"
  wine regedit /E "$(lumo_dos_path "$file")" "$key" >/dev/null 2>&1
  [ -f "$file" ] || : >"$file"  # a hive without the key exports as nothing
}
same_export() {
  local before="$1" after="$2" what="$3"
  if ! cmp -s "$before" "$after"; then
    fail "$what differs after unregistering:"
    diff <(iconv -f UTF-16LE -t UTF-8 "$before" 2>/dev/null | tr -d '\r') \
         <(iconv -f UTF-16LE -t UTF-8 "$after" 2>/dev/null | tr -d '\r') | head -20
  fi
}
# The default value of HKxx\Software\Classes\<key>, as reg query prints it.
query() { wine reg query "$1\\Software\\Classes\\$2" /ve 2>/dev/null | tr -d '\r'; }

export_hive 'HKEY_LOCAL_MACHINE\Software\Classes' "$work/machine-before.reg"
export_hive 'HKEY_CURRENT_USER\Software\Classes' "$work/user-before.reg"
[ -s "$work/machine-before.reg" ] || fail "regedit exported nothing for HKEY_LOCAL_MACHINE\\Software\\Classes"

# Machine-wide.
wine regsvr32 /s "$dll" || fail "regsvr32 /s exited with $?"
query HKLM 'LumoSmsManager.clsParse\CLSID' | grep -qiF "$clsid" || fail "HKLM: LumoSmsManager.clsParse\\CLSID is not $clsid"
query HKLM 'LumoSmsManager.clsParse\CurVer' | grep -qF 'LumoSmsManager.clsParse.1' || fail "HKLM: CurVer missing"
query HKLM "CLSID\\$clsid\\InprocServer32" | grep -qiF 'LumoSmsManager.dll' || fail "HKLM: InprocServer32 missing"
# Every value of the registry table (com/registry.tsv, from which the installer's rows
# come too) is what the DLL wrote.
export_hive 'HKEY_LOCAL_MACHINE\Software\Classes' "$work/machine-during.reg"
python3 "$root/tests/installer/check-registry.py" "$work/machine-during.reg" 'HKEY_LOCAL_MACHINE\Software\Classes' \
  win64 "$dll" "${dll%\\*}" || fail "HKLM: the registry table's entries are not all there"
export_hive 'HKEY_CURRENT_USER\Software\Classes' "$work/user-during.reg"
same_export "$work/user-before.reg" "$work/user-during.reg" "HKCU (during a machine-wide registration)"
wine regsvr32 /s /u "$dll" || fail "regsvr32 /s /u exited with $?"
query HKLM 'LumoSmsManager.clsParse\CLSID' | grep -qiF "$clsid" && fail "HKLM: still registered after /u"
export_hive 'HKEY_LOCAL_MACHINE\Software\Classes' "$work/machine-after.reg"
same_export "$work/machine-before.reg" "$work/machine-after.reg" "HKLM\\Software\\Classes"

# Per user.
wine regsvr32 /s /n /i:user "$dll" || fail "regsvr32 /s /n /i:user exited with $?"
query HKCU 'LumoSmsManager.clsParse\CLSID' | grep -qiF "$clsid" || fail "HKCU: LumoSmsManager.clsParse\\CLSID is not $clsid"
query HKCU "CLSID\\$clsid\\InprocServer32" | grep -qiF 'LumoSmsManager.dll' || fail "HKCU: InprocServer32 missing"
export_hive 'HKEY_LOCAL_MACHINE\Software\Classes' "$work/machine-during.reg"
same_export "$work/machine-before.reg" "$work/machine-during.reg" "HKLM (during a per-user registration)"
wine regsvr32 /s /u /n /i:user "$dll" || fail "regsvr32 /s /u /n /i:user exited with $?"
export_hive 'HKEY_CURRENT_USER\Software\Classes' "$work/user-after.reg"
same_export "$work/user-before.reg" "$work/user-after.reg" "HKCU\\Software\\Classes"

if [ "$failures" -gt 0 ]; then
  echo "$failures check(s) failed"
  exit 1
fi
echo "regsvr32 round trips in both hives passed"
