#!/usr/bin/env bash
# Screenshots of Wine windows under an X server without a window manager (Xvfb).
#
#   shoot.sh [options] --title TEXT OUT.png    waits until a mapped top-level window
#                                              whose title contains TEXT exists, then
#                                              captures it
#   shoot.sh [options] --all OUTDIR            captures every mapped top-level window
#                                              into OUTDIR, one PNG per window, named
#                                              after its title (with --title: first
#                                              waits for that window)
#   shoot.sh --list                            prints "id<TAB>title" of every mapped
#                                              top-level window
# Options:
#   --display :N     the X display (default $DISPLAY; without either a private Xvfb
#                    is started, which only makes sense with a command, see --)
#   --timeout SEC    how long to wait for the window (default 30)
#   --settle SEC     pause between finding a window and capturing it, so that it has
#                    painted (default 1)
#   --prefix NAME    file-name prefix for --all (e.g. "chs-")
#   -- COMMAND...    start COMMAND on the display first and end it after capturing
# Exit status: 0 captured, 1 no such window in time (the mapped windows are listed
# on stderr), 2 usage or tools missing.
#
# Sourced (". tests/support/shoot.sh"), it only defines the functions lumo_windows,
# lumo_wait_window, lumo_capture and lumo_capture_all for other scripts.

lumo_support_dir="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"

# "id<TAB>title" for every viewable top-level window larger than a couple of pixels
# (Wine keeps many 1x1 helper windows around), topmost first. Untitled windows get
# an empty title.
lumo_windows() {
  local line id title state geometry
  LC_ALL=C.UTF-8 xwininfo -root -children 2>/dev/null |
    sed -n -E 's/^[[:space:]]+(0x[0-9a-fA-F]+) (.*)$/\1 \2/p' |
    while IFS= read -r line; do
      id="${line%% *}"
      title=""
      case "$line" in
        *'(has no name)'*) title="" ;;
        *) title="$(printf '%s' "${line#* }" | sed -E 's/^"(.*)": \(.*$/\1/')" ;;
      esac
      state="$(LC_ALL=C xwininfo -id "$id" 2>/dev/null)" || continue
      case "$state" in *"Map State: IsViewable"*) ;; *) continue ;; esac
      geometry="$(printf '%s\n' "$state" | awk '/^  Width:/{w=$2} /^  Height:/{h=$2} END{print w" "h}')"
      set -- $geometry
      [ "${1:-0}" -gt 2 ] && [ "${2:-0}" -gt 2 ] || continue
      printf '%s\t%s\n' "$id" "$title"
    done
}

# Waits for a mapped window whose title contains TEXT; prints its id.
lumo_wait_window() {
  local text="$1" timeout="${2:-30}" deadline id
  deadline=$(($(date +%s) + timeout))
  while :; do
    id="$(lumo_windows | awk -F '\t' -v t="$text" 'index($2, t) > 0 {print $1; exit}')"
    if [ -n "$id" ]; then
      printf '%s\n' "$id"
      return 0
    fi
    [ "$(date +%s)" -ge "$deadline" ] && return 1
    sleep 0.2
  done
}

# Captures one window (by id) into a PNG. The window is raised first: X keeps no
# contents for the covered parts of a window, which would come out black.
lumo_capture() {
  local id="$1" out="$2"
  mkdir -p "$(dirname "$out")"
  if command -v xdotool >/dev/null 2>&1; then
    xdotool windowraise "$id" 2>/dev/null && sleep 0.3
  fi
  import -window "$id" "png:$out" 2>/dev/null && [ -s "$out" ]
}

# A file name from a window title: path and shell-hostile characters become "_".
lumo_file_name() {
  local title="$1" id="$2" name
  name="$(printf '%s' "$title" | sed -E 's#[][/\\:*?"<>|[:space:][:cntrl:]]+#_#g; s/^_+//; s/_+$//' | cut -c1-80)"
  [ -n "$name" ] || name="window-$id"
  printf '%s' "$name"
}

# Captures every mapped top-level window into DIR; prints the files written.
lumo_capture_all() {
  local dir="$1" prefix="${2:-}" id title name file n
  mkdir -p "$dir"
  local -A used=()
  while IFS=$'\t' read -r id title; do
    name="$prefix$(lumo_file_name "$title" "$id")"
    file="$dir/$name.png"
    n=2
    while [ -n "${used[$file]:-}" ]; do
      file="$dir/$name-$n.png"
      n=$((n + 1))
    done
    used[$file]=1
    if lumo_capture "$id" "$file"; then printf '%s\n' "$file"; else echo "shoot.sh: cannot capture $id ($title)" >&2; fi
  done < <(lumo_windows | tac)  # bottom to top, so that raising keeps the stacking order
}

if [ "${BASH_SOURCE[0]}" != "$0" ]; then
  return 0
fi

set -uo pipefail

usage() { sed -n '2,27p' "$0" | sed 's/^# \{0,1\}//' >&2; exit 2; }

title=""
all=""
out=""
list=""
timeout=30
settle=1
prefix=""
display="${DISPLAY:-}"
command=()
while [ $# -gt 0 ]; do
  case "$1" in
    --title) title="${2:-}"; shift 2 || usage ;;
    --all) all=1; out="${2:-}"; shift 2 || usage ;;
    --list) list=1; shift ;;
    --display) display="${2:-}"; shift 2 || usage ;;
    --timeout) timeout="${2:-}"; shift 2 || usage ;;
    --settle) settle="${2:-}"; shift 2 || usage ;;
    --prefix) prefix="${2:-}"; shift 2 || usage ;;
    --) shift; command=("$@"); break ;;
    -h|--help) usage ;;
    -*) echo "shoot.sh: unknown option $1" >&2; usage ;;
    *) [ -z "$out" ] && [ -z "$all" ] && out="$1" || usage; shift ;;
  esac
done
if [ -z "$list" ]; then
  [ -n "$out" ] || usage
  [ -n "$title" ] || [ -n "$all" ] || usage
fi
for tool in xwininfo import; do
  if ! command -v "$tool" >/dev/null 2>&1; then
    echo "shoot.sh: $tool is missing (Debian packages x11-utils and imagemagick)" >&2
    exit 2
  fi
done

command_pid=""
cleanup() {
  if [ -n "$command_pid" ]; then
    kill "$command_pid" 2>/dev/null
    wait "$command_pid" 2>/dev/null
  fi
  if [ -n "${LUMO_XVFB_PID:-}" ]; then lumo_xvfb_stop; fi
}
trap cleanup EXIT

if [ -z "$display" ]; then
  . "$lumo_support_dir/xvfb.sh"
  lumo_xvfb_start || exit 2
else
  export DISPLAY="$display"
fi

if [ ${#command[@]} -gt 0 ]; then
  "${command[@]}" &
  command_pid=$!
fi

if [ -n "$list" ]; then
  lumo_windows
  exit 0
fi

if [ -n "$title" ]; then
  if ! id="$(lumo_wait_window "$title" "$timeout")"; then
    echo "shoot.sh: no window titled '*$title*' within ${timeout}s; mapped windows:" >&2
    lumo_windows >&2
    exit 1
  fi
else
  # --all without a title: wait until something is shown at all.
  deadline=$(($(date +%s) + timeout))
  until [ -n "$(lumo_windows)" ]; do
    if [ "$(date +%s)" -ge "$deadline" ]; then
      echo "shoot.sh: no window mapped within ${timeout}s" >&2
      exit 1
    fi
    sleep 0.2
  done
fi
sleep "$settle"

if [ -n "$all" ]; then
  files="$(lumo_capture_all "$out" "$prefix")"
  [ -n "$files" ] || { echo "shoot.sh: nothing captured" >&2; exit 1; }
  printf '%s\n' "$files"
else
  lumo_capture "$id" "$out" || { echo "shoot.sh: import failed for window $id" >&2; exit 1; }
  printf '%s\n' "$out"
fi
