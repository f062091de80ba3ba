#!/usr/bin/env bash
# Runs JScript probes with cscript in a throwaway Wine prefix of their own, with
# the in-process servers they use registered there; the prefix is removed afterwards.
#
#   run-probes.sh [--register DLL]... [--copy FILE]... [--watcher EXE [--watch TITLE]] PROBE.js...
#   run-probes.sh --in-prefix PROBE.js...
#
#   --register DLL   registered with regsvr32 before the probes run (in the order
#                    given) and unregistered after them (in the reverse order)
#   --copy FILE      copied into the scratch folder, the probes' working folder (DLLs
#                    the add-in loads from beside the process or the working folder)
#   --watcher EXE    box_watcher.exe, started beside the probes with the scratch
#                    folder's boxes.txt, to answer message boxes and log them;
#                    --watch TITLE: the windows whose number it logs with each box
#   --in-prefix      in $WINEPREFIX as it is (servers an installer registered there),
#                    which is kept; only the scratch folder inside it goes afterwards
#
# Each probe runs as the body of a function behind tests/support/probe.js (its
# check, ok and expectError, and the closing line), with the scratch folder as its
# first argument. Wine's script hosts exit with 0 even when a script dies on an
# uncaught error, so the exit code proves nothing: a probe fails when its closing
# line "N passed, M failed" is missing, M is not 0 or N is 0. A probe with a line
# "// checks: N" of its own must have passed exactly N checks.
set -u
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
. "$here/wine.sh"

servers=()
files=()
watcher=""
watched=""
in_prefix=0
while [ $# -gt 0 ]; do
  case "$1" in
    --register) servers+=("$2"); shift 2 ;;
    --copy) files+=("$2"); shift 2 ;;
    --watcher) watcher="$2"; shift 2 ;;
    --watch) watched="$2"; shift 2 ;;
    --in-prefix) in_prefix=1; shift ;;
    -*) echo "run-probes.sh: unknown option $1" >&2; exit 2 ;;
    *) break ;;
  esac
done
if [ $# -eq 0 ]; then
  echo "usage: run-probes.sh [--in-prefix | [--register DLL]... [--copy FILE]... [--watcher EXE [--watch TITLE]]] PROBE.js..." >&2
  exit 2
fi
probes=("$@")

if [ "$in_prefix" = 1 ]; then
  [ -n "${WINEPREFIX:-}" ] || { echo "run-probes.sh: --in-prefix needs WINEPREFIX" >&2; exit 2; }
  lumo_wine_env
  prefix="$WINEPREFIX"
  trap 'rm -rf "$prefix/probes"' EXIT
else
  lumo_wine_temp_prefix
  prefix="$WINEPREFIX"
  trap 'lumo_wine_remove_prefix "$prefix"' EXIT
fi
scratch="$prefix/probes"
mkdir -p "$scratch"

for server in "${servers[@]}"; do
  if ! lumo_register "$server"; then
    echo "FAIL: regsvr32 $server"
    exit 1
  fi
done
for f in "${files[@]}"; do cp "$f" "$scratch/"; done
cd "$scratch"
if [ -n "$watcher" ]; then
  "$LUMO_WINE" "$watcher" "$(lumo_dos_path "$scratch/boxes.txt")" "$watched" 600 &
fi

failures=0
for probe in "${probes[@]}"; do
  name="$(basename "$probe")"
  # The probes are UTF-8, but the script host reads a script in the prefix's ANSI
  # code page (and ignores UTF-16 files): every non-ASCII character is handed over
  # as a \uXXXX escape, which means the same in a JScript string literal whatever
  # the code page. (Non-ASCII text stands only in string literals and comments.)
  script="$scratch/$name"
  { cat "$here/probe.js"; echo "function probeBody() {"; cat "$probe"; echo; echo "}"; echo "runProbe(probeBody);"; } |
    perl -CSD -pe 's/([^\x00-\x7f])/sprintf("\\u%04x", ord($1))/ge' >"$script"
  rm -f "$scratch/boxes.txt"
  output="$("$LUMO_WINE" cscript //nologo "$(lumo_dos_path "$script")" "$(lumo_dos_path "$scratch")" 2>&1 | tr -d '\r')"
  printf '%s\n' "$output" | sed "s/^/[$name] /"
  summary="$(printf '%s\n' "$output" | grep -E '^[0-9]+ passed, [0-9]+ failed$' | tail -1)"
  expected="$(sed -n 's#^// checks: \([0-9][0-9]*\)$#\1#p' "$probe" | head -1)"
  if [ -z "$summary" ]; then
    echo "FAIL: $name ended without its closing line (an uncaught error?)"
    failures=$((failures + 1))
  elif [ "$(printf '%s' "$summary" | awk '{print $3}')" != "0" ]; then
    echo "FAIL: $name: $summary"
    failures=$((failures + 1))
  elif [ "$(printf '%s' "$summary" | awk '{print $1}')" = "0" ]; then
    echo "FAIL: $name checked nothing"
    failures=$((failures + 1))
  elif [ -n "$expected" ] && [ "$(printf '%s' "$summary" | awk '{print $1}')" != "$expected" ]; then
    echo "FAIL: $name: $summary, where $expected checks were to pass"
    failures=$((failures + 1))
  fi
done

for ((i = ${#servers[@]} - 1; i >= 0; i--)); do
  lumo_unregister "${servers[i]}" || { echo "FAIL: regsvr32 /u ${servers[i]}"; failures=$((failures + 1)); }
done
if [ "$failures" -gt 0 ]; then
  echo "$failures probe(s) failed"
  exit 1
fi
echo "${#probes[@]} probe(s) passed"
