#!/usr/bin/env bash
# Installs what is missing, then builds and runs the whole test suite: warnings as errors, then
# under AddressSanitizer + UndefinedBehaviorSanitizer and under ThreadSanitizer, plus a format check,
# the fuzz targets for 10 s each, and the Windows cross build (MinGW-w64) with its tests under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."

./tools/install-deps.sh

# Each stage's heading says how far into the run it starts.
stage() { echo "=== $* (at $((SECONDS / 60)) min $((SECONDS % 60)) s)"; }

run_preset() {
    local preset=$1
    stage "$preset: configure, build, test"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$(nproc)"
    ctest --preset "$preset"
}

./tools/check-format.sh
stage "fuzz: build, then each target for 10 s"
./tools/fuzz.sh 10
run_preset ci
# Two minutes of the soak beside the sanitizer builds: it sleeps most of the time, and a starved game
# is counted as a stall, not as a failure.
soak_log=$(mktemp)
build/ci/tools/korvath-soak --seconds 120 --seed "${KORVATH_SOAK_SEED:-1}" >"$soak_log" 2>&1 &
soak_pid=$!
run_preset asan
run_preset tsan
stage "soak (120 s, ci build)"
soak_status=0
wait "$soak_pid" || soak_status=$?
cat "$soak_log"
rm -f "$soak_log"
[ "$soak_status" -eq 0 ]
stage "mingw: configure, build, test under Wine"
cmake --preset mingw >/dev/null
cmake --build --preset mingw -j "$(nproc)"
./tools/wine-tests.sh
stage "all tests passed"
