#!/usr/bin/env bash
# Installs what is missing, builds into build/ on every core and runs the whole suite.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-deps --with operator-views
scripts/build "$@"
ctest --test-dir build --output-on-failure -j "$(nproc)"
