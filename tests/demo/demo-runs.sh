#!/usr/bin/env bash
# scripts/demo --headless as a new user tries it, in a demo folder of its own:
#   1. a first run (the send window only) creates the prefix and registers the DLLs;
#   2. the prefix is deleted, the usual first fix when something looks wrong, and a
#      second run with every command must register again in the new prefix: it
#      shows every window that is built (help/pictures.tsv names them) and the
#      client reports no error but a window not built yet;
#   3. the add-in's registration is then broken on purpose (its ProgID removed from
#      the prefix) and a third run must fail, saying that the client reported an
#      error it did not expect.
# Usage: demo-runs.sh WIN64_TREE
set -u
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
root="$(cd "$here/../.." && pwd)"
. "$root/tests/support/wine.sh"
export LUMO_DEMO_WIN64="$1"
export LUMO_DEMO_DIR
LUMO_DEMO_DIR="$(mktemp -d "${TMPDIR:-/tmp}/lumo-demo.XXXXXX")"
trap 'lumo_wine_remove_prefix "$LUMO_DEMO_DIR/wineprefix"; rm -rf "$LUMO_DEMO_DIR"' EXIT
unset DISPLAY  # the demo's own Xvfb
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
demo() { "$root/scripts/demo" --headless --no-build --keep-help-pictures "$@" >"$LUMO_DEMO_DIR/out" 2>"$LUMO_DEMO_DIR/err"; }

demo --commands SendSms || { cat "$LUMO_DEMO_DIR/err"; fail "the first run failed"; }

WINEPREFIX="$LUMO_DEMO_DIR/wineprefix" "$LUMO_WINESERVER" -k 2>/dev/null
rm -rf "$LUMO_DEMO_DIR/wineprefix"
if demo; then
  python3 "$root/help/update-pictures.py" --expect "$LUMO_DEMO_DIR/shots" || fail "windows missing from the second run's shots"
else
  cat "$LUMO_DEMO_DIR/err"
  fail "the run after deleting the prefix failed"
fi
grep -q 'registering LumoSmsManager.dll' "$LUMO_DEMO_DIR/err" || fail "the run after deleting the prefix did not register the add-in"

WINEPREFIX="$LUMO_DEMO_DIR/wineprefix" "$LUMO_WINE" reg delete 'HKLM\Software\Classes\LumoSmsManager.clsSmsManager' /f >/dev/null 2>&1 ||
  fail "could not remove the add-in's ProgID from the prefix"
WINEPREFIX="$LUMO_DEMO_DIR/wineprefix" "$LUMO_WINESERVER" -w
if demo --commands SendSms; then
  fail "the run with a broken registration succeeded"
else
  grep -q 'the client reported: command-error: SendSms' "$LUMO_DEMO_DIR/err" ||
    fail "the failed run does not name the command's error"
  grep -q 'unexpected error(s) from the client' "$LUMO_DEMO_DIR/err" || fail "the failed run does not say why it failed"
  sed -n 's/^demo: //p' "$LUMO_DEMO_DIR/err" | grep -E 'reported|unexpected' | head -3
fi
if [ "$failures" -gt 0 ]; then
  echo "$failures check(s) failed"
  exit 1
fi
echo "the demo registers in a new prefix, shows every built window, and fails on an unexpected error"
