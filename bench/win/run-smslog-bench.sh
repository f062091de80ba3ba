#!/usr/bin/env bash
# Builds and runs the SMS log window benchmark under Wine and a private Xvfb:
#   bench/win/run-smslog-bench.sh [--rounds N]
# Writes a half-size (about 500,000 receivers) and a full-size (about 1,000,000)
# history with the build machine's lumo-dbgen, uses the Wine prefix $WINEPREFIX
# (default build/smslog-bench-wineprefix, without a window manager: the filter
# dialog is hidden on OK, and Wine would wait for a manager that Xvfb does not
# have; the bench registers the add-in and the development host in it) and
# prints the table.
#   LUMO_BENCH_BUILD  the Windows build tree (default build/win64)
set -euo pipefail
export WINEPREFIX="${WINEPREFIX:-$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)/build/smslog-bench-wineprefix}"
. "$(dirname "${BASH_SOURCE[0]}")/bench.sh"
rounds=3
while [ $# -gt 0 ]; do
  case "$1" in
    --rounds) rounds="$2"; shift 2 ;;
    *) echo "usage: $0 [--rounds N]" >&2; exit 2 ;;
  esac
done

lumo_bench_build smslog_window_bench

dbgen="$build/devhost/db/build-machine/lumo-dbgen"
out="$build/bench/win"
"$dbgen" --out "$out/smslog-half.db" --size 50000 --no-resources
"$dbgen" --out "$out/smslog-full.db" --size large --no-resources

lumo_bench_unmanaged
unset DISPLAY
exec "$root/scripts/with-xvfb" "$root/scripts/wine-run" "$out/smslog_window_bench.exe" \
  --half "$out/smslog-half.db" --full "$out/smslog-full.db" --rounds "$rounds"
