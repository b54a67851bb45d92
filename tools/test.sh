#!/usr/bin/env bash
# Installs what is missing, then builds and runs the whole test suite: warnings as errors, then
# under AddressSanitizer + UndefinedBehaviorSanitizer and under ThreadSanitizer, plus a format check,
# and the Windows cross build (MinGW-w64) with its tests under Wine.
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
# The Windows build compiles in the background, on one core, while the Linux presets run.
echo "=== mingw: configure and build (in the background; log in build/mingw-build.log)"
mkdir -p build
(cmake --preset mingw >/dev/null && nice cmake --build --preset mingw -j 1) >build/mingw-build.log 2>&1 &
mingw_build=$!
run_preset ci
run_preset asan
run_preset tsan
echo "=== mingw: tests under Wine"
if ! wait "$mingw_build"; then
    cat build/mingw-build.log
    exit 1
fi
./tools/wine-tests.sh
echo "=== all tests passed"
