#!/usr/bin/env bash
# Fails when a C++ file differs from what clang-format makes of it.
set -euo pipefail
cd "$(dirname "$0")/.."
files=$(git ls-files '*.cpp' '*.hpp' 2>/dev/null || find . -name '*.[ch]pp' -not -path './build/*')
[ -z "$files" ] && exit 0
# shellcheck disable=SC2086
clang-format --dry-run --Werror $files
