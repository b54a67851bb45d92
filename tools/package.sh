#!/usr/bin/env bash
# Makes what a player unpacks into a folder of its own, from where `korvath-session setup` installs it
# into the game copies (or the player copies the Mods folders by hand, in the mod host's layout):
#   Mods/KorvathTracker/Scripts/main.lua   the pose tracker (a Lua mod)
#   Mods/KorvathOnlineCpp/dlls/            the C++ mod's folder; main.dll is not included: it must be
#                                          built with MSVC against the player's host build
#   korvath-session.exe                    the session program, from the mingw preset
#   Start Korvath Online.bat               runs the relay for the two game copies setup wrote into it
#   INSTALL.md                             the player's guide
# as a folder and a .zip under the output directory, then under Wine runs korvath-session.exe --help
# from the package, and setup from a copy of it into two game folders that have the host but no main.dll.
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
sed 's/$/\r/' "tools/package/Start Korvath Online.bat" >"$root/Start Korvath Online.bat" # cmd wants CR LF
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
# setup from the package: both mods installed and enabled, the roles and the start script written, and
# doctor's verdict: main.dll missing in each game copy, nothing else.
check="$out/setup-check"
rm -rf "$check"
mkdir -p "$check"
cp -r "$root" "$check/package"
for game in a b; do
    mkdir -p "$check/$game/Game/Binaries/Win64/ue4ss/Mods"
    : >"$check/$game/Game/Binaries/Win64/ue4ss/UE4SS.dll"
    printf 'Keybinds : 1\r\n' >"$check/$game/Game/Binaries/Win64/ue4ss/Mods/mods.txt"
done
status=0
setup=$(cd "$check" && "$wine" package/korvath-session.exe setup a/Game/Binaries/Win64 b/Game/Binaries/Win64 \
    </dev/null 2>&1) || status=$?
case "$status:$setup" in
1:*"Start Korvath Online.bat"*"doctor: 2 problems to fix"*) ;;
*) echo "package: unexpected result of setup under Wine (exit $status):" >&2; echo "$setup" >&2; exit 1 ;;
esac
if [ "$(grep -c 'main.dll' <<<"$(grep '^FAIL' <<<"$setup")")" != 2 ] ||
    ! grep -q '^KorvathOnlineCpp : 1' "$check/a/Game/Binaries/Win64/ue4ss/Mods/mods.txt" ||
    ! grep -q 'set "GAME_B=.*b\\Game\\Binaries\\Win64"' "$check/package/Start Korvath Online.bat" ||
    [ -e "$check/package/Start Korvath Online.bat.before-setup" ]; then
    echo "package: setup under Wine did not install as expected:" >&2
    echo "$setup" >&2
    exit 1
fi
rm -rf "$check"
# The archive holds the layout and nothing else.
expected="$name/INSTALL.md
$name/Mods/KorvathOnlineCpp/dlls/PUT-main.dll-HERE.txt
$name/Mods/KorvathTracker/Scripts/main.lua
$name/Start Korvath Online.bat
$name/korvath-session.exe"
listed=$(cd "$out" && cmake -E tar tf "$name.zip" | grep -v '/$' | sort)
if [ "$listed" != "$expected" ]; then
    echo "package: $name.zip holds:" >&2
    echo "$listed" >&2
    exit 1
fi
echo "package: $root and $name.zip; korvath-session.exe --help and setup run from it under Wine"
echo "$listed"
