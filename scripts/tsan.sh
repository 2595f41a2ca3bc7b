#!/usr/bin/env bash
# Builds the tsan preset (Clang's ThreadSanitizer on every library of the project, and on Boost's
# header-only code, Regex and Asio included, as it is compiled into them) and runs under it the
# integration tests (wbm-host over real sockets, started by the tests), the network threads' own
# test, and a mixed load on one wbm-host (scripts/tsan-load.sh). Every process writes its reports to build/tsan/reports/; the
# script fails when there is one, or when a test or the load fails.
#   scripts/tsan.sh [rounds per load client, default 20]
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh --sanitizers
cmake --preset tsan >/dev/null
cmake --build --preset tsan -j2 --target wbm-host kyr_wbm_um integration_tests host_session_tests host_audit_tests host_network_tests

reports=$PWD/build/tsan/reports
rm -rf "$reports"
mkdir -p "$reports"
export TSAN_OPTIONS="log_path=$reports/report second_deadlock_stack=1 history_size=4"
status=0
ctest --test-dir build/tsan -R '^(integration_tests|host_session_tests|host_audit_tests|host_network_tests)\.' -j2 --timeout 600 \
  --output-on-failure || status=1
scripts/tsan-load.sh build/tsan "${1:-20}" || status=1

count=$(find "$reports" -type f | wc -l)
echo "ThreadSanitizer reports: $count (in $reports)"
[ "$count" -eq 0 ] || status=1
exit "$status"
