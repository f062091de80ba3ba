#!/usr/bin/env bash
# Builds and runs the user-employee-mobile table benchmark under Wine and a
# private Xvfb:
#   bench/win/run-mobile-bench.sh [--rounds N]
# Writes a half-size (8,192 users) and the full large database (16,384 users) with
# the build machine's lumo-dbgen, uses the Wine prefix $WINEPREFIX (default
# build/bench-wineprefix) and prints the table.
#   LUMO_BENCH_BUILD  the Windows build tree (default build/win64)
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/bench.sh"
rounds=3
while [ $# -gt 0 ]; do
  case "$1" in
    --rounds) rounds="$2"; shift 2 ;;
    *) echo "usage: $0 [--rounds N]" >&2; exit 2 ;;
  esac
done

lumo_bench_build mobile_window_bench

dbgen="$build/devhost/db/build-machine/lumo-dbgen"
out="$build/bench/win"
"$dbgen" --out "$out/mobile-half.db" --size 50000-employees --resources "$root/devhost/data/resources.tsv"
"$dbgen" --out "$out/mobile-full.db" --size large --resources "$root/devhost/data/resources.tsv"

exec "$root/scripts/with-xvfb" "$root/scripts/wine-run" "$out/mobile_window_bench.exe" \
  --half "$out/mobile-half.db" --full "$out/mobile-full.db" --rounds "$rounds"
