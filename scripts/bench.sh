#!/usr/bin/env bash
# Builds the default (optimised) preset and runs the module's benchmarks. The user list must scale
# linearly with the number of users: the report's "BigO" line says which complexity fits best. Then
# the audit record's cost, which must not grow when the syslog collector is down or stuck.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default --target um_benchmarks audit_benchmarks -j"$(nproc)"
build/default/bin/um_benchmarks "$@"
exec build/default/bin/audit_benchmarks "$@"
