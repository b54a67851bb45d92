#!/usr/bin/env bash
# The Windows session program under Wine, in the home network namespace of home_router_namespaces.sh.
# While the router answers no port mapping request, the host says so within 3 s of starting and a joiner
# on the same network links; with miniupnpd answering UPnP, the host maps its port, renews the lease and
# removes the mapping when it ends.
#   windows_home_router.sh KORVATH_SESSION_EXE WINE SCRATCH
# Exits 77 (skipped) without root, ip, nft or a Wine prefix (tools/wine-tests.sh sets WINEPREFIX).
# Wine makes every socket in its server process, so the test runs a Wine server of its own inside the
# home namespace, on a hard-linked copy of the prefix, and checks where it runs before anything is sent.
set -euo pipefail

exe=$1 wine=$2 scratch=$3
script_dir=$(cd "$(dirname "$0")" && pwd)
if [ "$(id -u)" -ne 0 ] || ! command -v ip >/dev/null || ! command -v nft >/dev/null || [ ! -d "${WINEPREFIX:-}" ]; then
    echo "skipped: needs root, ip and nft for the network namespaces, and WINEPREFIX (tools/wine-tests.sh)"
    exit 77
fi
prefix=korvathw$$
rm -rf "$scratch"
mkdir -p "$scratch/host" "$scratch/join"
cp -al "$WINEPREFIX" "$scratch/prefix"
export WINEPREFIX=$scratch/prefix
trap 'wineserver -k 2>/dev/null || true; bash "$script_dir/home_router_namespaces.sh" down $prefix; rm -rf "$scratch/prefix"' EXIT
if ! bash "$script_dir/home_router_namespaces.sh" up $prefix "$scratch" >"$scratch/namespaces.log" 2>&1; then
    echo "skipped: cannot make network namespaces here: $(cat "$scratch/namespaces.log")"
    exit 77
fi
trap 'echo "failed at line $LINENO"; tail -n 20 "$scratch"/*.log' ERR
bash "$script_dir/home_router_namespaces.sh" check $prefix
ip netns exec $prefix-home wineserver -p </dev/null >/dev/null 2>&1
server_in_home=no
for pid in $(ip netns pids $prefix-home); do
    case $(cat /proc/"$pid"/comm 2>/dev/null) in wineserver*) server_in_home=yes ;; esac
done
if [ $server_in_home != yes ]; then
    echo "the Wine server of $WINEPREFIX does not run in the home namespace"
    exit 1
fi

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
ip netns exec $prefix-home "$wine" "$exe" join 198.51.100.2:47810 'Z:'"$scratch/join" --code "$code" --duration 3 \
    >"$scratch/join.log" 2>&1
wait_for "$scratch/join.log" 1 "connected to"
wait "$host"
cat "$scratch/host.log"
[ "$told" -lt 3000 ]

# With miniupnpd answering UPnP, when it is there: the Windows host maps its port and removes it.
[ -x /usr/sbin/miniupnpd ] || exit 0
mapped() { [[ $(ip netns exec $prefix-router nft list chain inet filter prerouting_miniupnpd) == *"dport 47810"* ]]; }
ip netns exec $prefix-router /usr/sbin/miniupnpd -d -f "$scratch/upnp.conf" -P "$scratch/upnp.pid" \
    >"$scratch/daemon.log" 2>&1 &
daemon=$!
wait_for "$scratch/daemon.log" 50 "HTTP listening"
ip netns exec $prefix-home "$wine" "$exe" host 'Z:'"$scratch/host" --map-lease 4 --duration 4 \
    >"$scratch/mapped.log" 2>&1 &
host=$!
wait_for "$scratch/mapped.log" 300 "korvath-session join 192.0.3.1:47810 DIR --code"
mapped
wait "$host"
cat "$scratch/mapped.log"
grep -q "port mapping renewed (UPnP, lease 4 s)" "$scratch/mapped.log"
grep -q "port mapping removed" "$scratch/mapped.log"
if mapped; then
    echo "the router still lists the mapping after the host ended"
    exit 1
fi
kill "$daemon"
wait "$daemon" || true
