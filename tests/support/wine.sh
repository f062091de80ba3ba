# Sourced: Wine for the tests, the benchmarks and the demo. One place for the
# environment Windows programs run in, the prefixes they run in (the project's
# test prefix, throwaway ones, the settings screenshots need) and the servers
# registered there.
#
#   . tests/support/wine.sh
#   lumo_wine_env                     exports the environment and creates $WINEPREFIX
#                                     on first use (default: build/wineprefix)
#   lumo_wine_temp_prefix             a fresh prefix in a temporary folder, as $WINEPREFIX
#   lumo_wine_remove_prefix PREFIX    ends its server and removes it
#   lumo_wine_wait [SECONDS]          waits until $WINEPREFIX's server has ended
#   lumo_dos_path PATH                /a/b as Windows programs reach it: Z:\a\b
#   lumo_register DLL / lumo_unregister DLL     regsvr32 /s [/u]
#   lumo_wait_exit PID SECONDS        waits for a process; its status in LUMO_EXIT_STATUS
#   lumo_prefix_fonts PREFIX          Chinese text renders whatever the locale
#   lumo_prefix_display [--dpi N] [--decorated|--undecorated] PREFIX
#                                     window frames and the logical resolution
# Needs Debian's wine64 (run through /usr/lib/wine/wine64: the plain wine wrapper
# insists on 32-bit support).

: "${LUMO_ROOT:=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)}"
LUMO_WINE=/usr/lib/wine/wine64
LUMO_WINESERVER=/usr/lib/wine/wineserver64
export LUMO_WINE

# WINEPREFIX defaults to a prefix inside the build tree so that a test run never
# touches the user's own; a prefix is created on first use (about 5 s), once even
# when several tests start at the same moment.
lumo_wine_env() {
  : "${WINEPREFIX:=$LUMO_ROOT/build/wineprefix}"
  export WINEPREFIX
  export WINEDEBUG="${WINEDEBUG:--all}"
  export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"
  export LANG="${LUMO_WINE_LANG:-zh_CN.UTF-8}"
  if [ ! -f "$WINEPREFIX/system.reg" ]; then
    mkdir -p "$WINEPREFIX"
    ( flock 9
      if [ ! -f "$WINEPREFIX/system.reg" ]; then
        "$LUMO_WINE" wineboot -i >/dev/null 2>&1
        "$LUMO_WINESERVER" -w 2>/dev/null || true
      fi
    ) 9>"$WINEPREFIX/.lock"
  fi
}

lumo_wine_temp_prefix() {
  WINEPREFIX="$(mktemp -d "${TMPDIR:-/tmp}/lumo-wine.XXXXXX")"
  lumo_wine_env
}

lumo_wine_remove_prefix() {
  local prefix="$1"
  [ -n "$prefix" ] || return 0
  WINEPREFIX="$prefix" "$LUMO_WINESERVER" -k 2>/dev/null
  WINEPREFIX="$prefix" "$LUMO_WINESERVER" -w 2>/dev/null
  rm -rf "$prefix"
}

# Wine's desktop process leaves a few seconds after the last program; a display
# the prefix used must stay until then.
lumo_wine_wait() {
  if [ -n "${1:-}" ]; then
    timeout "$1" "$LUMO_WINESERVER" -w 2>/dev/null
  else
    "$LUMO_WINESERVER" -w 2>/dev/null
  fi
  return 0
}

lumo_dos_path() { printf 'Z:%s' "${1//\//\\}"; }

lumo_register() { "$LUMO_WINE" regsvr32 /s "$(lumo_dos_path "$1")"; }
lumo_unregister() { "$LUMO_WINE" regsvr32 /s /u "$(lumo_dos_path "$1")"; }

lumo_wait_exit() {
  local pid="$1" seconds="$2" i
  LUMO_EXIT_STATUS=""
  for ((i = 0; i < seconds * 10; i++)); do
    if ! kill -0 "$pid" 2>/dev/null; then
      wait "$pid"
      LUMO_EXIT_STATUS=$?
      return 0
    fi
    sleep 0.1
  done
  return 1
}

# Registry settings put into a prefix once: WRITER is a command that prints the
# .reg file; STAMP, a file in the prefix, holds VERSION once they are in, so that
# a prefix that has them is left alone.
lumo_prefix_apply() {  # PREFIX STAMP VERSION WRITER...
  local prefix="$1" stamp="$1/$2" version="$3" reg status
  shift 3
  if [ -z "$prefix" ] || [ ! -f "$prefix/system.reg" ]; then
    echo "wine.sh: '$prefix' is not an initialised Wine prefix" >&2
    return 2
  fi
  if [ -f "$stamp" ] && [ "$(cat "$stamp")" = "$version" ]; then return 0; fi
  reg="$(mktemp --suffix=.reg)"
  "$@" >"$reg" || { rm -f "$reg"; return 1; }
  WINEPREFIX="$prefix" WINEDEBUG=-all "$LUMO_WINE" regedit /S "$(lumo_dos_path "$reg")"
  status=$?
  # Registry changes reach the prefix's files when its server ends.
  WINEPREFIX="$prefix" "$LUMO_WINESERVER" -w
  rm -f "$reg"
  [ "$status" = 0 ] || return 1
  echo "$version" >"$stamp"
}

# Chinese text in every window whatever the locale Wine runs under: the Chinese
# face names Windows programs ask for (宋体/SimSun, 新細明體/PMingLiU, 微软雅黑 ...)
# are substituted by WenQuanYi Micro Hei, and the Latin user-interface faces
# (Tahoma, MS Shell Dlg, Segoe UI ...) link to it for the characters they lack.
# Without this, dialogs under a non-Chinese locale show boxes instead of characters.
# Needs the Debian package fonts-wqy-microhei.
lumo_font_face="WenQuanYi Micro Hei"
lumo_font_file=/usr/share/fonts/truetype/wqy/wqy-microhei.ttc

# A REG_MULTI_SZ value as regedit's hex(7) text: UTF-16LE, each string and the list
# ended by a NUL.
lumo_multi_sz() {
  local s out=""
  for s in "$@"; do out+="$s"$'\x01'; done
  printf '%s\x01' "$out" | iconv -f UTF-8 -t UTF-16LE | od -An -v -tx1 |
    tr -s ' \n' ',' | sed -e 's/^,//' -e 's/,$//' -e 's/01,00/00,00/g'
}

lumo_font_reg_text() {
  local substituted=(SimSun NSimSun 宋体 新宋体 SimHei 黑体 "Microsoft YaHei" 微软雅黑 "Microsoft JhengHei" 微軟正黑體
    PMingLiU MingLiU 新細明體 細明體 "MS Song" "MS Hei" KaiTi 楷体 FangSong 仿宋)
  local linked=(Tahoma "MS Shell Dlg" "MS Shell Dlg 2" "Microsoft Sans Serif" "MS Sans Serif" "Segoe UI" Arial
    "Lucida Sans Unicode" Verdana "Courier New")
  local link name
  link="$(lumo_multi_sz "wqy-microhei.ttc,$lumo_font_face")"
  {
    printf 'Windows Registry Editor Version 5.00\r\n\r\n'
    printf '[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion\\FontSubstitutes]\r\n'
    for name in "${substituted[@]}"; do printf '"%s"="%s"\r\n' "$name" "$lumo_font_face"; done
    printf '\r\n[HKEY_CURRENT_USER\\Software\\Wine\\Fonts\\Replacements]\r\n'
    for name in "${substituted[@]}"; do printf '"%s"="%s"\r\n' "$name" "$lumo_font_face"; done
    printf '\r\n[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion\\FontLink\\SystemLink]\r\n'
    for name in "${linked[@]}"; do printf '"%s"=hex(7):%s\r\n' "$name" "$link"; done
    printf '\r\n'
    lumo_marlett_reg
  }
}

# The title bars' minimise, maximise and close glyphs are characters of the Marlett
# symbol font; without it they come out as "0 1 r". Wine does not pick up the copy
# Debian's fonts-wine installs, so it goes into the prefix's own font folder, where
# Windows keeps it, and is registered there.
lumo_marlett_file=/usr/share/wine/fonts/marlett.ttf

lumo_marlett_reg() {
  printf '[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion\\Fonts]\r\n'
  printf '"Marlett (TrueType)"="marlett.ttf"\r\n\r\n'
}

lumo_font_reg() {
  lumo_font_reg_text | { printf '\xff\xfe'; iconv -f UTF-8 -t UTF-16LE; }
}

lumo_prefix_fonts() {
  local prefix="$1"
  if [ ! -f "$lumo_font_file" ]; then
    echo "wine.sh: $lumo_font_file is missing (Debian package fonts-wqy-microhei)" >&2
    return 1
  fi
  if [ ! -f "$lumo_marlett_file" ]; then
    echo "wine.sh: $lumo_marlett_file is missing (Debian package fonts-wine)" >&2
    return 1
  fi
  mkdir -p "$prefix/drive_c/windows/Fonts"
  cp -f "$lumo_marlett_file" "$prefix/drive_c/windows/Fonts/marlett.ttf"
  lumo_prefix_apply "$prefix" .lumo-fonts lumo-fonts-3 lumo_font_reg || return
  if ! grep -q "$lumo_font_face" "$prefix/system.reg"; then
    echo "wine.sh: the font settings did not reach $prefix/system.reg" >&2
    rm -f "$prefix/.lumo-fonts"
    return 1
  fi
}

# Display settings of a prefix used for screenshots under Xvfb:
#   --dpi N          the logical resolution Windows programs see (96 = 100 %, 144 = 150 %)
#   --undecorated    Wine draws captions and frames itself, so a window captured under
#                    Xvfb (which has no window manager) shows its title bar (default)
#   --decorated      leave captions and frames to the window manager
lumo_display_reg() {  # DECORATED DPI
  printf 'REGEDIT4\r\n\r\n'
  printf '[HKEY_CURRENT_USER\\Software\\Wine\\X11 Driver]\r\n"Decorated"="%s"\r\n\r\n' "$1"
  if [ -n "$2" ]; then
    local hex
    hex="$(printf '%08x' "$2")"
    printf '[HKEY_CURRENT_USER\\Control Panel\\Desktop]\r\n"LogPixels"=dword:%s\r\n\r\n' "$hex"
    printf '[HKEY_CURRENT_CONFIG\\Software\\Fonts]\r\n"LogPixels"=dword:%s\r\n\r\n' "$hex"
  fi
}

lumo_prefix_display() {
  local dpi="" decorated="N" prefix="${WINEPREFIX:-}"
  while [ $# -gt 0 ]; do
    case "$1" in
      --dpi) dpi="${2:?--dpi needs a number}"; shift 2 ;;
      --undecorated) decorated="N"; shift ;;
      --decorated) decorated="Y"; shift ;;
      -*) echo "lumo_prefix_display: unknown option $1" >&2; return 2 ;;
      *) prefix="$1"; shift ;;
    esac
  done
  if [ -n "$dpi" ] && ! [[ "$dpi" =~ ^[0-9]+$ && "$dpi" -ge 48 && "$dpi" -le 480 ]]; then
    echo "lumo_prefix_display: --dpi must be a number from 48 to 480" >&2
    return 2
  fi
  lumo_prefix_apply "$prefix" .lumo-display "decorated=$decorated dpi=${dpi:-keep}" lumo_display_reg "$decorated" "$dpi"
}
