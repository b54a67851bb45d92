#!/usr/bin/env bash
# Makes what a player unpacks into each game copy's binaries folder (Win64), in the mod host's layout:
#   Mods/KorvathTracker/Scripts/main.lua   the pose tracker (a Lua mod)
#   Mods/KorvathOnlineCpp/dlls/            the C++ mod's folder; main.dll is not included: it must be
#                                          built with MSVC against the player's host build
#   korvath-session.exe                    the session program, from the mingw preset
#   INSTALL.md                             the player's guide
# as a folder and a .zip under the output directory, then runs korvath-session.exe --help from the
# package under Wine to show that it starts.
set -euo pipefail
cd "$(dirname "$0")/.."

usage() {
    echo "usage: tools/package.sh [--out DIR] [--build-dir DIR] [--no-build]"
    echo "  --out DIR        where the package goes (default build/package)"
    echo "  --build-dir DIR  the mingw build to take korvath-session.exe from (default build/mingw)"
    echo "  --no-build       do not install packages or build; take the program as it is"
}

out=build/package
build_dir=build/mingw
build=1
while [ $# -gt 0 ]; do
    case "$1" in
    --out) out=${2:?--out needs a directory}; shift 2 ;;
    --build-dir) build_dir=${2:?--build-dir needs a directory}; shift 2 ;;
    --no-build) build=0; shift ;;
    -h | --help) usage; exit 0 ;;
    *) usage >&2; exit 2 ;;
    esac
done

if [ "$build" = 1 ]; then
    ./tools/install-deps.sh
    cmake --preset mingw >/dev/null
    cmake --build --preset mingw --target korvath-session
fi
session_exe="$build_dir/tools/korvath-session.exe"
[ -f "$session_exe" ] || { echo "package: $session_exe not found; build the mingw preset" >&2; exit 1; }

version=$(sed -n 's/^project(KorvathOnlineCpp VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
name="KorvathOnline-$version"
root="$out/$name"
rm -rf "$root" "$out/$name.zip"
mkdir -p "$root/Mods/KorvathTracker/Scripts" "$root/Mods/KorvathOnlineCpp/dlls"
cp tools/tracker/main.lua "$root/Mods/KorvathTracker/Scripts/main.lua"
cat >"$root/Mods/KorvathOnlineCpp/dlls/PUT-main.dll-HERE.txt" <<'TEXT'
Copy KorvathOnlineCpp.dll here as main.dll. It is not part of this package: it must be built with
MSVC against the same UE4SS build that runs it (see INSTALL.md, step 3).
TEXT
cp "$session_exe" "$root/korvath-session.exe"
cp tools/package/INSTALL.md "$root/INSTALL.md"
(cd "$out" && cmake -E tar cf "$name.zip" --format=zip "$name")

# The session program starts from the package: its usage text under Wine.
export WINEPREFIX=${WINEPREFIX:-$PWD/$build_dir/wine-prefix} WINEDEBUG=-all
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
help=$(cd "$root" && "$wine" ./korvath-session.exe --help </dev/null 2>&1) || {
    echo "package: korvath-session.exe --help failed under Wine:" >&2
    echo "$help" >&2
    exit 1
}
case "$help" in
*"Usage: korvath-session"*) ;;
*) echo "package: unexpected output of korvath-session.exe --help:" >&2; echo "$help" >&2; exit 1 ;;
esac
# The archive holds the layout and nothing else.
expected="$name/INSTALL.md
$name/Mods/KorvathOnlineCpp/dlls/PUT-main.dll-HERE.txt
$name/Mods/KorvathTracker/Scripts/main.lua
$name/korvath-session.exe"
listed=$(cd "$out" && cmake -E tar tf "$name.zip" | grep -v '/$' | sort)
if [ "$listed" != "$expected" ]; then
    echo "package: $name.zip holds:" >&2
    echo "$listed" >&2
    exit 1
fi
echo "package: $root and $name.zip; korvath-session.exe --help runs from it under Wine"
echo "$listed"
