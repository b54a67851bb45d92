#!/usr/bin/env bash
# Installs what is missing, then builds and runs the whole test suite: warnings as errors, then
# under AddressSanitizer + UndefinedBehaviorSanitizer and under ThreadSanitizer, plus a format check,
# the fuzz targets for 10 s each, and the Windows cross build (MinGW-w64) with its tests under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."

./tools/install-deps.sh

run_preset() {
    local preset=$1
    echo "=== $preset: configure, build, test"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$(nproc)"
    ctest --preset "$preset"
}

./tools/check-format.sh
echo "=== fuzz: build, then each target for 10 s"
./tools/fuzz.sh 10
run_preset ci
run_preset asan
run_preset tsan
echo "=== mingw: configure, build, test under Wine"
cmake --preset mingw >/dev/null
cmake --build --preset mingw -j "$(nproc)"
./tools/wine-tests.sh
echo "=== all tests passed"
