#!/usr/bin/env bash
# Builds and runs the service management window benchmark under Wine and a private Xvfb:
#   bench/win/run-notify-bench.sh [--rounds N] [--employees N]
# Writes a half-size and a full-size database with the build machine's lumo-dbgen
# (full: the large size, 2,000 bill types and 2,000 workflows; half: 1,000 of each)
# and prints the table.
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

lumo_bench_build notify_window_bench

dbgen="$build/devhost/db/build-machine/lumo-dbgen"
out="$build/bench/win"
# Fresh databases each run: the host's journal and audit log grow with every call.
"$dbgen" --quiet --out "$out/notify-half.db" --size "$((employees / 2))-employees"
"$dbgen" --quiet --out "$out/notify-full.db" --size "${employees}-employees"

exec "$root/scripts/with-xvfb" "$root/scripts/wine-run" "$out/notify_window_bench.exe" \
  --half "$out/notify-half.db" --full "$out/notify-full.db" --rounds "$rounds"
