#!/usr/bin/env bash
# Builds the default (optimised) preset and runs the benchmarks:
#   scripts/bench.sh                 everything: the module's functions, the audit record, the web server
#   scripts/bench.sh module [ARGS]   the module's Google Benchmark suite only (ARGS go to it)
#   scripts/bench.sh audit [ARGS]    what a caller pays for an audit record, whatever the collector does
#   scripts/bench.sh web [ARGS]      the web server only: wbm-host against a minimal Beast server
#                                    (ARGS go to web_benchmark, e.g. --seconds 3), after what the TLS
#                                    library keeps per connection (the floor under the quiet TLS figures)
# The user list must scale linearly with the number of users, and the search of a form body with its
# length (bodies made for a backtracking search, up to 64 KiB): the module report's "BigO" lines say
# which complexity fits best. The web benchmark prints its goals and whether each was met; it exits
# with 3 when one was missed. They only measure; speed is never checked by the tests.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset default >/dev/null

part="all"
case "${1:-}" in
  module|audit|web) part="$1"; shift ;;
esac

run() { # target, arguments
  local target="$1"
  shift
  cmake --build --preset default --target "$target" -j"$(nproc)"
  "build/default/bin/$target" "$@"
}

case "$part" in
  module) run um_benchmarks "$@" ;;
  audit) run audit_benchmarks "$@" ;;
  web) run web_tls_state_cost; run web_benchmark "$@" ;;
  all) run um_benchmarks; run audit_benchmarks; run web_tls_state_cost; run web_benchmark ;;
esac
