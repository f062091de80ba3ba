#!/usr/bin/env bash
# Makes Chinese text render in a Wine prefix whatever the locale Wine runs under:
# the Chinese face names that Windows programs ask for (宋体/SimSun, 新細明體/PMingLiU,
# 微软雅黑 ...) are substituted by WenQuanYi Micro Hei, and the Latin user-interface
# faces (Tahoma, MS Shell Dlg, Segoe UI ...) link to it for the characters they lack.
# Without this, dialogs under a non-Chinese locale show boxes instead of characters.
#
# Usage: tests/shots/prefix-fonts.sh [PREFIX]     (default: $WINEPREFIX)
# Needs: wine64 and the Debian package fonts-wqy-microhei. Idempotent: a prefix that
# already has this version of the settings is left alone.
set -euo pipefail

prefix="${1:-${WINEPREFIX:-}}"
if [ -z "$prefix" ]; then
  echo "prefix-fonts.sh: no prefix given and WINEPREFIX is not set" >&2
  exit 2
fi
if [ ! -f "$prefix/system.reg" ]; then
  echo "prefix-fonts.sh: $prefix is not an initialised Wine prefix (run wineboot -i first)" >&2
  exit 2
fi
font_file=/usr/share/fonts/truetype/wqy/wqy-microhei.ttc
if [ ! -f "$font_file" ]; then
  echo "prefix-fonts.sh: $font_file is missing (Debian package fonts-wqy-microhei)" >&2
  exit 1
fi

face="WenQuanYi Micro Hei"
version="lumo-fonts-2"
stamp="$prefix/.lumo-fonts"
if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$version" ]; then
  exit 0
fi

wine=/usr/lib/wine/wine64
wineserver=/usr/lib/wine/wineserver64
[ -x "$wine" ] || wine="$(command -v wine64 || command -v wine)"
[ -x "$wineserver" ] || wineserver="$(command -v wineserver || true)"

# A REG_MULTI_SZ value as regedit's hex(7) text: UTF-16LE, each string and the list
# ended by a NUL.
multi_sz() {
  local s out=""
  for s in "$@"; do out+="$s"$'\x01'; done
  printf '%s\x01' "$out" | iconv -f UTF-8 -t UTF-16LE | od -An -v -tx1 |
    tr -s ' \n' ',' | sed -e 's/^,//' -e 's/,$//' -e 's/01,00/00,00/g'
}

substituted=(SimSun NSimSun 宋体 新宋体 SimHei 黑体 "Microsoft YaHei" 微软雅黑 "Microsoft JhengHei" 微軟正黑體
  PMingLiU MingLiU 新細明體 細明體 "MS Song" "MS Hei" KaiTi 楷体 FangSong 仿宋)
linked=(Tahoma "MS Shell Dlg" "MS Shell Dlg 2" "Microsoft Sans Serif" "MS Sans Serif" "Segoe UI" Arial
  "Lucida Sans Unicode" Verdana "Courier New")
link="$(multi_sz "wqy-microhei.ttc,$face")"

reg="$(mktemp --suffix=.reg)"
trap 'rm -f "$reg"' EXIT
{
  printf 'Windows Registry Editor Version 5.00\r\n\r\n'
  printf '[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion\\FontSubstitutes]\r\n'
  for name in "${substituted[@]}"; do printf '"%s"="%s"\r\n' "$name" "$face"; done
  printf '\r\n[HKEY_CURRENT_USER\\Software\\Wine\\Fonts\\Replacements]\r\n'
  for name in "${substituted[@]}"; do printf '"%s"="%s"\r\n' "$name" "$face"; done
  printf '\r\n[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion\\FontLink\\SystemLink]\r\n'
  for name in "${linked[@]}"; do printf '"%s"=hex(7):%s\r\n' "$name" "$link"; done
  printf '\r\n'
} | { printf '\xff\xfe'; iconv -f UTF-8 -t UTF-16LE; } >"$reg"

WINEPREFIX="$prefix" WINEDEBUG=-all "$wine" regedit /S "$(WINEPREFIX="$prefix" WINEDEBUG=-all "$wine" winepath -w "$reg" 2>/dev/null)"
# Registry changes reach the prefix's files when its server ends.
if [ -n "$wineserver" ]; then WINEPREFIX="$prefix" "$wineserver" -w; fi
if ! grep -q 'WenQuanYi Micro Hei' "$prefix/system.reg"; then
  echo "prefix-fonts.sh: the font settings did not reach $prefix/system.reg" >&2
  exit 1
fi
echo "$version" >"$stamp"
