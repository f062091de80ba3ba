#!/usr/bin/env bash
# Builds and runs the display window benchmark under Wine and a private Xvfb:
#   bench/win/run-display-bench.sh [--rounds N] [rows ...]   (default: 3 rounds, 10000 1000000)
# Uses the Wine prefix $WINEPREFIX (default build/bench-wineprefix, created on
# first use; nothing is registered in it: the bench loads the DLL by path) and
# prints the table on standard output.
#   LUMO_BENCH_BUILD  the Windows build tree (default build/win64)
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"
build="${LUMO_BENCH_BUILD:-$root/build/win64}"
export WINEPREFIX="${WINEPREFIX:-$root/build/bench-wineprefix}"

# Configured every time: a tree made before the benchmarks existed learns of them.
cmake -S "$root" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-x86_64.cmake" >/dev/null
cmake --build "$build" -j2 --target display_window_bench >/dev/null

. "$root/scripts/wine-env"   # creates the prefix on first use
# A display of its own: another program's windows on a shared one would be timed too.
unset DISPLAY
exec "$root/scripts/with-xvfb" "$root/scripts/wine-run" "$build/bench/win/display_window_bench.exe" "$@"
