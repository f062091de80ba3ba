#!/usr/bin/env bash
# The installer under Wine, in a fresh prefix of its own, as an administrator runs it
# (msiexec /qn). Two modes:
#
#   msi-tests.sh twin MSI ARGS_FILE TYPELIB_CHECK_EXE PROBE_JS HELP_CHS HELP_EN
#     The x86_64 twin: per machine (files, objects by ProgID from a script, the type
#     library through its registered path, uninstall leaves the registry as it was and
#     no file), per user (the same with nothing under HKLM), and a major upgrade from
#     the same package built with a lower version and then a rebuild of the same
#     version (one registration left each time; its uninstall leaves nothing either). ARGS_FILE holds make-msi.py's command, one
#     argument a line, to build that lower version.
#   msi-tests.sh product MSI HELP_CHS
#     The 32-bit product: installs under "Program Files (x86)", its keys in the 32-bit
#     view of the registry point there, and uninstalling leaves nothing.
#
# "As it was": HKLM\Software\Classes, HKCU\Software\Classes and the product's own
# keys (Software\Lumo) are exported with regedit before and after and compared key by
# key and value by value (compare-exports.py).
set -u
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
root="$(cd "$here/../.." && pwd)"
. "$root/tests/support/wine.sh"

mode="${1:?mode: twin or product}"
shift
lumo_wine_temp_prefix
prefix="$WINEPREFIX"
work="$(mktemp -d "${TMPDIR:-/tmp}/lumo-msi.XXXXXX")"
trap 'rm -rf "$work"; lumo_wine_remove_prefix "$prefix"' EXIT
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
wine() { "$LUMO_WINE" "$@"; }
clsid_parse="{$(awk '$2 == "clsParse" {print $3}' "$root/com/guids.txt")}"
libid="{$(awk '$1 == "LIBID" {print $3}' "$root/com/guids.txt")}"

# regedit /E of each key the package may touch, into DIR.
snapshot() {
  local dir="$1" key file
  mkdir -p "$dir"
  for key in 'HKEY_LOCAL_MACHINE\Software\Classes' 'HKEY_CURRENT_USER\Software\Classes' \
             'HKEY_LOCAL_MACHINE\Software\Lumo' 'HKEY_CURRENT_USER\Software\Lumo' \
             'HKEY_LOCAL_MACHINE\Software\Wow6432Node\Lumo'; do
    file="$dir/$(printf '%s' "$key" | tr '\\ ' '__').reg"
    wine regedit /E "$(lumo_dos_path "$file")" "$key" >/dev/null 2>&1
    [ -f "$file" ] || : >"$file"  # a key that does not exist exports as nothing
  done
}
same_snapshot() {  # before after what
  local f
  for f in "$1"/*.reg; do
    python3 "$here/compare-exports.py" "$f" "$2/$(basename "$f")" || fail "$3: $(basename "$f" .reg) differs (above)"
  done
}
msi() {  # what, msiexec arguments...
  local what="$1"
  shift
  wine msiexec "$@" /qn
  local status=$?
  [ "$status" = 0 ] || fail "$what: msiexec $* exited with $status"
}
# The default value (or VALUE) of a key, as reg query prints it; VIEW /reg:32 or /reg:64.
query() {  # key [value] view
  local key="$1" value="${2:-}" view="${3:-/reg:64}"
  if [ -n "$value" ]; then
    wine reg query "$key" /v "$value" "$view" 2>/dev/null | tr -d '\r' | LC_ALL=C sed -n 's/.*REG_SZ *//p'
  else
    wine reg query "$key" /ve "$view" 2>/dev/null | tr -d '\r' | LC_ALL=C sed -n 's/.*REG_SZ *//p'
  fi
}
unix_path() { printf '%s/drive_c/%s' "$prefix" "$1"; }

# Every entry of the registry table is in HIVE's classes (EXPORT_KEY: the key they sit
# below in a regedit export), pointing at the installed DLL.
installed_entries() {  # what, export key, platform, install folder (Windows)
  local what="$1" key="$2" platform="$3" folder="$4" file="$work/entries.reg"
  rm -f "$file"
  wine regedit /E "$(lumo_dos_path "$file")" "$key" >/dev/null 2>&1
  [ -f "$file" ] && python3 "$here/check-registry.py" "$file" "$key" "$platform" "$folder\\LumoSmsManager.dll" "$folder\\" ||
    fail "$what: the registry table's entries are not all in $key"
}

# The classes in use: created by ProgID from a script, the type library loaded through
# its registration.
installed_use() {  # what, install folder (Windows), typelib_check.exe, probe
  local what="$1" folder="$2" typelib_check="$3" probe="$4"
  "$root/tests/support/run-probes.sh" --in-prefix "$probe" || fail "$what: the script probe failed"
  wine "$typelib_check" "$folder\\LumoSmsManager.dll" || fail "$what: the type library did not load through its registration"
}

# ---------------------------------------------------------------- twin
twin() {
  local msi_file="$1" args_file="$2" typelib_check="$3" probe="$4" help_chs="$5" help_en="$6"
  local package folder
  package="$(lumo_dos_path "$msi_file")"
  # The script host registers a class of its own on its first run: that run comes first.
  echo 'WScript.Echo("")' >"$work/warm.js"
  wine cscript //nologo "$(lumo_dos_path "$work/warm.js")" >/dev/null 2>&1
  snapshot "$work/before"

  echo "== per machine"
  msi "per machine: install" /i "$package"
  folder="Program Files/LumoSmsManager"
  [ -f "$(unix_path "$folder/LumoSmsManager.dll")" ] || fail "per machine: no $folder/LumoSmsManager.dll"
  cmp -s "$help_chs" "$(unix_path "$folder/MobileService.chm")" ||
    fail "per machine: MobileService.chm is not the Chinese help (the default)"
  [ "$(query 'HKLM\Software\Lumo\LumoSmsManager' InstallDir)" = 'C:\Program Files\LumoSmsManager\' ] ||
    fail "per machine: HKLM\\Software\\Lumo\\LumoSmsManager InstallDir is not the install folder"
  installed_entries "per machine" 'HKEY_LOCAL_MACHINE\Software\Classes' win64 'C:\Program Files\LumoSmsManager'
  installed_use "per machine" 'C:\Program Files\LumoSmsManager' "$typelib_check" "$probe"
  snapshot "$work/machine"
  for f in HKEY_CURRENT_USER_Software_Classes HKEY_CURRENT_USER_Software_Lumo; do
    python3 "$here/compare-exports.py" "$work/before/$f.reg" "$work/machine/$f.reg" ||
      fail "per machine: $f changed (above): a machine-wide install wrote under HKCU"
  done
  msi "per machine: uninstall" /x "$package"
  snapshot "$work/after-machine"
  same_snapshot "$work/before" "$work/after-machine" "per machine: after uninstalling"
  [ ! -e "$(unix_path "$folder")" ] || fail "per machine: $folder remains: $(ls "$(unix_path "$folder")")"

  echo "== per user (ALLUSERS empty), English help"
  # ALLUSERS= last: msiexec would read the next property as its value.
  msi "per user: install" /i "$package" HELPLANG=en ALLUSERS=
  folder="$(cd "$prefix/drive_c" && ls -d users/*/AppData/Local/Programs/LumoSmsManager 2>/dev/null | head -1)"
  [ -n "$folder" ] && [ -f "$(unix_path "$folder/LumoSmsManager.dll")" ] ||
    fail "per user: no LumoSmsManager.dll under the user's AppData\\Local\\Programs"
  cmp -s "$help_en" "$(unix_path "$folder/MobileService.chm")" || fail "per user: MobileService.chm is not the English help"
  snapshot "$work/user"
  for f in HKEY_LOCAL_MACHINE_Software_Classes HKEY_LOCAL_MACHINE_Software_Lumo HKEY_LOCAL_MACHINE_Software_Wow6432Node_Lumo; do
    python3 "$here/compare-exports.py" "$work/before/$f.reg" "$work/user/$f.reg" ||
      fail "per user: $f changed (above): a per-user install wrote under HKLM"
  done
  installed_entries "per user" 'HKEY_CURRENT_USER\Software\Classes' win64 "C:\\${folder//\//\\}"
  # Wine's COM reads classes from HKLM only (a per-user regsvr32 registration cannot
  # be created from a script under Wine either): the objects are created from the
  # machine-wide installs; here the entries are checked value by value.
  # Windows remembers that the product was installed per user; Wine's msiexec does
  # not, and is told again.
  msi "per user: uninstall" /x "$package" ALLUSERS=
  snapshot "$work/after-user"
  same_snapshot "$work/before" "$work/after-user" "per user: after uninstalling"
  [ -z "$folder" ] || [ ! -e "$(unix_path "$folder")" ] || fail "per user: $folder remains"

  echo "== major upgrade from 0.9.0, then a rebuild of the same version"
  local old="$work/LumoSmsManager-0.9.0.msi" command=()
  mapfile -t command <"$args_file"
  "${command[@]}" --version 0.9.0 --output "$old" || fail "upgrade: building the 0.9.0 package failed"
  msi "upgrade: install 0.9.0" /i "$(lumo_dos_path "$old")"
  msi "upgrade: install the current version over it" /i "$package"
  installed_products() {
    local uninstall="$work/uninstall.reg"
    rm -f "$uninstall"
    wine regedit /E "$(lumo_dos_path "$uninstall")" 'HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\Uninstall' >/dev/null 2>&1
    iconv -f UTF-16LE -t UTF-8 "$uninstall" 2>/dev/null | tr -d '\r' |
      awk 'BEGIN { RS = "" } /"DisplayName"="LumoSmsManager"/ { match($0, /"DisplayVersion"="[^"]*"/); print substr($0, RSTART, RLENGTH) }'
  }
  local products version
  version="$(msiinfo export "$msi_file" Property | tr -d '\r' | awk -F '\t' '$1 == "ProductVersion" {print $2}')"
  products="$(installed_products)"
  [ "$products" = "\"DisplayVersion\"=\"$version\"" ] ||
    fail "upgrade: the installed products named LumoSmsManager are [$products], not one of version $version"
  # A package of the same version built again (a product code of its own) replaces it too.
  local rebuilt="$work/LumoSmsManager-rebuilt.msi"
  "${command[@]}" --version "$version" --output "$rebuilt" || fail "upgrade: rebuilding the package failed"
  msi "upgrade: install the same version rebuilt" /i "$(lumo_dos_path "$rebuilt")"
  products="$(installed_products)"
  [ "$products" = "\"DisplayVersion\"=\"$version\"" ] ||
    fail "upgrade: after the rebuilt package the products named LumoSmsManager are [$products], not one"
  package="$(lumo_dos_path "$rebuilt")"
  installed_entries "upgrade" 'HKEY_LOCAL_MACHINE\Software\Classes' win64 'C:\Program Files\LumoSmsManager'
  installed_use "upgrade" 'C:\Program Files\LumoSmsManager' "$typelib_check" "$probe"
  msi "upgrade: uninstall" /x "$package"
  snapshot "$work/after-upgrade"
  same_snapshot "$work/before" "$work/after-upgrade" "upgrade: after uninstalling"
  [ ! -e "$(unix_path "Program Files/LumoSmsManager")" ] || fail "upgrade: Program Files/LumoSmsManager remains"
}

# ---------------------------------------------------------------- product (i686)
product() {
  local msi_file="$1" help_chs="$2" package folder dll
  package="$(lumo_dos_path "$msi_file")"
  snapshot "$work/before"
  msi "32-bit: install" /i "$package"
  folder="Program Files (x86)/LumoSmsManager"
  dll='C:\Program Files (x86)\LumoSmsManager\LumoSmsManager.dll'
  [ -f "$(unix_path "$folder/LumoSmsManager.dll")" ] || fail "32-bit: no $folder/LumoSmsManager.dll"
  cmp -s "$help_chs" "$(unix_path "$folder/MobileService.chm")" || fail "32-bit: MobileService.chm is not the Chinese help"
  LC_ALL=C i686-w64-mingw32-objdump -f "$(unix_path "$folder/LumoSmsManager.dll")" 2>/dev/null | grep -q 'file format pei-i386' ||
    fail "32-bit: the installed DLL is not an i686 one"
  [ "$(query "HKLM\\Software\\Classes\\CLSID\\$clsid_parse\\InprocServer32" "" /reg:32)" = "$dll" ] ||
    fail "32-bit: InprocServer32 of clsParse in the 32-bit view is not $dll"
  [ "$(query "HKLM\\Software\\Classes\\TypeLib\\$libid\\1.0\\0\\win32" "" /reg:32)" = "$dll" ] ||
    fail "32-bit: the type library's win32 path in the 32-bit view is not $dll"
  [ "$(query 'HKLM\Software\Classes\LumoSmsManager.clsParse\CurVer' "" /reg:32)" = "LumoSmsManager.clsParse.1" ] ||
    fail "32-bit: CurVer of LumoSmsManager.clsParse missing in the 32-bit view"
  installed_entries "32-bit" 'HKEY_LOCAL_MACHINE\Software\Classes\Wow6432Node' win32 'C:\Program Files (x86)\LumoSmsManager'
  [ -z "$(query "HKLM\\Software\\Classes\\CLSID\\$clsid_parse\\InprocServer32" "" /reg:64)" ] ||
    fail "32-bit: the 64-bit view has the 32-bit server's class"
  msi "32-bit: uninstall" /x "$package"
  snapshot "$work/after"
  same_snapshot "$work/before" "$work/after" "32-bit: after uninstalling"
  [ ! -e "$(unix_path "$folder")" ] || fail "32-bit: $folder remains"
}

case "$mode" in
  twin) twin "$@" ;;
  product) product "$@" ;;
  *) echo "msi-tests.sh: unknown mode $mode" >&2; exit 2 ;;
esac
if [ "$failures" -gt 0 ]; then
  echo "$failures check(s) failed"
  exit 1
fi
echo "installer checks ($mode) passed"
