#!/usr/bin/env bash
# Installs the Debian packages the build needs, when any is missing. Safe to run again.
set -euo pipefail

packages=(cmake ninja-build g++ make binutils libgtest-dev libgmock-dev libfmt-dev libbenchmark-dev libcli11-dev clang-format
    g++-mingw-w64-x86-64-posix googletest wine wine64 lua5.4 liblua5.4-dev pkg-config
    clang libclang-rt-dev libasio-dev libsodium-dev libminiupnpc-dev libnatpmp-dev
    # The Windows build's miniupnpc, from Debian's source package (tools/deb-source.sh).
    dpkg-dev
    # The home-router test: a router daemon in network namespaces, and the clients to check it by hand.
    # Only miniupnpd's nftables binary, not the miniupnpd package: that one asks questions and starts a
    # service on the machine's own network.
    miniupnpd-nftables nftables iproute2 miniupnpc natpmpc)
missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
