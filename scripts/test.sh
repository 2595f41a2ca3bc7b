#!/usr/bin/env bash
# Installs what is missing, builds everything with the address and undefined-behaviour sanitizers,
# and runs every test: unit, integration and browser tests.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
jobs=$(nproc)
cmake --preset asan >/dev/null
cmake --build --preset asan -j"$jobs"
ctest --preset asan -j"$jobs"
