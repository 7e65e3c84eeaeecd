#!/usr/bin/env bash
# Runs every benchmark program the bench build made, then prints the rows they reported as one
# table: each row is our time and the peer's (best of several interleaved runs, measured in the
# same program run), the ratio ours / peer (below 1: we are faster), and the bar and goal it is
# held to. BENCH_FILTER narrows the programs by name; QOBENCH_ROUNDS sets the rounds of every
# comparison.
set -euo pipefail
build_dir=${1:-build-bench}
status=0
rows=$(mktemp)
trap 'rm -f "$rows"' EXIT
for program in "$build_dir"/bench/*_bench; do
  [[ -x "$program" ]] || continue
  [[ -n "${BENCH_FILTER:-}" && "$program" != *"$BENCH_FILTER"* ]] && continue
  echo "### $(basename "$program")"
  if ! "$program" | tee -a "$rows"; then
    echo "### $(basename "$program") failed"
    status=1
  fi
done

echo
echo "### All ratios (ours / peer time, best of N interleaved; load: $(cut -d' ' -f1-3 /proc/loadavg))"
grep '^row |' "$rows" | sed 's/^row | //' | column -t -s '|' || true
if grep -v '^row |' "$rows" | grep -qi 'ratio'; then
  echo "### Other ratios, as their programs print them"
  grep -v '^row |' "$rows" | grep -i 'ratio' || true
fi
missed=$(grep -c '^row |.*bar <= [0-9.]* MISSED' "$rows" || true)
bars=$(grep -c '^row |.*bar <= ' "$rows" || true)
echo "### $((bars - missed)) of $bars bars met"
exit $status
