#!/usr/bin/env bash
# Builds and runs the display window benchmark under Wine and a private Xvfb:
#   bench/win/run-display-bench.sh [--rounds N] [rows ...]   (default: 3 rounds, 10000 1000000)
# Uses the Wine prefix $WINEPREFIX (default build/bench-wineprefix, created on
# first use; nothing is registered in it: the bench loads the DLL by path) and
# prints the table on standard output.
#   LUMO_BENCH_BUILD  the Windows build tree (default build/win64)
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/bench.sh"
lumo_bench_build display_window_bench
# A display of its own: another program's windows on a shared one would be timed too.
unset DISPLAY
exec "$root/scripts/with-xvfb" "$root/scripts/wine-run" "$build/bench/win/display_window_bench.exe" "$@"
