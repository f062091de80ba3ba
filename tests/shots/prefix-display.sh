#!/usr/bin/env bash
# Display settings of a Wine prefix used for screenshots under Xvfb:
#   --dpi N          the logical resolution Windows programs see (96 = 100 %, 144 = 150 %)
#   --undecorated    Wine draws captions and frames itself, so a window captured under
#                    Xvfb (which has no window manager) shows its title bar (default)
#   --decorated      leave captions and frames to the window manager
# Usage: tests/shots/prefix-display.sh [--dpi N] [--undecorated|--decorated] [PREFIX]
# PREFIX defaults to $WINEPREFIX. Settings already in place are not written again.
set -euo pipefail

dpi=""
decorated="N"
prefix="${WINEPREFIX:-}"
while [ $# -gt 0 ]; do
  case "$1" in
    --dpi) dpi="${2:?--dpi needs a number}"; shift 2 ;;
    --undecorated) decorated="N"; shift ;;
    --decorated) decorated="Y"; shift ;;
    -*) echo "prefix-display.sh: unknown option $1" >&2; exit 2 ;;
    *) prefix="$1"; shift ;;
  esac
done
if [ -z "$prefix" ] || [ ! -f "$prefix/system.reg" ]; then
  echo "prefix-display.sh: '${prefix}' is not an initialised Wine prefix" >&2
  exit 2
fi
if [ -n "$dpi" ] && ! [[ "$dpi" =~ ^[0-9]+$ && "$dpi" -ge 48 && "$dpi" -le 480 ]]; then
  echo "prefix-display.sh: --dpi must be a number from 48 to 480" >&2
  exit 2
fi

wanted="decorated=$decorated dpi=${dpi:-keep}"
stamp="$prefix/.lumo-display"
if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$wanted" ]; then
  exit 0
fi

wine=/usr/lib/wine/wine64
wineserver=/usr/lib/wine/wineserver64
reg="$(mktemp --suffix=.reg)"
trap 'rm -f "$reg"' EXIT
{
  printf 'REGEDIT4\r\n\r\n'
  printf '[HKEY_CURRENT_USER\\Software\\Wine\\X11 Driver]\r\n"Decorated"="%s"\r\n\r\n' "$decorated"
  if [ -n "$dpi" ]; then
    hex="$(printf '%08x' "$dpi")"
    printf '[HKEY_CURRENT_USER\\Control Panel\\Desktop]\r\n"LogPixels"=dword:%s\r\n\r\n' "$hex"
    printf '[HKEY_CURRENT_CONFIG\\Software\\Fonts]\r\n"LogPixels"=dword:%s\r\n\r\n' "$hex"
  fi
} >"$reg"
export WINEPREFIX="$prefix" WINEDEBUG=-all
"$wine" regedit /S "$("$wine" winepath -w "$reg" 2>/dev/null)"
"$wineserver" -w
echo "$wanted" >"$stamp"
