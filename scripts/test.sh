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

# Browser tests: Debian's Chromium driven by playwright-core (from npm) against a wbm-host of this
# build, serving the pages as they ship (minified and compressed, in build/asan/web).
command -v chromium >/dev/null || scripts/install-deps.sh chromium
(cd tests/browser && npm ci --no-audit --no-fund --loglevel=error && KYR_BUILD_DIR=build/asan node --test --test-concurrency=1)
