#!/usr/bin/env bash
# Runs the two-client demo N times with the given options and prints, for each run, the load average
# before it and the demo's figures (the proxy's distance while following; with --straight, the stop).
#
#   tools/demo-runs.sh N [demo options...]      (build with the ci preset first)
set -euo pipefail
runs=${1:?usage: tools/demo-runs.sh N [demo options...]}
shift
session=$(cd "$(dirname "$0")/.." && pwd)/build/ci/tools/korvath-session
for run in $(seq "$runs"); do
    load=$(cut -d' ' -f1-3 /proc/loadavg)
    output=$("$session" demo "$@" 2>&1) || true
    figures=$(printf '%s\n' "$output" | grep -E '^  (following|stop) ' | sed -E 's/^ +//; s/ {2,}/ /g' | paste -sd ';' -)
    result=$(printf '%s\n' "$output" | grep -E '^Demo ' | cut -d: -f1)
    printf 'run %d, load %s: %s (%s)\n' "$run" "$load" "$figures" "$result"
done
