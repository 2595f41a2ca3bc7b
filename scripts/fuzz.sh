#!/usr/bin/env bash
# Builds the fuzz preset (Clang, libFuzzer, ASan and UBSan on every library) and runs every fuzz
# target for the given time, one after the other, each on a copy of its seed corpus (fuzz/<corpus>)
# with its dictionary. Fails when a target finds a crash, a leak, a timeout or runs out of memory;
# what it found is kept in build/fuzz/findings/<target>/. Prints per target: executions, coverage
# (libFuzzer's final cov and ft) and findings.
#   scripts/fuzz.sh [seconds per target, default 60]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}

# target, seed corpus folder and dictionary (- for none), below fuzz/
targets=(
  "fuzz_request_documents corpus -"
  "fuzz_module_requests module-requests-corpus module-requests-corpus.dict"
  "fuzz_form_values form-values-corpus form-values-corpus.dict"
  "fuzz_audit_input audit-corpus -"
  "fuzz_http_head http-head-corpus http-head-corpus.dict"
  "fuzz_host_texts host-texts-corpus host-texts-corpus.dict"
  "fuzz_directory_config directory-config-corpus directory-config-corpus.dict"
)

scripts/install-deps.sh --sanitizers
cmake --preset fuzz >/dev/null
names=()
for entry in "${targets[@]}"; do names+=("${entry%% *}"); done
cmake --build --preset fuzz -j2 --target "${names[@]}"

build=build/fuzz
export ASAN_OPTIONS=detect_leaks=1
export UBSAN_OPTIONS=print_stacktrace=1
summary=()
failed=0
for entry in "${targets[@]}"; do
  read -r name corpus dict <<<"$entry"
  work=$build/corpus/$name
  findings=$build/findings/$name
  log=$build/logs/$name.log
  mkdir -p "$work" "$findings" "$(dirname "$log")"
  options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
           -artifact_prefix="$findings/")
  [ "$dict" != "-" ] && options+=(-dict="fuzz/$dict")
  echo "== $name: $seconds s"
  status=0
  "$build/bin/$name" "${options[@]}" "$work" "fuzz/$corpus" >"$log" 2>&1 || status=$?
  executions=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' | tail -1 || true)
  coverage=$(grep -oE 'cov: [0-9]+ ft: [0-9]+' "$log" | tail -1 || true)
  found=$(find "$findings" -type f \( -name 'crash-*' -o -name 'leak-*' -o -name 'timeout-*' -o -name 'oom-*' \) | wc -l)
  if [ "$status" -ne 0 ] || [ "$found" -ne 0 ]; then
    failed=1
    grep -m1 -E 'ERROR: |runtime error|ALARM|deadly signal|ParseDictionaryFile' "$log" || true
  fi
  summary+=("$(printf '%-24s %6ss %12s  %-20s %s' "$name" "$seconds" "${executions:-?}" "${coverage:-cov: ? ft: ?}" \
    "$([ "$status" -eq 0 ] && [ "$found" -eq 0 ] && echo 'no findings' || echo "FINDINGS: $found (exit $status, log $log)")")")
done

echo
printf '%-24s %7s %12s  %-20s %s\n' target time executions coverage result
printf '%s\n' "${summary[@]}"
exit "$failed"
