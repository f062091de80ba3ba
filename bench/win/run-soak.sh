#!/usr/bin/env bash
# Builds and runs the window soak under Wine and a private Xvfb:
#   bench/win/run-soak.sh [--cycles N]   (default 1000 open/close cycles of each window)
# Writes the demo database with the build machine's lumo-dbgen and uses the Wine
# prefix $WINEPREFIX (default build/soak-wineprefix). In that prefix Wine does not
# hand the windows to a window manager: there is none under Xvfb, and Wine waits
# two seconds for one each time a managed window goes, which would be the whole
# of the run's time. Prints the figures; exits 1 when anything is left behind.
#   LUMO_BENCH_BUILD  the Windows build tree (default build/win64)
set -euo pipefail
export WINEPREFIX="${WINEPREFIX:-$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)/build/soak-wineprefix}"
. "$(dirname "${BASH_SOURCE[0]}")/bench.sh"
lumo_bench_build window_soak
cmake --build "$build" -j2 --target lumo_dbgen_build >/dev/null

out="$build/bench/win"
"$build/devhost/db/build-machine/lumo-dbgen" --quiet --out "$out/soak.db" \
  --resources "$root/devhost/data/resources.tsv"
export LUMO_DEVHOST_DB="$out/soak.db"

lumo_bench_unmanaged
unset DISPLAY
exec "$root/scripts/with-xvfb" "$root/scripts/wine-run" "$out/window_soak.exe" "$@"
