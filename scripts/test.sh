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
# build. npm comes with some Node.js packages and conflicts with a separate npm package there, so
# each of the three is installed only when its command is missing.
browser_packages=()
command -v chromium >/dev/null || browser_packages+=(chromium)
command -v node >/dev/null || browser_packages+=(nodejs)
command -v npm >/dev/null || browser_packages+=(npm)
scripts/install-deps.sh "${browser_packages[@]}"
(cd tests/browser && npm ci --no-audit --no-fund --loglevel=error && KYR_BUILD_DIR=build/asan node --test --test-concurrency=1)
