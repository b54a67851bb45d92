#!/usr/bin/env bash
# Downloads and unpacks Debian source packages into DEST, for the Windows build of libraries that the
# Linux build takes from Debian's binary packages. It uses the machine's own Debian mirrors with a
# private apt state in DEST, so the machine's apt configuration stays as it is.
#   deb-source.sh DEST PACKAGE...
set -euo pipefail

dest=$1
shift
mkdir -p "$dest/apt/lists/partial" "$dest/apt/cache/archives/partial"
list="$dest/apt/sources.list"
: >"$list"
# The Debian entries of the machine, as source entries (one-line and deb822 formats).
[ -f /etc/apt/sources.list ] && sed -n 's/^deb \(.*\)$/deb-src \1/p' /etc/apt/sources.list >>"$list"
for file in /etc/apt/sources.list.d/debian.sources; do
    [ -f "$file" ] || continue
    sed 's/^Types: deb$/Types: deb-src/' "$file" >"$dest/apt/debian.sources"
done
options=(-o "Dir::Etc::SourceList=$list" -o "Dir::Etc::SourceParts=$dest/apt/parts"
    -o "Dir::State::Lists=$dest/apt/lists" -o "Dir::Cache=$dest/apt/cache" -o APT::Sandbox::User=root)
mkdir -p "$dest/apt/parts"
[ -f "$dest/apt/debian.sources" ] && cp "$dest/apt/debian.sources" "$dest/apt/parts/"
apt-get "${options[@]}" update -qq
cd "$dest"
apt-get "${options[@]}" source -qq "$@"
