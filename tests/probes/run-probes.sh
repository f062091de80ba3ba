#!/usr/bin/env bash
# Runs every JScript probe in this folder with cscript against LumoSmsManager.dll,
# registered in a throwaway Wine prefix that is removed afterwards.
#
# Wine's script hosts exit with 0 even when a script dies on an uncaught error, so
# the exit code proves nothing: each probe ends by printing "N passed, M failed",
# and a probe fails when that line is missing or M is not 0.
# Usage: run-probes.sh <path of LumoSmsManager.dll> [probe.js ...]
#
# Each probe gets the scratch folder (its working folder) as its first argument.
# Optional, from the environment:
#   LUMO_PROBE_SERVERS  more in-process servers to register first (space-separated)
#   LUMO_PROBE_FILES    files copied into the scratch folder (DLLs the add-in loads
#                       from beside the process or from the working folder)
#   LUMO_PROBE_WATCHER  a program started beside the probes with the scratch
#                       folder's boxes.txt, to answer message boxes and log them
set -u
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
root="$(cd "$here/../.." && pwd)"
dll_unix="$1"
shift
if [ "$#" -gt 0 ]; then probes=("$@"); else probes=("$here"/*.js); fi

prefix="$(mktemp -d "${TMPDIR:-/tmp}/lumo-probes.XXXXXX")"
scratch="$prefix/probes"
. "$root/tests/support/wine.sh"
trap 'lumo_wine_remove_prefix "$prefix"' EXIT
export WINEPREFIX="$prefix"
lumo_wine_env
mkdir -p "$scratch"

dos() { lumo_dos_path "$1"; }

read -r -a servers <<<"${LUMO_PROBE_SERVERS:-}"
for server in "${servers[@]}" "$dll_unix"; do
  if ! "$LUMO_WINE" regsvr32 /s "$(dos "$server")"; then
    echo "FAIL: regsvr32 $server"
    exit 1
  fi
done
read -r -a files <<<"${LUMO_PROBE_FILES:-}"
for f in "${files[@]}"; do cp "$f" "$scratch/"; done
cd "$scratch"
if [ -n "${LUMO_PROBE_WATCHER:-}" ]; then
  "$LUMO_WINE" "$LUMO_PROBE_WATCHER" "$(dos "$scratch/boxes.txt")" "${LUMO_PROBE_WATCHED_TITLE:-}" 600 &
fi

failures=0
for probe in "${probes[@]}"; do
  name="$(basename "$probe")"
  # The probes are UTF-8, but the script host reads a script in the prefix's ANSI
  # code page (and ignores UTF-16 files): every non-ASCII character is handed over
  # as a \uXXXX escape, which means the same in a JScript string literal whatever
  # the code page. (Non-ASCII text stands only in string literals and comments.)
  copy="$scratch/$name"
  perl -CSD -pe 's/([^\x00-\x7f])/sprintf("\\u%04x", ord($1))/ge' "$probe" >"$copy"
  rm -f "$scratch/boxes.txt"
  output="$("$LUMO_WINE" cscript //nologo "$(dos "$copy")" "$(dos "$scratch")" 2>&1 | tr -d '\r')"
  printf '%s\n' "$output" | sed "s/^/[$name] /"
  summary="$(printf '%s\n' "$output" | grep -E '^[0-9]+ passed, [0-9]+ failed$' | tail -1)"
  if [ -z "$summary" ]; then
    echo "FAIL: $name ended without its summary line (an uncaught error?)"
    failures=$((failures + 1))
  elif [ "$(printf '%s' "$summary" | awk '{print $3}')" != "0" ]; then
    echo "FAIL: $name: $summary"
    failures=$((failures + 1))
  elif [ "$(printf '%s' "$summary" | awk '{print $1}')" = "0" ]; then
    echo "FAIL: $name checked nothing"
    failures=$((failures + 1))
  fi
done

for server in "$dll_unix" "${servers[@]}"; do
  "$LUMO_WINE" regsvr32 /s /u "$(dos "$server")" || { echo "FAIL: regsvr32 /u $server"; failures=$((failures + 1)); }
done
if [ "$failures" -gt 0 ]; then
  echo "$failures probe(s) failed"
  exit 1
fi
echo "${#probes[@]} probe(s) passed"
