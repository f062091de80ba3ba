#!/usr/bin/env bash
# Builds and runs the send window benchmark under Wine and a private Xvfb:
#   bench/win/run-send-bench.sh [--rounds N] [--employees N]
# Writes a half-size and a full-size database with the build machine's lumo-dbgen
# (full: 100,000 employees in 2,000 departments unless --employees says otherwise),
# uses the Wine prefix $WINEPREFIX (default build/bench-wineprefix; the bench
# registers the add-in and the development host in it) and prints the table.
#   LUMO_BENCH_BUILD  the Windows build tree (default build/win64)
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/bench.sh"
rounds=3
employees=100000
while [ $# -gt 0 ]; do
  case "$1" in
    --rounds) rounds="$2"; shift 2 ;;
    --employees) employees="$2"; shift 2 ;;
    *) echo "usage: $0 [--rounds N] [--employees N]" >&2; exit 2 ;;
  esac
done

lumo_bench_build send_window_bench

dbgen="$build/devhost/db/build-machine/lumo-dbgen"
out="$build/bench/win"
# Fresh databases each run: the host's journal grows with every call.
"$dbgen" --out "$out/send-half.db" --size "$((employees / 2))-employees"
"$dbgen" --out "$out/send-full.db" --size "${employees}-employees"

exec "$root/scripts/with-xvfb" "$root/scripts/wine-run" "$out/send_window_bench.exe" \
  --half "$out/send-half.db" --full "$out/send-full.db" --rounds "$rounds"
