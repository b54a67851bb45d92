#!/usr/bin/env bash
# The main job: installs what is missing, builds, and runs the two-client demo on simulated games.
# Arguments are passed to `korvath-session demo` (try --help).
set -euo pipefail
cd "$(dirname "$0")/.."

./tools/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target korvath-sim korvath-session KorvathOnlineCpp >/dev/null
exec build/release/tools/korvath-session demo "$@"
