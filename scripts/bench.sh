#!/usr/bin/env bash
# Builds the default (optimised) preset and runs the benchmarks:
#   scripts/bench.sh                 everything: the module's functions, then the web server
#   scripts/bench.sh module [ARGS]   the module's Google Benchmark suite only (ARGS go to it)
#   scripts/bench.sh web [ARGS]      the web server only: wbm-host against a minimal Beast server
#                                    (ARGS go to web_benchmark, e.g. --seconds 3)
# The user list must scale linearly with the number of users: the module report's "BigO" line says
# which complexity fits best. The web benchmark prints its goals and whether each was met; it exits
# with 3 when one was missed. Both only measure; speed is never checked by the tests.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset default >/dev/null

part="all"
case "${1:-}" in
  module|web) part="$1"; shift ;;
esac

run_module() {
  cmake --build --preset default --target um_benchmarks -j"$(nproc)"
  build/default/bin/um_benchmarks "$@"
}
run_web() {
  cmake --build --preset default --target web_benchmark -j"$(nproc)"
  build/default/bin/web_benchmark "$@"
}

case "$part" in
  module) run_module "$@" ;;
  web) run_web "$@" ;;
  all) run_module; run_web ;;
esac
