#!/usr/bin/env bash
# Installs what is missing, builds into build/ on every core and runs the whole suite.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-deps
jobs=$(nproc)
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
cmake --build build -j "$jobs"
ctest --test-dir build --output-on-failure -j "$jobs"
