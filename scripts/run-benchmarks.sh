#!/usr/bin/env bash
# Runs every benchmark program the bench build made. Each prints its own ratios against a peer
# measured in the same run. BENCH_FILTER narrows the programs by name.
set -euo pipefail
build_dir=${1:-build-bench}
status=0
for program in "$build_dir"/bench/*_bench; do
  [[ -x "$program" ]] || continue
  [[ -n "${BENCH_FILTER:-}" && "$program" != *"$BENCH_FILTER"* ]] && continue
  echo "### $(basename "$program")"
  "$program" || status=1
done
exit $status
