#!/usr/bin/env bash
# Runs every fuzzing harness of a fuzz build: first a replay of its committed seeds and of every
# past finding (any failure there is a regression), then a fuzzing run of SECONDS seconds that
# starts from those seeds. Prints executions and coverage per harness; exits 1 when any harness
# found something, leaving the input under BUILD_DIR/fuzz-artifacts/. FUZZ_RUNS=N also ends each
# run after N executions (a long campaign: whichever of the two limits comes first).
#   scripts/run-fuzzers.sh BUILD_DIR SECONDS [HARNESS...]
set -uo pipefail
build_dir=${1:?build dir}
seconds=${2:?seconds}
shift 2
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
artifacts="$build_dir/fuzz-artifacts"
mkdir -p "$artifacts"
# Limits every run shares: memory bounded by the input, no input slower than 10 s.
limits=(-rss_limit_mb=2048 -malloc_limit_mb=512 -timeout=10)
run_limit=()
[[ -n "${FUZZ_RUNS:-}" ]] && run_limit=(-runs="$FUZZ_RUNS")

harnesses=("$@")
if [[ ${#harnesses[@]} -eq 0 ]]; then
  for program in "$build_dir"/fuzz/*_fuzz; do
    [[ -x "$program" ]] && harnesses+=("$(basename "$program" _fuzz)")
  done
fi

status=0
for name in "${harnesses[@]}"; do
  program="$build_dir/fuzz/${name}_fuzz"
  seeds="$top/fuzz/corpus/$name"
  findings="$top/fuzz/findings/$name"
  work="$build_dir/fuzz-work/$name"
  mkdir -p "$work"
  replay=()
  [[ -d "$seeds" ]] && replay+=("$seeds")
  [[ -d "$findings" ]] && replay+=("$findings")
  log="$build_dir/fuzz-work/$name.log"
  if [[ ${#replay[@]} -gt 0 ]] &&
     ! "$program" "${limits[@]}" -artifact_prefix="$artifacts/$name-" -runs=0 "${replay[@]}" \
       >"$log" 2>&1; then
    echo "$name: replay of the seeds and past findings FAILED (see $log)"
    status=1
    continue
  fi
  if ! "$program" "${limits[@]}" -artifact_prefix="$artifacts/$name-" -print_final_stats=1 \
       -max_total_time="$seconds" "${run_limit[@]}" "$work" "${replay[@]}" >"$log" 2>&1; then
    echo "$name: FOUND a failure (input in $artifacts, log $log)"
    status=1
    continue
  fi
  execs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$')
  edges=$(grep -o 'cov: [0-9]*' "$log" | tail -1 | grep -o '[0-9]*')
  echo "$name: ${execs:-?} executions, ${edges:-?} edges covered, no finding"
done
exit $status
