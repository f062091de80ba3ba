#!/usr/bin/env bash
# The stand-in client's failure reporting, run for real under Wine and Xvfb.
# A sign-in as a user that does not exist fails whatever is registered in the
# prefix; the commands run afterwards either work or fail, and each outcome must
# come out as exactly one report line, in order, on stderr and in the log file,
# with the process's exit status saying that something failed.
#
# Usage: error-path.sh LumoErp.exe [PREFIX]
# PREFIX is a Wine prefix of this test's own (created on first use); without it
# $WINEPREFIX or the project's test prefix (tests/support/wine.sh). A prefix of its
# own matters: a Wine server that other programs started without a display cannot
# give this one windows.
set -uo pipefail

exe="${1:?usage: error-path.sh LumoErp.exe [PREFIX]}"
[ -n "${2:-}" ] && export WINEPREFIX="$2"
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
root="$(cd "$here/../../.." && pwd)"
. "$root/tests/support/xvfb.sh"
. "$root/tests/support/shoot.sh"
. "$root/tests/support/wine.sh"

work="$(mktemp -d)"
client_pid=""
cleanup() {
  [ -n "$client_pid" ] && kill "$client_pid" 2>/dev/null && wait "$client_pid" 2>/dev/null
  lumo_wine_wait 20
  lumo_xvfb_stop
  rm -rf "$work"
}
trap cleanup EXIT
lumo_xvfb_start || exit 1
# After the display: a prefix made now gets its desktop on it.
lumo_wine_env

failures=0
check() {  # check DESCRIPTION COMMAND...
  local what="$1"
  shift
  if "$@"; then
    echo "ok: $what"
  else
    echo "FAILED: $what"
    failures=$((failures + 1))
  fi
}

nobody="没有这个用户"
log="$work/run.log"
winlog="$(lumo_dos_path "$log")"

# 1. Unattended: no message boxes, the lines tell what happened.
"$LUMO_WINE" "$exe" --user "$nobody" --lang en --run SendSms --run smsmanager --exit-after-commands \
  --no-error-box --log "$winlog" >"$work/out" 2>"$work/err" &
client_pid=$!
status=""
lumo_wait_exit "$client_pid" 60 && { status="$LUMO_EXIT_STATUS"; client_pid=""; }
check "the unattended run ends by itself" test -n "$status"
check "it exits with status 1 because something failed (got ${status:-none})" test "${status:-}" = 1
check "the log holds three report lines" test "$(wc -l <"$log" 2>/dev/null)" = 3
check "the first reports the failed sign-in with a source and a description" \
  grep -Eq '^signin-error: [^:]+: .+$' <(sed -n 1p "$log")
check "then SendSms, as ok or as an error with source and description" \
  grep -Eq '^(command-ok: SendSms|command-error: SendSms: [^:]+(: |.*: ).+)$' <(sed -n 2p "$log")
check "then SmsManager under its own name, whatever case --run used" \
  grep -Eq '^(command-ok: SmsManager|command-error: SmsManager: .+: .+)$' <(sed -n 3p "$log")
check "stderr carries the same lines" diff <(grep -E '^(signin|command)-' "$work/err") "$log"

# 2. A command line the client does not understand: status 2 and the usage.
"$LUMO_WINE" "$exe" --run NoSuchCommand --no-error-box >/dev/null 2>"$work/err2"
status=$?
check "an unknown command is refused with status 2 (got $status)" test "$status" = 2
check "and the refusal names it" grep -q "unknown command 'NoSuchCommand'" "$work/err2"

# 3. With message boxes: the failure is shown in a box titled in the chosen
#    language; once it is dismissed the main window comes up captioned in that
#    language, and closing it ends the run with status 1.
: >"$log"
"$LUMO_WINE" "$exe" --user "$nobody" --lang en --log "$winlog" >/dev/null 2>&1 &
client_pid=$!
if box="$(lumo_wait_window "Sign-in Failed" 60)"; then
  check "the sign-in failure box can be captured" lumo_capture "$box" "$work/signin.png"
  if command -v xdotool >/dev/null 2>&1; then
    xdotool windowfocus "$box" key Return 2>/dev/null
    main="$(lumo_wait_window "Lumo ERP Demo Client - Not signed in" 30)" || main=""
    check "the main window is captioned in English and says nobody is signed in" test -n "$main"
    [ -n "$main" ] && check "the main window can be captured" lumo_capture "$main" "$work/main.png"
    [ -n "$main" ] && xdotool windowfocus "$main" key alt+F4 2>/dev/null
    status=""
    lumo_wait_exit "$client_pid" 30 && { status="$LUMO_EXIT_STATUS"; client_pid=""; }
    check "closing the main window ends the run with status 1 (got ${status:-still running})" test "${status:-}" = 1
  else
    echo "skipped: dismissing the box needs xdotool"
  fi
else
  check "a sign-in failure box titled 'Sign-in Failed' appears" false
  lumo_windows >&2
fi
check "the failed sign-in is logged with the boxes on too" grep -Eq '^signin-error: ' "$log"

if [ "$failures" -gt 0 ]; then
  echo "error-path: $failures check(s) failed"
  exit 1
fi
echo "error-path: all checks passed"
