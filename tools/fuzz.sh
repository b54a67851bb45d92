#!/usr/bin/env bash
# Builds the fuzz targets (preset "fuzz": Clang, libFuzzer, ASan + UBSan) and runs each one for a bounded
# time from its seed corpus in tools/fuzz/corpus. Fails on a crash, a sanitizer report, a differential
# mismatch or a hang; the input that caused it is kept in build/fuzz/findings. Prints the executions
# each target reached.
# Usage: tools/fuzz.sh [seconds per target, default 10] [target ...]
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-10}
shift || true
targets=("$@")
[ ${#targets[@]} -eq 0 ] && targets=(float_field role_file local_state remote_players session_parsers)

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc)"

findings=build/fuzz/findings
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$findings"
failed=0
printf '%-18s %12s %8s  %s\n' target executions seconds result
for target in "${targets[@]}"; do
    # New inputs go to a scratch corpus; the committed seeds are only read.
    mkdir -p "$work/$target"
    log="$work/$target.log"
    result=ok
    if ! timeout $((seconds + 60)) "build/fuzz/tools/fuzz/${target}_fuzzer" -max_total_time="$seconds" \
        -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$findings/$target-" \
        "$work/$target" "tools/fuzz/corpus/$target" >"$log" 2>&1; then
        result=FAILED
        failed=1
    fi
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
    printf '%-18s %12s %8s  %s\n' "$target" "${executions:-?}" "$seconds" "$result"
    if [ "$result" != ok ]; then
        grep -E 'fuzz check failed|ERROR|SUMMARY|runtime error|Test unit written' "$log" | head -20 || tail -20 "$log"
    fi
done
exit $failed
