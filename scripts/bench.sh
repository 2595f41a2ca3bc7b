#!/usr/bin/env bash
# Builds the default (optimised) preset and runs the module's benchmarks. The user list must scale
# linearly with the number of users: the report's "BigO" line says which complexity fits best.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default --target um_benchmarks -j"$(nproc)"
exec build/default/bin/um_benchmarks "$@"
