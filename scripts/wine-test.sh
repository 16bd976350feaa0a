#!/usr/bin/env bash
# Runs the tests of a Windows build under Wine: wine-test.sh BUILD_DIR
# The Wine prefix lives in the build folder; the Wine server is kept up between the programs.
set -euo pipefail

build=$(cd "$1" && pwd)
export WINEPREFIX="$build/wine"
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml="
gcc_dir=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")
export WINEPATH="$gcc_dir;/usr/x86_64-w64-mingw32/lib;Z:$build/bin"
mkdir -p "$WINEPREFIX"

# Debian keeps the 64-bit loader and the server beside its library.
PATH="$PATH:/usr/lib/wine"
wineserver=$(command -v wineserver64 || command -v wineserver)
"$wineserver" -p600 2>/dev/null || true
trap '"$wineserver" -k 2>/dev/null || true' EXIT
wine64 wineboot --init >/dev/null 2>&1 || true

cd "$build"
ctest --output-on-failure --no-tests=error
