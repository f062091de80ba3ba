# Sourced: starts and stops a private Xvfb server on a display number that nobody
# else uses (Xvfb picks it itself through -displayfd, so parallel runs never collide).
#
#   . tests/support/xvfb.sh
#   lumo_xvfb_start [WIDTHxHEIGHTxDEPTH]   # exports DISPLAY, sets LUMO_XVFB_PID
#   ...
#   lumo_xvfb_stop
#
# LUMO_XVFB_DPI (default 96) is the server's resolution as X clients see it.

lumo_xvfb_start() {
  local screen="${1:-1280x960x24}"
  if ! command -v Xvfb >/dev/null 2>&1; then
    echo "xvfb.sh: Xvfb is not installed (Debian package xvfb)" >&2
    return 1
  fi
  local fdfile
  fdfile="$(mktemp)"
  Xvfb -displayfd 9 -screen 0 "$screen" -dpi "${LUMO_XVFB_DPI:-96}" -nolisten tcp -noreset \
    9>"$fdfile" >/dev/null 2>&1 &
  LUMO_XVFB_PID=$!
  local i number=""
  for i in $(seq 1 100); do
    number="$(tr -dc '0-9' <"$fdfile")"
    [ -n "$number" ] && break
    if ! kill -0 "$LUMO_XVFB_PID" 2>/dev/null; then break; fi
    sleep 0.1
  done
  rm -f "$fdfile"
  if [ -z "$number" ]; then
    echo "xvfb.sh: Xvfb did not start" >&2
    kill "$LUMO_XVFB_PID" 2>/dev/null
    LUMO_XVFB_PID=""
    return 1
  fi
  export DISPLAY=":$number"
  return 0
}

lumo_xvfb_stop() {
  if [ -n "${LUMO_XVFB_PID:-}" ]; then
    kill "$LUMO_XVFB_PID" 2>/dev/null
    wait "$LUMO_XVFB_PID" 2>/dev/null
    LUMO_XVFB_PID=""
  fi
}
