#!/usr/bin/env bash
# The processor share of the session tool beside two running games: starts two simulated games (A walks
# a circle of radius 600 at 300 units/s, B stands), then `korvath-session relay` between them, or
# `host` and `join` on loopback, and reads each process's user and system time from /proc over the
# measured seconds, after a few seconds of warm-up. Linux only. KORVATH_SESSION names another build of
# korvath-session to measure; RELAY_ARGS adds options to the relay.
#
#   tools/cpu-share.sh relay|net [--tracker] [SECONDS]    (default 20 s; build with the ci preset first)
set -euo pipefail

mode=${1:?usage: tools/cpu-share.sh relay|net [--tracker] [SECONDS]}
shift
tracker=()
if [[ ${1:-} == --tracker ]]; then
    tracker=(--tracker)
    shift
fi
seconds=${1:-20}
warmup=4
root=$(cd "$(dirname "$0")/.." && pwd)
tools=$root/build/ci/tools
session=${KORVATH_SESSION:-$tools/korvath-session} # another build of the session tool, to compare
[[ -x $tools/korvath-session && -x $tools/korvath-sim ]] || {
    echo "cpu-share: build the ci preset first" >&2
    exit 1
}
dir=$(mktemp -d /tmp/korvath-cpu-XXXXXX)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$dir"
}
trap cleanup EXIT

# Processor time of a process so far, in clock ticks (user + system).
ticks() { awk '{ print $14 + $15 }' "/proc/$1/stat"; }

life=$((seconds + warmup + 30))
for side in A B; do
    mkdir -p "$dir/$side"
    "$tools/korvath-session" role "$dir/$side" "CLIENT_$side" >/dev/null
    "$tools/korvath-session" enable "$dir/$side" >/dev/null
done
walk=(--walk circle:600,300)
"$tools/korvath-sim" --game-dir "$dir/A" --ready-after 0.5 --duration "$life" \
    "${walk[@]}" "${tracker[@]}" >"$dir/A.log" 2>&1 &
pids+=($!)
"$tools/korvath-sim" --game-dir "$dir/B" --ready-after 0.5 --duration "$life" \
    "${tracker[@]}" >"$dir/B.log" 2>&1 &
pids+=($!)
sleep 1

names=()
watched=()
if [[ $mode == relay ]]; then
    "$session" relay "$dir/A" "$dir/B" ${RELAY_ARGS:-} >"$dir/relay.log" 2>&1 &
    pids+=($!)
    names=(relay)
    watched=($!)
elif [[ $mode == net ]]; then
    "$session" host "$dir/A" --port 0 >"$dir/host.log" 2>&1 &
    host=$!
    pids+=($host)
    for _ in $(seq 50); do
        grep -q 'code' "$dir/host.log" && grep -q 'port' "$dir/host.log" && break
        sleep 0.1
    done
    code=$(grep -oE '[A-Z0-9]{4}(-[A-Z0-9]{4}){5}' "$dir/host.log" | head -n 1)
    port=$(grep -oE 'port [0-9]+' "$dir/host.log" | head -n 1 | cut -d' ' -f2)
    "$session" join "127.0.0.1:$port" "$dir/B" --code "$code" >"$dir/join.log" 2>&1 &
    pids+=($!)
    names=(host join)
    watched=($host $!)
else
    echo "cpu-share: relay or net, not $mode" >&2
    exit 2
fi
names+=(game-A game-B)
watched+=("${pids[0]}" "${pids[1]}")

sleep "$warmup"
hz=$(getconf CLK_TCK)
declare -a before
for i in "${!watched[@]}"; do before[i]=$(ticks "${watched[i]}"); done
start=$(date +%s.%N)
sleep "$seconds"
end=$(date +%s.%N)
echo "load average: $(cut -d' ' -f1-3 /proc/loadavg)"
for i in "${!watched[@]}"; do
    used=$(($(ticks "${watched[i]}") - before[i]))
    awk -v n="${names[i]}" -v t="$used" -v hz="$hz" -v s="$start" -v e="$end" \
        'BEGIN { printf "%-7s %6.2f%% of one core (%.2f s of processor time in %.1f s)\n", n, 100 * t / hz / (e - s), t / hz, e - s }'
done
