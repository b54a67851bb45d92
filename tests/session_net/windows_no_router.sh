#!/usr/bin/env bash
# The Windows session program under Wine, in a home network namespace whose router answers no port
# mapping request: the host says so within 3 s of starting, and a joiner on the same network links.
#   windows_no_router.sh KORVATH_SESSION_EXE WINE SCRATCH
# Exits 77 (skipped) without root or ip.
set -euo pipefail

exe=$1 wine=$2 scratch=$3
script_dir=$(cd "$(dirname "$0")" && pwd)
if [ "$(id -u)" -ne 0 ] || ! command -v ip >/dev/null || ! command -v nft >/dev/null; then
    echo "skipped: needs root, ip and nft for the network namespaces"
    exit 77
fi
prefix=korvathw$$
rm -rf "$scratch"
mkdir -p "$scratch/host" "$scratch/join"
trap 'bash "$script_dir/home_router_namespaces.sh" down $prefix' EXIT
if ! bash "$script_dir/home_router_namespaces.sh" up $prefix "$scratch" >"$scratch/namespaces.log" 2>&1; then
    echo "skipped: cannot make network namespaces here: $(cat "$scratch/namespaces.log")"
    exit 77
fi
bash "$script_dir/home_router_namespaces.sh" check $prefix

# Waits up to $2 tenths of a second for $1's log to contain $3.
wait_for() {
    for _ in $(seq "$2"); do
        grep -q -- "$3" "$1" 2>/dev/null && return 0
        sleep 0.1
    done
    echo "not in $1 in time: $3"
    cat "$1"
    return 1
}

ip netns exec $prefix-home "$wine" "$exe" host 'Z:'"$scratch/host" --duration 12 >"$scratch/host.log" 2>&1 &
host=$!
wait_for "$scratch/host.log" 300 "session code: " # Wine's start, up to 30 s
started=$(date +%s%N)
wait_for "$scratch/host.log" 30 "no router answered"
told=$((($(date +%s%N) - started) / 1000000))
echo "no router answered, told ${told} ms after the session code"
code=$(sed -n 's/^session code: \([A-Z0-9-]*\).*/\1/p' "$scratch/host.log" | tr -d '\r')
ip netns exec $prefix-home "$wine" "$exe" join 192.0.2.2:47810 'Z:'"$scratch/join" --code "$code" --duration 3 \
    >"$scratch/join.log" 2>&1
wait_for "$scratch/join.log" 1 "connected to"
wait "$host"
cat "$scratch/host.log"
[ "$told" -lt 3000 ]
