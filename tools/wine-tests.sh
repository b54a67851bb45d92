#!/usr/bin/env bash
# Runs the mingw preset's tests under Wine. One Wine prefix lives in the build tree; the Wine server is
# started once, persistently, so no test waits for it to linger, and stopped at the end. Its standard
# streams go to /dev/null: a server holding CTest's pipes open would keep CTest waiting.
set -euo pipefail
cd "$(dirname "$0")/.."

export WINEPREFIX="$PWD/build/mingw/wine-prefix" WINEDEBUG=-all
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
SECONDS=0
mkdir -p "$WINEPREFIX"
wineserver -p </dev/null >/dev/null 2>&1 || true # one may be running already
trap 'wineserver -k </dev/null >/dev/null 2>&1 || true' EXIT
"$wine" wineboot </dev/null >/dev/null 2>&1
echo "Wine ready in ${SECONDS} s"
ctest --preset mingw "$@"
