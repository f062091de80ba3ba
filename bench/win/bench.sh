# Sourced by the window benchmarks' run scripts: builds one benchmark in the
# Windows tree and sets up the Wine prefix it runs in.
#   lumo_bench_build TARGET     sets root and build; WINEPREFIX defaults to
#                               build/bench-wineprefix (created on first use)
#   LUMO_BENCH_BUILD            the Windows build tree (default build/win64)
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"
build="${LUMO_BENCH_BUILD:-$root/build/win64}"
. "$root/tests/support/wine.sh"

lumo_bench_build() {
  # Configured every time: a tree made before the benchmarks existed learns of them.
  cmake -S "$root" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-x86_64.cmake" >/dev/null
  cmake --build "$build" -j2 --target "$1" >/dev/null
  export WINEPREFIX="${WINEPREFIX:-$root/build/bench-wineprefix}"
  lumo_wine_env
}

# Wine does not hand the prefix's windows to a window manager: there is none
# under Xvfb, and Wine waits two seconds for one each time a managed window is
# hidden or goes, which a timing would take for the program's own. The prefix's
# processes end here: started without a display, they would keep the windows of
# the run off the one it starts.
lumo_bench_unmanaged() {
  "$LUMO_WINE" reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null 2>&1
  lumo_wine_wait
}
