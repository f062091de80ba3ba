#!/usr/bin/env bash
# Inspects a built LumoSmsManager.dll with objdump: the five COM exports (on i686,
# each defined stdcall with its argument size), the embedded type library (resource
# TYPELIB 1), and an import table that names only Windows' own system libraries
# (the C and C++ runtimes are linked in statically).
# Usage: inspect-dll.sh <objdump> <dll>
set -u
objdump="$1"
dll="$2"
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

[ -f "$dll" ] || { echo "FAIL: no such file: $dll"; exit 1; }
dump="$("$objdump" -p "$dll")" || { echo "FAIL: $objdump -p $dll"; exit 1; }

# Export names: the lines of the "[Ordinal/Name Pointer] Table" section.
exports="$(printf '%s\n' "$dump" | sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' | grep -E '^\s+\[ *[0-9]+\] ' | grep -o '\] [A-Za-z_@0-9]*$' | cut -c3- | sort)"
expected="$(printf '%s\n' DllCanUnloadNow DllGetClassObject DllInstall DllRegisterServer DllUnregisterServer)"
if [ "$exports" != "$expected" ]; then
  fail "exports are not exactly the five COM entry points:"
  printf '  %s\n' $exports
fi

# On i686 each export must be a stdcall function taking the bytes its callers push
# (the symbol table keeps the decorated name, _Name@bytes, of the definition): a
# definition that missed the declaration would be cdecl, and the linker's fix-up for
# the .def file's plain names would export it without a word.
if printf '%s\n' "$dump" | grep -q 'file format pei-i386'; then
  symbols="$("$objdump" -t "$dll")"
  for entry in DllGetClassObject@12 DllCanUnloadNow@0 DllRegisterServer@0 DllUnregisterServer@0 DllInstall@8; do
    printf '%s\n' "$symbols" | grep -qE "\(ty +20\).* _${entry}\$" \
      || fail "${entry%@*} is not defined as a stdcall function of ${entry#*@} argument bytes (_${entry})"
  done
fi

# Resources: "type/name" for every resource in the directory objdump prints (type
# entries are indented by three blanks, name entries by five).
resources="$(printf '%s\n' "$dump" | awk '
  /^[0-9a-f]+   Entry: / { type = ($3 == "name:") ? $(NF-2) : $4; sub(/,$/, "", type) }
  /^[0-9a-f]+     Entry: ID: / { id = $4; sub(/,$/, "", id); print type "/" id }')"
if ! printf '%s\n' "$resources" | grep -qx 'TYPELIB/0x000001'; then
  fail "no resource TYPELIB 1 (resources: $(echo $resources))"
fi
if ! printf '%s\n' "$resources" | grep -q '^0x000010/'; then
  fail "no VERSIONINFO resource (resources: $(echo $resources))"
fi

# Imports: every DLL named must be one of Windows' own.
imports="$(printf '%s\n' "$dump" | grep -i 'DLL Name:' | awk '{print tolower($3)}' | sort -u)"
[ -n "$imports" ] || fail "no import table found"
for name in $imports; do
  case "$name" in
    kernel32.dll|user32.dll|ole32.dll|oleaut32.dll|advapi32.dll|msvcrt.dll|gdi32.dll|comctl32.dll|comdlg32.dll|\
    shell32.dll|shlwapi.dll|version.dll|api-ms-win-*.dll) ;;
    *) fail "imports $name, which is not a Windows system library" ;;
  esac
done

echo "exports: $(echo $exports)"
echo "imports: $(echo $imports)"
echo "resources: $(echo $resources)"
if [ "$failures" -gt 0 ]; then
  echo "$failures check(s) failed"
  exit 1
fi
echo "all checks passed"
